#include <foundation/httpclient_curl/TerminalCredentialPrompt.h>

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <csignal>
#include <functional>
#include <future>
#include <optional>
#include <poll.h>
#include <pty.h>
#include <stop_token>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <termios.h>
#include <thread>
#include <unistd.h>
#include <utmp.h>

namespace foundation::httpclient_curl::testing {
namespace {

std::string answerText(bool failedBefore, int remaining, std::int64_t timeoutMs) {
    TerminalCredentialPrompt prompt;
    const auto answer = prompt.promptForCredentials(failedBefore, remaining, timeoutMs);
    return answer.has_value() ? "<" + answer->username() + "|" + answer->password() + ">"
                              : "declined";
}

// A process of its own at a terminal of its own, which asks once. The test is the user.
class Session {
public:
    explicit Session(
        std::int64_t timeoutMs = 20000,
        bool failedBefore = false,
        const std::function<void()>& prepare = [] {}) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe(ends.data()), 0);
        int line = -1;
        EXPECT_EQ(::openpty(&terminal_, &line, nullptr, nullptr, nullptr), 0);
        // Before the process exists, which changes them.
        EXPECT_EQ(::tcgetattr(terminal_, &former_), 0);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::close(terminal_);
            ::login_tty(line);
            // As from a shell: what started the tests may ignore some of them.
            for (const int number : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) {
                ::signal(number, SIG_DFL);
            }
            prepare();
            const std::string text = answerText(failedBefore, 2, timeoutMs);
            const ssize_t written = ::write(ends[1], text.data(), text.size());
            ::_exit(written == static_cast<ssize_t>(text.size()) ? 0 : 1);
        }
        ::close(line);
        ::close(ends[1]);
        result_ = ends[0];
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;
    ~Session() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        if (terminal_ >= 0) {
            ::close(terminal_);
        }
        ::close(result_);
    }

    // Waits until the terminal shows the text; gives all that it has shown so far.
    std::string waitFor(std::string_view text) {
        while (screen_.find(text) == std::string::npos && readMore(terminal_, screen_)) {
        }
        EXPECT_NE(screen_.find(text), std::string::npos) << screen_;
        return screen_;
    }
    void type(std::string_view keys) const {
        EXPECT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    void hangUp() {
        ::close(terminal_);
        terminal_ = -1;
    }
    // What the process was answered. The terminal must be as it was before.
    std::string result() {
        std::string text;
        while (readMore(result_, text)) {
        }
        waitForEnd();
        if (terminal_ >= 0) {
            termios settings{};
            EXPECT_EQ(::tcgetattr(terminal_, &settings), 0);
            EXPECT_EQ(settings.c_lflag, former_.c_lflag);
            EXPECT_EQ(settings.c_iflag, former_.c_iflag);
        }
        return text;
    }
    void waitForEnd() {
        ::waitpid(pid_, &status_, 0);
        pid_ = -1;
    }
    int status() const { return status_; }
    void send(int signal) const { ::kill(pid_, signal); }
    bool isEchoing() const {
        termios settings{};
        EXPECT_EQ(::tcgetattr(terminal_, &settings), 0);
        return (settings.c_lflag & ECHO) != 0;
    }
    std::string screen() {
        while (readMore(terminal_, screen_, 0)) {
        }
        return screen_;
    }

private:
    static bool readMore(int file, std::string& text, int timeoutMs = 20000) {
        pollfd watched{file, POLLIN, 0};
        std::array<char, 256> chunk{};
        if (::poll(&watched, 1, timeoutMs) <= 0) {
            return false;
        }
        const ssize_t got = ::read(file, chunk.data(), chunk.size());
        text.append(chunk.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        return got > 0;
    }

    pid_t pid_ = -1;
    int terminal_ = -1;
    int result_ = -1;
    int status_ = 0;
    termios former_{};
    std::string screen_;
};

const char* const namePrompt = "User name for the proxy: ";
const char* const passwordPrompt = "Password for the proxy: ";

TEST(TerminalCredentialPromptTest, AsksForNameAndPasswordAndShowsOnlyTheName) {
    Session session;
    session.waitFor(namePrompt);
    EXPECT_FALSE(session.isEchoing());
    session.type("ann\n");
    session.waitFor(passwordPrompt);
    session.type("se:cret\n");
    EXPECT_EQ(session.result(), "<ann|se:cret>");
    EXPECT_EQ(session.screen(), "User name for the proxy: ann\r\nPassword for the proxy: \r\n");
}

TEST(TerminalCredentialPromptTest, TellsWhatFailedBefore) {
    Session session(20000, true);
    const std::string screen = session.waitFor(namePrompt);
    EXPECT_TRUE(screen.starts_with("The proxy refused that. Attempts left: 2\r\n")) << screen;
    session.type("a\n");
    session.waitFor(passwordPrompt);
    session.type("b\r");
    EXPECT_EQ(session.result(), "<a|b>");
}

TEST(TerminalCredentialPromptTest, LinesCanBeEdited) {
    Session session;
    session.waitFor(namePrompt);
    session.type(
        "x\x7Fwrong\x15"
        "an\xC3\xA4\x7Fn\x04\x1B\n");
    session.waitFor(passwordPrompt);
    session.type("\x7Fsecrex\bt\n");
    EXPECT_EQ(session.result(), "<ann|secret>");
}

TEST(TerminalCredentialPromptTest, AcceptsAnEmptyNameAndPassword) {
    Session session;
    session.waitFor(namePrompt);
    session.type("\n");
    session.waitFor(passwordPrompt);
    session.type("\n");
    EXPECT_EQ(session.result(), "<|>");
}

TEST(TerminalCredentialPromptTest, TakesALimitedNumberOfBytes) {
    Session session;
    session.waitFor(namePrompt);
    session.type("ann\n");
    session.waitFor(passwordPrompt);
    // Less than the terminal holds at a time.
    session.type(std::string(2000, 'x') + "\n");
    EXPECT_EQ(session.result(), "<ann|" + std::string(1024, 'x') + ">");
}

TEST(TerminalCredentialPromptTest, EndOfFileDeclines) {
    Session atName;
    atName.waitFor(namePrompt);
    atName.type("\x04");
    EXPECT_EQ(atName.result(), "declined");
    Session atPassword;
    atPassword.waitFor(namePrompt);
    atPassword.type("ann\n");
    atPassword.waitFor(passwordPrompt);
    atPassword.type("\x04");
    EXPECT_EQ(atPassword.result(), "declined");
}

TEST(TerminalCredentialPromptTest, TheEndOfTheTimeDeclines) {
    Session session(300);
    session.waitFor(namePrompt);
    session.type("ann\n");
    session.waitFor(passwordPrompt);
    session.type("half");
    EXPECT_EQ(session.result(), "declined");
}

TEST(TerminalCredentialPromptTest, CtrlCRestoresTheTerminalAndEndsTheProcess) {
    Session session;
    session.waitFor(namePrompt);
    session.type("ann\n");
    session.waitFor(passwordPrompt);
    session.type("half\x03");
    EXPECT_EQ(session.result(), "");
    EXPECT_TRUE(WIFSIGNALED(session.status()));
    EXPECT_EQ(WTERMSIG(session.status()), SIGINT);
}

TEST(TerminalCredentialPromptTest, ASignalThatEndsTheProcessRestoresTheTerminalFirst) {
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGALRM, SIGTERM}) {
        Session session;
        session.waitFor(namePrompt);
        session.type("ann\n");
        session.waitFor(passwordPrompt);
        session.send(signal);
        EXPECT_EQ(session.result(), "");
        EXPECT_TRUE(WIFSIGNALED(session.status()));
        EXPECT_EQ(WTERMSIG(session.status()), signal);
    }
}

