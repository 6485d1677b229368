#include "tests/failures/SystemCallFaults.h"
#include "tests/support/FlakyFileServer.h"
#include "tools/httpclient/tests/HttpclientFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <iostream>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

// Each call that a download by the program makes to the system fails once, with each of its usual errors: those of
// the network, and those of its files. What comes is the exact file and status 0, or the file that was there and
// one line that names the cause.

namespace foundation::httpclient_tool::testing {
namespace {

using namespace system_call_faults;
using httpclient_core::testing::FlakyFileServer;
using ::testing::HasSubstr;
using ::testing::Not;

struct Download {
    const char* label;
    std::vector<std::string> options;
    bool toStandardOutput;
    friend std::ostream& operator<<(std::ostream& os, const Download& download) {
        return os << download.label;
    }
};

struct Errors {
    Call call;
    std::vector<int> numbers;
};

const std::vector<Errors> errorsOfCalls{
    {Socket, {EMFILE}},
    {Connect, {ENETUNREACH}},
    {Send, {EINTR, EPIPE}},
    {Receive, {EINTR, ECONNRESET}},
    {Poll, {EINTR, ENOMEM}},
    {Read, {EINTR, EIO}},
    {Write, {EINTR, ENOSPC, EIO}},
    {Open, {EINTR, EMFILE, EACCES, ENOSPC}},
    {Close, {EINTR, EIO}},
    {Synchronise, {EINTR, EIO, ENOSPC}},
    {Rename, {EACCES, ENOSPC}},
    {Truncate, {EINTR, EIO}},
    {Unlink, {EACCES}},
    {Lock, {EINTR, ENOLCK}},
    {Status, {EIO}},
};

struct Case {
    Call call;
    int number;
    int error;
    friend std::ostream& operator<<(std::ostream& os, const Case& one) {
        return os << names[one.call] << " " << one.number << ": " << std::strerror(one.error);
    }
};

class ToolSystemCallTest : public HttpclientFixture,
                           public ::testing::WithParamInterface<Download> {
protected:
    ToolSystemCallTest() : server_(options()) {}

    // A download in an empty folder, with one call that fails.
    void run(const Case& fault) {
        SCOPED_TRACE(fault);
        for (const std::string& name : folder_.names()) {
            std::filesystem::remove(folder_ / name);
        }
        folder_.write("f", "old");
        const std::string text = std::string(names[fault.call]) + " " +
                                 std::to_string(fault.number) + " " + std::to_string(fault.error);
        std::vector<std::string> command{"env",
                                         "LD_PRELOAD=" SYSTEM_CALL_FAULTS_LIBRARY,
                                         "SYSTEM_CALL_FAULT=" + text,
                                         "SYSTEM_CALL_COUNTS=" + (logs_ / "counts").string(),
                                         HTTPCLIENT_PROGRAM,
                                         "get",
                                         server_.url(),
                                         "--retries",
                                         "0"};
        command.insert(command.end(), GetParam().options.begin(), GetParam().options.end());
        if (!GetParam().toStandardOutput) {
            command.insert(command.end(), {"-o", file()});
        }
        const auto start = std::chrono::steady_clock::now();
        const int status = startCommand(std::move(command), -1)->wait();
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
        check(fault, status);
        ++runs_;
    }

    Counts counts() const {
        std::ifstream text(logs_ / "counts");
        Counts made{};
        for (int& count : made) {
            text >> count;
        }
        EXPECT_TRUE(text) << "the library was not loaded";
        return made;
    }

    int runs_ = 0;

private:
    static FlakyFileServer::Options options() {
        FlakyFileServer::Options made;
        made.size = 200'000;
        return made;
    }

    void check(const Case& fault, int status) const {
        const std::string said = errors();
        EXPECT_THAT(said, Not(HasSubstr(std::strerror(EINTR))));
        const std::string body = GetParam().toStandardOutput ? output() : folder_.read("f");
        if (status == 0) {
            EXPECT_TRUE(body == server_.content()) << "another body of " << body.size();
            return;
        }
        EXPECT_EQ(status, 1);
        EXPECT_NE(fault.error, EINTR) << said;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        // Of a wait that fails libcurl keeps no reason, and a file of which nothing can be learnt counts as that
        // of somebody else.
        if (fault.call != Poll && fault.call != Status) {
            EXPECT_THAT(said, HasSubstr(std::strerror(fault.error)));
        }
        if (!GetParam().toStandardOutput) {
            EXPECT_EQ(body, "old");
        }
    }

    FlakyFileServer server_;
};

TEST_P(ToolSystemCallTest, EndsInTheFileOrOneLineThatNamesTheCause) {
    run({Socket, 0, 0});
    const Counts made = counts();
    for (const auto& [call, numbers] : errorsOfCalls) {
        for (int number = 1; number <= std::min(made[call], 5); ++number) {
            for (const int error : numbers) {
                run({call, number, error});
            }
        }
    }
    std::cout << runs_ << " runs\n";
}

INSTANTIATE_TEST_SUITE_P(Downloads,
                         ToolSystemCallTest,
                         ::testing::Values(Download{"IntoAFile", {}, false},
                                           Download{"IntoAFileWithResume", {"--resume"}, false},
                                           Download{"ToStandardOutput", {}, true}),
                         [](const auto& download) { return download.param.label; });

}  // namespace
}  // namespace foundation::httpclient_tool::testing
