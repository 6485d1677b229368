#include "tests/support/LoopbackServer.h"
#include "tools/httpclient/tests/HttpclientFixture.h"
#include "tools/httpclient/tests/TerminalProcess.h"

#include <chrono>
#include <csignal>
#include <cstring>
#include <string>

// The question for the credentials of a proxy, through the whole program at a terminal.
namespace foundation::httpclient_tool {
namespace {

using namespace testing;
using httpclient_core::testing::Connection;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::ReceivedRequest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

const std::string namePrompt = "User name for the proxy: ";
const std::string passwordPrompt = "Password for the proxy: ";
// "ann:secret" in Base64.
const std::string rightLogin = "Basic YW5uOnNlY3JldA==";
// "ann:wrong"
const std::string wrongLogin = "Basic YW5uOndyb25n";

class PromptTest : public HttpclientFixture {
protected:
    static void answerAsProxy(const ReceivedRequest& request, Connection& connection) {
        if (request.header("Proxy-Authorization") == rightLogin) {
            connection.sendResponse(200, "OK", {}, "the body of " + request.target);
        } else {
            connection.sendResponse(407, "Proxy Authentication Required",
                                    {{"Proxy-Authenticate", "Basic realm=\"p\""}}, "who?");
        }
    }

    std::vector<std::string> command(std::vector<std::string> more = {}) {
        std::vector<std::string> all = {HTTPCLIENT_PROGRAM,
                                        "get",
                                        "http://origin.invalid/a",
                                        "--proxy",
                                        "http://127.0.0.1:" + std::to_string(proxy_.port()),
                                        "-o",
                                        file()};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    // Eight URLs at once, each into the file of its name.
    std::vector<std::string> parallelCommand() const {
        std::string line = "cd \"$1\" && exec \"$0\" get -O --parallel 8 --proxy \"$2\"";
        for (const char* name : {"a", "b", "c", "d", "e", "f", "g", "h"}) {
            line += std::string(" http://origin.invalid/") + name;
        }
        return {"sh",           "-c",
                line,           HTTPCLIENT_PROGRAM,
                folder_.path(), "http://127.0.0.1:" + std::to_string(proxy_.port())};
    }
    std::unique_ptr<TerminalProcess> begin(std::vector<std::string> command) const {
        return std::make_unique<TerminalProcess>(std::move(command), (logs_ / "out").string(),
                                                 (logs_ / "err").string());
    }
    static void answer(TerminalProcess& process,
                       const std::string& name,
                       const std::string& password) {
        process.waitFor(namePrompt);
        process.type(name + "\n");
        process.waitFor(passwordPrompt);
        EXPECT_FALSE(process.isEchoing());
        process.type(password + "\n");
    }
    static void waitAtPassword(TerminalProcess& process) {
        process.waitFor(namePrompt);
        process.type("ann\n");
        process.waitFor(passwordPrompt);
        process.type("half");
        EXPECT_FALSE(process.isEchoing());
    }
    void expectInterrupted(TerminalProcess& process) {
        EXPECT_EQ(process.wait(), 130);
        EXPECT_EQ(errors(), "httpclient: interrupted\n");
        EXPECT_THAT(folder_.names(), IsEmpty());
    }
    int requestsWith(const std::string& login) const {
        int count = 0;
        for (const ReceivedRequest& request : proxy_.requests()) {
            count += request.header("Proxy-Authorization") == login ? 1 : 0;
        }
        return count;
    }

    LoopbackServer proxy_{answerAsProxy};
};

TEST_F(PromptTest, DownloadsWithWhatWasTypedAndShowsNoPassword) {
    const auto process = begin(command());
    answer(*process, "ann", "secret");
    EXPECT_EQ(process->wait(), 0);
    EXPECT_EQ(folder_.read("f"), "the body of http://origin.invalid/a");
    EXPECT_THAT(process->screen(), HasSubstr(namePrompt + "ann\r\n"));
    EXPECT_THAT(process->screen() + errors() + output(), Not(HasSubstr("secret")));
}

TEST_F(PromptTest, AsksAgainAfterAWrongPassword) {
    const auto process = begin(command());
    answer(*process, "ann", "wrong");
    process->waitFor("The proxy refused that. Attempts left: 2\r\n");
    answer(*process, "ann", "secret");
    EXPECT_EQ(process->wait(), 0);
    EXPECT_EQ(folder_.read("f"), "the body of http://origin.invalid/a");
    EXPECT_THAT(process->screen() + errors(), Not(HasSubstr("wrong")));
}

TEST_F(PromptTest, GivesUpAfterThreeWrongPasswords) {
    const auto process = begin(command());
    for (int i = 0; i < 3; ++i) {
        answer(*process, "ann", "wrong");
    }
    EXPECT_EQ(process->wait(), 8);
    expectOneLine("HTTP status 407");
    EXPECT_THAT(folder_.names(), IsEmpty());
    EXPECT_EQ(requestsWith(wrongLogin), 3);
}

TEST_F(PromptTest, EndOfInputDeclines) {
    const auto process = begin(command());
    process->waitFor(namePrompt);
    process->type("\x04");
    EXPECT_EQ(process->wait(), 8);
    expectOneLine("HTTP status 407");
    EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(PromptTest, OneWrongPasswordIsTriedOnceForAllUrls) {
    const auto process = begin(parallelCommand());
    answer(*process, "ann", "wrong");
    process->waitFor("The proxy refused that. Attempts left: 2\r\n");
    answer(*process, "ann", "secret");
    EXPECT_EQ(process->wait(), 0);
    EXPECT_THAT(folder_.names(), ElementsAre("a", "b", "c", "d", "e", "f", "g", "h"));
    EXPECT_EQ(folder_.read("h"), "the body of http://origin.invalid/h");
    EXPECT_EQ(requestsWith(wrongLogin), 1);
}

class SignalledPromptTest : public PromptTest, public ::testing::WithParamInterface<int> {};

TEST_P(SignalledPromptTest, ASignalEndsTheProgram) {
    const auto process = begin(command());
    waitAtPassword(*process);
    process->send(GetParam());
    expectInterrupted(*process);
}

TEST_P(SignalledPromptTest, ASignalEndsTheProgramThoughOthersWait) {
    const auto process = begin(parallelCommand());
    waitAtPassword(*process);
    process->send(GetParam());
    expectInterrupted(*process);
}

INSTANTIATE_TEST_SUITE_P(Signals,
                         SignalledPromptTest,
                         ::testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& row) { return std::string(::sigabbrev_np(row.param)); });

TEST_F(PromptTest, TheInterruptKeyEndsTheProgram) {
    const auto process = begin(command());
    waitAtPassword(*process);
    process->type("\x03");
    expectInterrupted(*process);
}

TEST_F(PromptTest, TheEndOfMaxTimeEndsTheProgram) {
    const auto process = begin(command({"--max-time", "2"}));
    waitAtPassword(*process);
    EXPECT_EQ(process->wait(), 2);
    expectOneLine("not complete when --max-time was over");
    EXPECT_THAT(folder_.names(), IsEmpty());
}

// A signal that the program leaves to the system.
TEST_F(PromptTest, TheQuitKeyEndsTheProgramAsAlways) {
    const auto process = begin(command());
    waitAtPassword(*process);
    process->type("\x1C");
    EXPECT_EQ(process->wait(), -SIGQUIT);
}

// With a shell that controls jobs, as at a desk.
class StoppedPromptTest : public PromptTest {
protected:
    std::unique_ptr<TerminalProcess> beginAsJob() {
        std::string line;
        for (const std::string& word : command()) {
            line += "'" + word + "' ";
        }
        line += "; stty -a </dev/tty >/dev/tty; echo stopped >/dev/tty; fg; exit $?";
        auto process = begin({"sh", "-m", "-c", line});
        waitAtPassword(*process);
        return process;
    }
    // What was typed before the stop still counts.
    void expectItGoesOn(TerminalProcess& process) {
        process.waitFor("stopped");
        process.waitFor(passwordPrompt);
        EXPECT_FALSE(process.isEchoing());
        process.type("\x7F\x7F\x7F\x7Fsecret\n");
        EXPECT_EQ(process.wait(), 0);
        EXPECT_EQ(folder_.read("f"), "the body of http://origin.invalid/a");
    }
};

TEST_F(StoppedPromptTest, ItsKeyLeavesTheTerminalToTheShell) {
    const auto process = beginAsJob();
    process->type("\x1A");
    process->waitFor(" echo ");
    expectItGoesOn(*process);
}

TEST_F(StoppedPromptTest, ItsSignalLeavesTheTerminalToTheShell) {
    const auto process = beginAsJob();
    process->sendToForeground(SIGTSTP);
    process->waitFor(" echo ");
    expectItGoesOn(*process);
}

// Nothing can be done before, but the question is put again.
TEST_F(StoppedPromptTest, AsksAgainAfterAStopThatCannotBeCaught) {
    const auto process = beginAsJob();
    process->sendToForeground(SIGSTOP);
    expectItGoesOn(*process);
}

}  // namespace
}  // namespace foundation::httpclient_tool
