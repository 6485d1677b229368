#pragma once
#include "tools/httpclient/ErrorOutput.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace foundation::httpclient_tool {

/// "999 B", "1.5 kB", "20.0 MB": a decimal unit of three digits, cut off, not rounded up.
std::string formatBytes(std::int64_t bytes);

/// The bottom line of a download on a terminal, and its summary.
///
/// @par Thread safety
/// Internally locked: the mutex covers the counts and the samples.
class ProgressDisplay {
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    /// With `visible` false nothing is shown.
    ProgressDisplay(
        ErrorOutput& output,
        bool visible,
        Clock clock = [] { return std::chrono::steady_clock::now(); });

    /// Takes the bytes held and how many are missing, 0 when that is not known. Shows a line, though not
    /// more than ten in a second.
    void update(std::int64_t bytes, std::int64_t missing);
    void countRetry();
    /// Replaces the line by the summary for good.
    void finish(std::int64_t bytes);

    /// Such as "12.3 MB of 50.0 MB, 24 %, 3.8 MB/s, 2 retries".
    std::string line() const;
    /// Such as "50.0 MB in 8.4 s, 5.9 MB/s, 2 retries".
    std::string summary(std::int64_t bytes) const;

private:
    struct Sample {
        TimePoint time;
        std::int64_t bytes;
    };

    std::string lineLocked() const;
    std::string retriesText() const;

    ErrorOutput& output_;
    bool visible_;
    Clock clock_;
    TimePoint start_;
    mutable std::mutex mutex_;
    std::deque<Sample> samples_;  ///< Of the last seconds, for the rate.
    std::optional<TimePoint> shown_;
    std::int64_t bytes_ = 0;
    std::int64_t total_ = 0;  ///< 0: not known.
    int retries_ = 0;
};

}  // namespace foundation::httpclient_tool
