#include "retry/RetryClock.h"

#include <random>

namespace foundation::httpclient_curl {
namespace {

std::int64_t randomNumber(std::int64_t most) {
    // One generator for each thread, so that no lock is needed.
    thread_local std::minstd_rand generator(std::random_device{}());
    return std::uniform_int_distribution<std::int64_t>(0, most)(generator);
}

constinit RetryClock inForce{.now = &std::chrono::steady_clock::now,
                             .date = &std::chrono::system_clock::now,
                             .randomUpTo = &randomNumber};

}  // namespace

RetryClock retryClock() noexcept {
    return inForce;
}

void setRetryClock(RetryClock clock) noexcept {
    inForce = clock;
}

RetryClock systemRetryClock() noexcept {
    return {.now = &std::chrono::steady_clock::now,
            .date = &std::chrono::system_clock::now,
            .randomUpTo = &randomNumber};
}

}  // namespace foundation::httpclient_curl