// What the other tests see if nobody restores the settings.
TEST(TerminalCredentialPromptTest, ASignalThatCannotBeCaughtLeavesTheTerminalChanged) {
    Session session;
    session.waitFor(namePrompt);
    session.send(SIGKILL);
    session.waitForEnd();
    EXPECT_FALSE(session.isEchoing());
}

TEST(TerminalCredentialPromptTest, ASignalThatTheProgramHandlesIsLeftToIt) {
    const auto interrupted = [](int) {
        const ssize_t written = ::write(STDOUT_FILENO, "handled", 7);
        static_cast<void>(written);
    };
    Session session(20000, false, [interrupted] {
        ::signal(SIGTERM, interrupted);
        ::signal(SIGHUP, SIG_IGN);
    });
    session.waitFor(namePrompt);
    session.send(SIGHUP);
    session.send(SIGTERM);
    session.waitFor("handled");
    session.type("ann\n");
    session.waitFor(passwordPrompt);
    session.type("secret\n");
    EXPECT_EQ(session.result(), "<ann|secret>");
}

// The group of a process that leads its session is not stopped by the terminal's signal.
TEST(TerminalCredentialPromptTest, AsksOnWhereNobodyCouldContinueIt) {
    for (const bool byKey : {true, false}) {
        Session session;
        session.waitFor(namePrompt);
        session.type("ann");
        session.waitFor("ann");
        if (byKey) {
            session.type("\x1A");
        } else {
            session.send(SIGTSTP);
        }
        session.waitFor("\r\nUser name for the proxy: ann");
        session.type("e\n");
        session.waitFor(passwordPrompt);
        session.type("secret\n");
        EXPECT_EQ(session.result(), "<anne|secret>");
    }
}

