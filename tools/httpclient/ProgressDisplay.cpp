#include "tools/httpclient/ProgressDisplay.h"

#include <array>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

using std::chrono::duration_cast;
using std::chrono::milliseconds;

constexpr auto rateWindow = std::chrono::seconds(3);
constexpr auto showInterval = milliseconds(100);

// "12.3" from a number of tenths; the standard stream formats would follow the user's locale.
std::string tenthsText(std::int64_t tenths) {
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

// Nothing after less than a tenth of a second: the number would mean nothing.
std::string rateText(std::int64_t bytes, std::chrono::steady_clock::duration time) {
    const std::int64_t elapsed = duration_cast<milliseconds>(time).count();
    if (elapsed < 100) {
        return {};
    }
    const double perSecond = static_cast<double>(bytes) * 1000 / static_cast<double>(elapsed);
    return ", " + formatBytes(static_cast<std::int64_t>(perSecond)) + "/s";
}

}  // namespace

std::string formatBytes(std::int64_t bytes) {
    if (bytes < 1000) {
        return std::to_string(bytes) + " B";
    }
    constexpr std::array<const char*, 6> units = {" kB", " MB", " GB", " TB", " PB", " EB"};
    std::size_t unit = 0;
    std::int64_t thousand = 1000;
    while (bytes / thousand >= 1000) {
        thousand *= 1000;
        ++unit;
    }
    return tenthsText(bytes / (thousand / 10)) + units.at(unit);
}

ProgressDisplay::ProgressDisplay(ErrorOutput& output, bool visible, Clock clock)
    : output_(output), visible_(visible), clock_(std::move(clock)), start_(clock_()) {
    samples_.push_back({start_, 0});
}

void ProgressDisplay::update(std::int64_t bytes, std::int64_t missing) {
    const std::lock_guard lock(mutex_);
    const TimePoint now = clock_();
    if (bytes < bytes_) {
        // Started over; the bytes so far say nothing about the rate.
        samples_.clear();
    }
    bytes_ = bytes;
    total_ = missing > 0 ? bytes + missing : total_;
    samples_.push_back({now, bytes});
    while (samples_.size() > 2 && now - samples_.front().time > rateWindow) {
        samples_.pop_front();
    }
    if (visible_ && (!shown_.has_value() || now - *shown_ >= showInterval)) {
        shown_ = now;
        output_.showStatus(lineLocked());
    }
}

void ProgressDisplay::countRetry() {
    const std::lock_guard lock(mutex_);
    ++retries_;
}

void ProgressDisplay::finish(std::int64_t bytes) {
    if (visible_) {
        output_.showStatus(summary(bytes));
        output_.keepStatus();
    }
}

std::string ProgressDisplay::line() const {
    const std::lock_guard lock(mutex_);
    return lineLocked();
}

std::string ProgressDisplay::lineLocked() const {
    std::string text = formatBytes(bytes_);
    if (total_ >= bytes_ && total_ > 0) {
        const double share = static_cast<double>(bytes_) / static_cast<double>(total_);
        text += " of " + formatBytes(total_) + ", " +
                std::to_string(static_cast<int>(share * 100)) + " %";
    }
    const Sample& oldest = samples_.front();
    const Sample& newest = samples_.back();
    return text + rateText(newest.bytes - oldest.bytes, newest.time - oldest.time) + retriesText();
}

std::string ProgressDisplay::summary(std::int64_t bytes) const {
    const std::lock_guard lock(mutex_);
    const auto time = clock_() - start_;
    return formatBytes(bytes) + " in " +
           tenthsText(duration_cast<milliseconds>(time).count() / 100) + " s" +
           rateText(bytes, time) + retriesText();
}

std::string ProgressDisplay::retriesText() const {
    if (retries_ == 0) {
        return {};
    }
    return ", " + std::to_string(retries_) + (retries_ == 1 ? " retry" : " retries");
}

}  // namespace foundation::httpclient_tool
