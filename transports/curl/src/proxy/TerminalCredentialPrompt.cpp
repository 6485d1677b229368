#include <foundation/httpclient_curl/TerminalCredentialPrompt.h>

#include "proxy/Secret.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <string>
#include <string_view>
#include <termios.h>
#include <unistd.h>

namespace foundation::httpclient_curl {
namespace {

using Clock = std::chrono::steady_clock;

/// The controlling terminal with its keys under our control, for as long as the object lives. Keys come
/// one by one and the signal keys as bytes: else Ctrl-C could end the process before the settings are
/// restored.
class Terminal {
public:
    Terminal() : file_(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {
        // In the background the first change of the settings would stop the process.
        if (file_ < 0 || ::tcgetpgrp(file_) != ::getpgrp() || ::tcgetattr(file_, &former_) != 0) {
            return;
        }
        termios ours = former_;
        ours.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
        ours.c_cc[VMIN] = 1;
        ours.c_cc[VTIME] = 0;
        isOurs_ = ::tcsetattr(file_, TCSAFLUSH, &ours) == 0;
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal() {
        if (isOurs_) {
            ::tcsetattr(file_, TCSADRAIN, &former_);
        }
        if (file_ >= 0) {
            ::close(file_);
        }
    }

    bool isUsable() const noexcept { return isOurs_; }

    void print(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t written = ::write(file_, text.data(), text.size());
            if (written < 0 && errno != EINTR) {
                return;
            }
            text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
        }
    }

    /// The next byte; nothing at the end of the time or when the terminal is gone.
    std::optional<char> readKey(Clock::time_point end) const {
        for (;;) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            constexpr std::chrono::milliseconds longest(60000);
            pollfd watched{file_, POLLIN, 0};
            const int ready = ::poll(
                &watched, 1,
                static_cast<int>(std::clamp(left, std::chrono::milliseconds(0), longest).count()));
            if (ready == 0 && left <= std::chrono::milliseconds(0)) {
                return std::nullopt;
            }
            if (ready > 0) {
                char key = 0;
                // Whoever asks meanwhile has to wait for this user's answer.
                // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection): poll found a byte
                const ssize_t got = ::read(file_, &key, 1);
                if (got == 1) {
                    return key;
                }
                if (got == 0 || errno != EINTR) {
                    return std::nullopt;
                }
            } else if (ready < 0 && errno != EINTR) {
                return std::nullopt;
            }
        }
    }

    /// Whether the key is the one that the terminal's settings name for this purpose.
    bool isKey(char key, int purpose) const {
        const cc_t own = former_.c_cc[purpose];
        return own != _POSIX_VDISABLE && static_cast<cc_t>(key) == own;
    }

private:
    int file_;
    termios former_{};
    bool isOurs_ = false;
};

/// One line of the user's, as it grows.
class Line {
public:
    Line(const Terminal& terminal, bool isShown) : terminal_(terminal), isShown_(isShown) {
        // No copy is left behind when the text grows.
        text_.reserve(longest);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    ~Line() { wipe(text_); }

    enum class End { Entered, Declined, Interrupted };

    End read(Clock::time_point end) {
        for (;;) {
            const std::optional<char> key = terminal_.readKey(end);
            if (!key.has_value()) {
                return End::Declined;
            }
            if (*key == '\n' || *key == '\r') {
                return End::Entered;
            }
            if (terminal_.isKey(*key, VINTR)) {
                return End::Interrupted;
            }
            if (terminal_.isKey(*key, VEOF)) {
                if (text_.empty()) {
                    return End::Declined;
                }
            } else if (terminal_.isKey(*key, VERASE) || *key == '\b' || *key == '\x7F') {
                eraseCharacter();
            } else if (terminal_.isKey(*key, VKILL)) {
                while (!text_.empty()) {
                    eraseCharacter();
                }
            } else if (static_cast<unsigned char>(*key) >= 0x20 && text_.size() < longest) {
                text_ += *key;
                if (isShown_) {
                    terminal_.print({&*key, 1});
                }
            }
        }
    }

    const std::string& text() const noexcept { return text_; }

private:
    static constexpr std::size_t longest = 1024;

    void eraseCharacter() {
        if (text_.empty()) {
            return;
        }
        // All bytes of a character in UTF-8.
        while (text_.size() > 1 && (static_cast<unsigned char>(text_.back()) & 0xC0U) == 0x80U) {
            text_.pop_back();
        }
        text_.pop_back();
        if (isShown_) {
            terminal_.print("\b \b");
        }
    }

    const Terminal& terminal_;
    bool isShown_;
    std::string text_;
};

struct Outcome {
    std::optional<httpclient_core::ProxyCredentials> answer;
    bool isInterrupted = false;
};

Outcome ask(bool previousAttemptFailed, int remainingAttempts, Clock::time_point end) {
    const Terminal terminal;
    if (!terminal.isUsable()) {
        return {};
    }
    if (previousAttemptFailed) {
        terminal.print(
            "The proxy refused that. Attempts left: " + std::to_string(remainingAttempts) + "\n");
    }
    Line name(terminal, true);
    Line password(terminal, false);
    terminal.print("User name for the proxy: ");
    Line::End ended = name.read(end);
    terminal.print("\n");
    if (ended == Line::End::Entered) {
        terminal.print("Password for the proxy: ");
        ended = password.read(end);
        terminal.print("\n");
    }
    if (ended != Line::End::Entered) {
        return {std::nullopt, ended == Line::End::Interrupted};
    }
    return {httpclient_core::ProxyCredentials(name.text(), password.text()), false};
}

}  // namespace

TerminalCredentialPrompt::~TerminalCredentialPrompt() = default;

std::optional<httpclient_core::ProxyCredentials> TerminalCredentialPrompt::promptForCredentials(
    bool previousAttemptFailed,
    int remainingAttempts,
    std::int64_t timeoutMs) {
    // There is one terminal, however many prompts there are.
    static std::mutex oneAtATime;
    const std::lock_guard lock(oneAtATime);
    constexpr std::int64_t longest = std::int64_t{365} * 24 * 3600 * 1000;
    const std::chrono::milliseconds time(timeoutMs > 0 ? std::min(timeoutMs, longest) : longest);
    Outcome outcome = ask(previousAttemptFailed, remainingAttempts, Clock::now() + time);
    if (outcome.isInterrupted) {
        // What the key would have done by itself. For the process, so that a thread may wait for it.
        ::kill(::getpid(), SIGINT);
    }
    return std::move(outcome.answer);
}

}  // namespace foundation::httpclient_curl
