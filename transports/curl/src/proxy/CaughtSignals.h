#pragma once
#include <array>
#include <csignal>
#include <cstddef>

namespace foundation::httpclient_curl {

/// Catches, while it lives, the signals that would end, stop or continue the process by default. A signal
/// that the program handles, ignores or waits for itself stays the program's. One at a time in a process;
/// used on one thread.
class CaughtSignals {
public:
    CaughtSignals();
    CaughtSignals(const CaughtSignals&) = delete;
    CaughtSignals& operator=(const CaughtSignals&) = delete;
    /// What has come and was not taken has its default effect then.
    ~CaughtSignals();

    /// A signal that has come since; 0 for none.
    static int take() noexcept;
    /// Lets the signal have its default effect. Returns if that was not the end: once the process goes on
    /// after a stop, and at once where its group cannot be stopped.
    void let(int signal);
    /// Stops the process and the others of its group, as the key of the terminal would.
    void stopGroup();

private:
    static constexpr std::array<int, 7> numbers = {SIGHUP,  SIGINT,  SIGQUIT, SIGALRM,
                                                   SIGTERM, SIGTSTP, SIGCONT};

    void install();
    void restore();

    std::array<struct sigaction, numbers.size()> former_{};
};

}  // namespace foundation::httpclient_curl
