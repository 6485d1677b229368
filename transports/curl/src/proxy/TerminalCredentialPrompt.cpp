#include <foundation/httpclient_curl/TerminalCredentialPrompt.h>

#include "proxy/CaughtSignals.h"
#include "proxy/Secret.h"
#include "proxy/Terminal.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

using Clock = std::chrono::steady_clock;

// How soon a signal or a cancellation is noticed.
constexpr std::chrono::milliseconds interval(20);

/// One question, at most: what it may use and how long it may take. The signals are let go last, when the
/// terminal is as it was.
struct Session {
    Clock::time_point end;
    std::stop_token cancelled;
    CaughtSignals signals;
    Terminal terminal;
};

/// One line of the user's, as it grows.
class Line {
public:
    Line(Session& session, std::string_view label, bool isShown)
        : session_(session), terminal_(session.terminal), label_(label), isShown_(isShown) {
        // No copy is left behind when the text grows.
        text_.reserve(longest);
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;
    ~Line() { wipe(text_); }

    enum class End { Entered, Declined, Interrupted, Quit };

    End read() {
        show();
        const End end = readOn();
        terminal_.print("\n");
        return end;
    }

    const std::string& text() const noexcept { return text_; }

private:
    static constexpr std::size_t longest = 1024;

    void show() const {
        terminal_.print(label_);
        if (isShown_) {
            terminal_.print(text_);
        }
    }

    End readOn() {
        while (!session_.cancelled.stop_requested() && Clock::now() < session_.end) {
            if (!heedSignals()) {
                return End::Declined;
            }
            char key = 0;
            switch (terminal_.readKey(static_cast<int>(interval.count()), key)) {
                case Terminal::Input::None:
                    continue;
                case Terminal::Input::End:
                    return End::Declined;
                case Terminal::Input::Key:
                    break;
            }
            if (key == '\n' || key == '\r') {
                return End::Entered;
            }
            if (terminal_.isKey(key, VINTR)) {
                return End::Interrupted;
            }
            if (terminal_.isKey(key, VQUIT)) {
                return End::Quit;
            }
            if (terminal_.isKey(key, VEOF) && text_.empty()) {
                return End::Declined;
            }
            if (terminal_.isKey(key, VSUSP)) {
                if (!pause([this] { session_.signals.stopGroup(); })) {
                    return End::Declined;
                }
            } else {
                edit(key);
            }
        }
        return End::Declined;
    }

    // False when the terminal cannot be used any more.
    bool heedSignals() {
        const int signal = CaughtSignals::take();
        if (signal == 0) {
            return true;
        }
        return pause([this, signal] {
            // After a stop that cannot be caught there is nothing to do before the user is asked again.
            if (signal != SIGCONT) {
                session_.signals.let(signal);
            }
        });
    }

    // Leaves the terminal as it was for the time of the action, which may end the process.
    template <class Action>
    bool pause(Action&& action) {
        terminal_.print("\n");
        terminal_.release();
        std::forward<Action>(action)();
        terminal_.take();
        show();
        return terminal_.isTaken();
    }

    void edit(char key) {
        if (terminal_.isKey(key, VERASE) || key == '\b' || key == '\x7F') {
            eraseCharacter();
        } else if (terminal_.isKey(key, VKILL)) {
            while (!text_.empty()) {
                eraseCharacter();
            }
        } else if (static_cast<unsigned char>(key) >= 0x20 && text_.size() < longest) {
            text_ += key;
            if (isShown_) {
                terminal_.print({&key, 1});
            }
        }
    }

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

    Session& session_;
    Terminal& terminal_;
    std::string_view label_;
    bool isShown_;
    std::string text_;
};

struct Outcome {
    std::optional<httpclient_core::ProxyCredentials> answer;
    int signal = 0;  ///< Of the key that ended it; 0 for none.
};

Outcome askAtTerminal(bool previousAttemptFailed,
                      int remainingAttempts,
                      Clock::time_point end,
                      std::stop_token cancelled) {
    Session session{end, std::move(cancelled), {}, {}};
    if (!session.terminal.isTaken()) {
        return {};
    }
    if (previousAttemptFailed) {
        session.terminal.print(
            "The proxy refused that. Attempts left: " + std::to_string(remainingAttempts) + "\n");
    }
    Line name(session, "User name for the proxy: ", true);
    Line password(session, "Password for the proxy: ", false);
    Line::End ended = name.read();
    if (ended == Line::End::Entered) {
        ended = password.read();
    }
    switch (ended) {
        case Line::End::Entered:
            return {httpclient_core::ProxyCredentials(name.text(), password.text()), 0};
        case Line::End::Interrupted:
            return {std::nullopt, SIGINT};
        case Line::End::Quit:
            return {std::nullopt, SIGQUIT};
        case Line::End::Declined:
            break;
    }
    return {};
}

}  // namespace

TerminalCredentialPrompt::~TerminalCredentialPrompt() = default;

std::optional<httpclient_core::ProxyCredentials> TerminalCredentialPrompt::ask(
    bool previousAttemptFailed,
    int remainingAttempts,
    std::int64_t timeoutMs,
    std::stop_token cancelled) {
    // There is one terminal, however many prompts there are.
    static std::mutex oneAtATime;
    std::unique_lock lock(oneAtATime, std::try_to_lock);
    while (!lock.owns_lock()) {
        if (cancelled.stop_requested()) {
            return std::nullopt;
        }
        std::this_thread::sleep_for(interval);
        static_cast<void>(lock.try_lock());
    }
    constexpr std::int64_t longest = std::int64_t{365} * 24 * 3600 * 1000;
    const std::chrono::milliseconds time(timeoutMs > 0 ? std::min(timeoutMs, longest) : longest);
    Outcome outcome =
        askAtTerminal(previousAttemptFailed, remainingAttempts, Clock::now() + time, cancelled);
    if (outcome.signal != 0) {
        // What the key would have done by itself. To processes, so that a thread may wait for it.
        ::kill(0, outcome.signal);
        // Most programs want to end then: a request that ended first would look like the reason.
        constexpr std::chrono::seconds patience(1);
        const Clock::time_point end = Clock::now() + patience;
        while (cancelled.stop_possible() && !cancelled.stop_requested() && Clock::now() < end) {
            std::this_thread::sleep_for(interval);
        }
    }
    return std::move(outcome.answer);
}

}  // namespace foundation::httpclient_curl
