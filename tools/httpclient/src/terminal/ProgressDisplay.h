#pragma once
#include "terminal/ErrorOutput.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

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
    static Clock steadyClock() {
        return [] { return std::chrono::steady_clock::now(); };
    }

    struct Look {
        std::size_t files = 1;         ///< Downloads that the line is about.
        std::function<int()> columns;  ///< Width of the terminal; empty: asks standard error's.
    };

    /// With `visible` false nothing is shown. Colours follow the output.
    ProgressDisplay(ErrorOutput& output, bool visible, Clock clock, Look look);
    ProgressDisplay(ErrorOutput& output, bool visible, Clock clock = steadyClock())
        : ProgressDisplay(output, visible, std::move(clock), Look{}) {}

    /// So many bytes are there before anything comes; they say nothing about the rate.
    void countHeld(std::int64_t bytes);
    /// Takes the bytes held and how many are missing, 0 when that is not known. Shows a line, though not
    /// more than ten in a second.
    void update(std::int64_t bytes, std::int64_t missing);
    void countRetry();
    /// One of several downloads has ended.
    void countFile();
    /// Replaces the line by the summary for good.
    void finish(std::int64_t bytes);
    /// Leaves the line as it is: what follows on the terminal stands below it.
    void abandon() { output_.keepStatus(); }

    /// Such as "12.3 MB of 50.0 MB, 24 %, 3.8 MB/s, 0:10 left, 2 retries". On the terminal a bar stands
    /// before it, as wide as there is room.
    std::string line() const;
    /// Such as "50.0 MB in 8.4 s, 5.9 MB/s, 2 retries".
    std::string summary(std::int64_t bytes) const;

private:
    struct Sample {
        TimePoint time;
        std::int64_t bytes;
    };

    std::string lineLocked() const;
    std::string statusLocked() const;
    std::string barLocked(std::size_t width) const;
    std::string retriesText() const;
    double shareLocked() const;
    bool knowsTotal() const { return total_ >= bytes_ && total_ > 0; }

    ErrorOutput& output_;
    bool visible_;
    Clock clock_;
    Look look_;
    TimePoint start_;
    mutable std::mutex mutex_;
    std::deque<Sample> samples_;  ///< Of the last seconds, for the rate.
    std::optional<TimePoint> shown_;
    std::int64_t bytes_ = 0;
    std::int64_t held_ = 0;   ///< Of these, so many were there before.
    std::int64_t total_ = 0;  ///< 0: not known.
    int retries_ = 0;
    std::size_t filesDone_ = 0;
};

}  // namespace foundation::httpclient_tool
