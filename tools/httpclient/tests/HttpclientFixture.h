#pragma once
#include "tools/httpclient/tests/Process.h"
#include "tools/httpclient/tests/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace foundation::httpclient_tool::testing {

/// Runs the program itself, as a process, with its output in files.
class HttpclientFixture : public ::testing::Test {
protected:
    HttpclientFixture() {
        for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY", "NO_COLOR"}) {
            ::unsetenv(name);
        }
    }

    std::unique_ptr<Process> start(const std::vector<std::string>& arguments) {
        std::vector<std::string> command = {HTTPCLIENT_PROGRAM};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return startCommand(std::move(command), -1);
    }

    // With standard output and standard error in files, but where a descriptor is given.
    std::unique_ptr<Process> startCommand(std::vector<std::string> command,
                                          int standardOutput,
                                          int standardError = -1) {
        const int out = openFile("out");
        const int err = openFile("err");
        auto process =
            std::make_unique<Process>(std::move(command), standardOutput < 0 ? out : standardOutput,
                                      standardError < 0 ? err : standardError);
        ::close(out);
        ::close(err);
        return process;
    }

    int run(const std::vector<std::string>& arguments) { return start(arguments)->wait(); }

    int getFile(const std::string& url, std::vector<std::string> more = {}) {
        more.insert(more.begin(), {"get", url, "-o", file()});
        return run(more);
    }

    std::string file() const { return (folder_ / "f").string(); }
    std::string output() const { return logs_.read("out"); }
    std::string errors() const { return logs_.read("err"); }

    void expectOneLine(const std::string& regex) const {
        EXPECT_THAT(errors(), ::testing::MatchesRegex("httpclient: [^\n]*\n"));
        EXPECT_THAT(errors(), ::testing::ContainsRegex(regex));
    }

    TemporaryFolder folder_;
    TemporaryFolder logs_;

private:
    int openFile(const std::string& name) const {
        return ::open((logs_ / name).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    }
};

}  // namespace foundation::httpclient_tool::testing
