#pragma once
#include <chrono>
#include <cstdint>

/// Where the resuming retry strategy has its times and random numbers from; tests put their own in place.
namespace foundation::httpclient_curl {

struct RetryClock {
    std::chrono::steady_clock::time_point (*now)();
    std::chrono::system_clock::time_point (*date)();
    /// A number from 0 to the given one, each as likely as any other.
    std::int64_t (*randomUpTo)(std::int64_t most);
};

/// The clocks of the system and a generator seeded by its random device, unless setRetryClock put others
/// in their place.
RetryClock retryClock() noexcept;
/// Replaces them for the whole process. Not while a strategy is being called.
void setRetryClock(RetryClock clock) noexcept;
/// Those of a process in which nothing was replaced.
RetryClock systemRetryClock() noexcept;

}  // namespace foundation::httpclient_curl