TEST(TerminalCredentialPromptTest, TheQuitKeyRestoresTheTerminalAndEndsTheProcess) {
    Session session;
    session.waitFor(namePrompt);
    session.type("ann\x1C");
    EXPECT_EQ(session.result(), "");
    EXPECT_TRUE(WIFSIGNALED(session.status()));
    EXPECT_EQ(WTERMSIG(session.status()), SIGQUIT);
}

TEST(TerminalCredentialPromptTest, AfterTheQuestionSignalsAreAsTheyWere) {
    Session session(20000, false, [] {
        TerminalCredentialPrompt().promptForCredentials(false, 3, 1);
        struct sigaction action{};
        for (const int signal : {SIGHUP, SIGQUIT, SIGALRM, SIGTERM, SIGTSTP, SIGCONT}) {
            ::sigaction(signal, nullptr, &action);
            if (action.sa_handler != SIG_DFL) {
                ::_exit(9);
            }
        }
    });
    session.waitFor(std::string(namePrompt) + "\r\n" + namePrompt);
    session.type("a\n");
    session.waitFor(passwordPrompt);
    session.type("b\n");
    EXPECT_EQ(session.result(), "<a|b>");
}

TEST(TerminalCredentialPromptTest, EndsWhenItIsToldToStop) {
    Session session(20000, false, [] {
        std::stop_source stop;
        TerminalCredentialPrompt prompt;
        auto asking = std::async(std::launch::async, [&] {
            return prompt.ask(false, 3, 20000, stop.get_token()).has_value();
        });
        // While the first has the terminal, the second waits for it.
        auto waiting = std::async(std::launch::async, [&] {
            return prompt.ask(false, 3, 20000, stop.get_token()).has_value();
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        stop.request_stop();
        ::_exit(asking.get() || waiting.get() ? 1 : 0);
    });
    session.waitFor(namePrompt);
    EXPECT_EQ(session.result(), "");
    EXPECT_TRUE(WIFEXITED(session.status()));
    EXPECT_EQ(WEXITSTATUS(session.status()), 0);
}

TEST(TerminalCredentialPromptTest, ATerminalThatIsGoneDeclines) {
    // Its end sends SIGHUP, which would end the process before it can tell.
    Session session(20000, false, [] { ::signal(SIGHUP, SIG_IGN); });
    session.waitFor(namePrompt);
    session.hangUp();
    EXPECT_EQ(session.result(), "declined");
}

// Runs in a process without a terminal, or in the background of one.
std::string answerApart(const std::function<void()>& prepare) {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe(ends.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        prepare();
        const std::string text = answerText(false, 3, 20000);
        const ssize_t written = ::write(ends[1], text.data(), text.size());
        ::_exit(written > 0 ? 0 : 1);
    }
    ::close(ends[1]);
    std::string text;
    std::array<char, 64> chunk{};
    for (ssize_t got = 0; (got = ::read(ends[0], chunk.data(), chunk.size())) > 0;) {
        text.append(chunk.data(), static_cast<std::size_t>(got));
    }
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    return text;
}

TEST(TerminalCredentialPromptTest, WithoutATerminalItDeclines) {
    EXPECT_EQ(answerApart([] { ::setsid(); }), "declined");
}

TEST(TerminalCredentialPromptTest, InTheBackgroundItDeclines) {
    int terminal = -1;
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        // The leader of the session stays in the foreground, its child leaves it.
        const std::string text = answerApart([] { ::setpgid(0, 0); });
        const ssize_t written = ::write(ends[1], text.data(), text.size());
        ::_exit(written > 0 ? 0 : 1);
    }
    ::close(ends[1]);
    std::array<char, 64> chunk{};
    const ssize_t got = ::read(ends[0], chunk.data(), chunk.size());
    EXPECT_EQ(std::string_view(chunk.data(), got > 0 ? static_cast<std::size_t>(got) : 0),
              "declined");
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    ::close(terminal);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
