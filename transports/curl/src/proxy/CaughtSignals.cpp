#include "proxy/CaughtSignals.h"

#include <atomic>
#include <bit>
#include <cstdint>
#include <pthread.h>
#include <unistd.h>

namespace foundation::httpclient_curl {
namespace {

constexpr std::uint64_t bitOf(int signal) {
    return std::uint64_t{1} << static_cast<unsigned int>(signal);
}

// Beside the signals: nobody takes them.
constexpr std::uint64_t isClosed = bitOf(63);

// A bit for each signal. Set in signal handlers, so it has to do without locks.
std::atomic<std::uint64_t> arrived{isClosed};
static_assert(std::atomic<std::uint64_t>::is_always_lock_free);

extern "C" void noteSignal(int signal) {
    if ((arrived.fetch_or(bitOf(signal)) & isClosed) != 0) {
        // The thread was slow to get here. The default action is back and follows this handler.
        ::raise(signal);
    }
}

bool isDefault(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_DFL;
}

// To this thread, so that the effect is there when it returns.
void raiseHere(int signal, bool alsoForGroup) {
    sigset_t one;
    sigset_t former;
    ::sigemptyset(&one);
    ::sigaddset(&one, signal);
    ::pthread_sigmask(SIG_BLOCK, &one, &former);
    if (alsoForGroup) {
        // This process takes no notice of what the others get, and gets its own: were there two, it would
        // stop a second time when it is continued after the first.
        struct sigaction action{};
        ::sigaction(signal, nullptr, &action);
        struct sigaction ignored{};
        ignored.sa_handler = SIG_IGN;
        ::sigaction(signal, &ignored, nullptr);
        ::kill(0, signal);
        ::sigaction(signal, &action, nullptr);
    }
    ::raise(signal);
    ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
    ::pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

}  // namespace

CaughtSignals::CaughtSignals() {
    arrived = 0;
    install();
}

CaughtSignals::~CaughtSignals() {
    restore();
    const std::uint64_t left = arrived.exchange(isClosed);
    for (const int signal : numbers) {
        if ((left & bitOf(signal)) != 0) {
            raiseHere(signal, false);
        }
    }
}

int CaughtSignals::take() noexcept {
    const std::uint64_t all = arrived;
    if (all == 0) {
        return 0;
    }
    const int signal = std::countr_zero(all);
    arrived.fetch_and(~bitOf(signal));
    return signal;
}

void CaughtSignals::let(int signal) {
    restore();
    raiseHere(signal, false);
    install();
}

void CaughtSignals::stopGroup() {
    // Also for the signal that continues it: by default it leaves no trace, so nobody is asked twice.
    restore();
    raiseHere(SIGTSTP, true);
    install();
}

void CaughtSignals::install() {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        ::sigaction(numbers.at(i), nullptr, &former_.at(i));
        if (isDefault(former_.at(i))) {
            struct sigaction ours{};
            ours.sa_handler = &noteSignal;
            ours.sa_flags = SA_RESTART;
            ::sigfillset(&ours.sa_mask);
            ::sigaction(numbers.at(i), &ours, nullptr);
        }
    }
}

void CaughtSignals::restore() {
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (isDefault(former_.at(i))) {
            ::sigaction(numbers.at(i), &former_.at(i), nullptr);
        }
    }
}

}  // namespace foundation::httpclient_curl
