#pragma once
#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>
#include <vector>

namespace foundation::httpclient_tool::testing {

/// A program that leads a session at a terminal of its own. The test is the user. Standard output and
/// standard error go to files, as in `program >out 2>err`.
class TerminalProcess {
public:
    TerminalProcess(std::vector<std::string> arguments,
                    const std::string& outputPath,
                    const std::string& errorPath) {
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        // Kept open: settings last as long as somebody has this end.
        EXPECT_EQ(::openpty(&terminal_, &programsEnd_, nullptr, nullptr, nullptr), 0);
        EXPECT_EQ(::tcgetattr(terminal_, &former_), 0);
        ::fcntl(terminal_, F_SETFD, FD_CLOEXEC);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::login_tty(programsEnd_);
            constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
            ::dup2(::open(outputPath.c_str(), flags | O_CLOEXEC, 0600), STDOUT_FILENO);
            ::dup2(::open(errorPath.c_str(), flags | O_CLOEXEC, 0600), STDERR_FILENO);
            ::execvp(pointers[0], pointers.data());
            ::_exit(127);
        }
    }
    TerminalProcess(const TerminalProcess&) = delete;
    TerminalProcess& operator=(const TerminalProcess&) = delete;
    ~TerminalProcess() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        ::close(programsEnd_);
        ::close(terminal_);
    }

    /// Waits until the terminal shows the text, behind what was waited for before.
    void waitFor(std::string_view text) {
        std::size_t found = std::string::npos;
        while ((found = screen_.find(text, seen_)) == std::string::npos && readMore(20000)) {
        }
        ASSERT_NE(found, std::string::npos) << "no \"" << text << "\" in:\n" << screen_;
        seen_ = found + text.size();
    }
    void type(std::string_view keys) const {
        EXPECT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    }
    void send(int signal) const { ::kill(pid_, signal); }
    /// To the process group that the terminal is with.
    void sendToForeground(int signal) const { ::kill(-::tcgetpgrp(terminal_), signal); }

    /// The exit status, or minus the number of the signal that ended it. The program must end soon, and
    /// leave the terminal as it was.
    int wait() {
        using Clock = std::chrono::steady_clock;
        const Clock::time_point end = Clock::now() + std::chrono::seconds(20);
        int status = 0;
        pid_t ended = 0;
        while ((ended = ::waitpid(pid_, &status, WNOHANG)) == 0 && Clock::now() < end) {
            // A program whose output nobody reads could not go on.
            readMore(10);
        }
        EXPECT_EQ(ended, pid_) << "still running; on its screen:\n" << screen_;
        if (ended != pid_) {
            return -1000;
        }
        pid_ = -1;
        termios settings{};
        EXPECT_EQ(::tcgetattr(terminal_, &settings), 0);
        EXPECT_EQ(settings.c_lflag, former_.c_lflag);
        EXPECT_EQ(settings.c_iflag, former_.c_iflag);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    bool isEchoing() const {
        termios settings{};
        EXPECT_EQ(::tcgetattr(terminal_, &settings), 0);
        return (settings.c_lflag & ECHO) != 0;
    }
    std::string screen() {
        while (readMore(0)) {
        }
        return screen_;
    }

private:
    bool readMore(int timeoutMs) {
        pollfd watched{terminal_, POLLIN, 0};
        std::array<char, 256> chunk{};
        if (::poll(&watched, 1, timeoutMs) <= 0) {
            return false;
        }
        const ssize_t got = ::read(terminal_, chunk.data(), chunk.size());
        screen_.append(chunk.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        return got > 0;
    }

    pid_t pid_ = -1;
    int terminal_ = -1;
    int programsEnd_ = -1;
    termios former_{};
    std::string screen_;
    std::size_t seen_ = 0;
};

}  // namespace foundation::httpclient_tool::testing
