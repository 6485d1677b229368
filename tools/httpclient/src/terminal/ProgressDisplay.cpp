#include "terminal/ProgressDisplay.h"

#include <algorithm>
#include <array>
#include <sys/ioctl.h>
#include <unistd.h>
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

// "0:07", "12:34", "3:25:45".
std::string durationText(std::int64_t seconds) {
    const auto twoDigits = [](std::int64_t number) {
        return (number < 10 ? ":0" : ":") + std::to_string(number);
    };
    const std::int64_t minutes = seconds / 60;
    return minutes < 60
               ? std::to_string(minutes) + twoDigits(seconds % 60)
               : std::to_string(minutes / 60) + twoDigits(minutes % 60) + twoDigits(seconds % 60);
}

int widthOfStandardError() {
    winsize size{};
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the system's own interface
    const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    constexpr int usual = 80;
    return known ? size.ws_col : usual;
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

ProgressDisplay::ProgressDisplay(ErrorOutput& output, bool visible, Clock clock, Look look)
    : output_(output),
      visible_(visible),
      clock_(std::move(clock)),
      look_(std::move(look)),
      start_(clock_()) {
    if (!look_.columns) {
        look_.columns = widthOfStandardError;
    }
    samples_.push_back({start_, 0});
}

void ProgressDisplay::countHeld(std::int64_t bytes) {
    const std::lock_guard lock(mutex_);
    bytes_ += bytes;
    held_ += bytes;
    for (Sample& sample : samples_) {
        sample.bytes += bytes;
    }
}

void ProgressDisplay::update(std::int64_t bytes, std::int64_t missing) {
    const std::lock_guard lock(mutex_);
    const TimePoint now = clock_();
    if (bytes < bytes_) {
        // Started over; the bytes so far say nothing about the rate.
        samples_.clear();
        held_ = 0;
    }
    bytes_ = bytes;
    total_ = missing > 0 ? bytes + missing : total_;
    samples_.push_back({now, bytes});
    while (samples_.size() > 2 && now - samples_.front().time > rateWindow) {
        samples_.pop_front();
    }
    if (visible_ && (!shown_.has_value() || now - *shown_ >= showInterval)) {
        shown_ = now;
        output_.showStatus(statusLocked());
    }
}

void ProgressDisplay::countRetry() {
    const std::lock_guard lock(mutex_);
    ++retries_;
}

void ProgressDisplay::countFile() {
    const std::lock_guard lock(mutex_);
    ++filesDone_;
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

double ProgressDisplay::shareLocked() const {
    return static_cast<double>(bytes_) / static_cast<double>(total_);
}

std::string ProgressDisplay::lineLocked() const {
    std::string text = formatBytes(bytes_);
    if (knowsTotal()) {
        text += " of " + formatBytes(total_) + ", " +
                std::to_string(static_cast<int>(shareLocked() * 100)) + " %";
    }
    const Sample& oldest = samples_.front();
    const Sample& newest = samples_.back();
    const std::int64_t came = newest.bytes - oldest.bytes;
    const std::string rate = rateText(came, newest.time - oldest.time);
    text += rate;
    if (!rate.empty() && came > 0 && knowsTotal() && total_ > bytes_) {
        const double seconds = std::chrono::duration<double>(newest.time - oldest.time).count();
        const double left =
            static_cast<double>(total_ - bytes_) * seconds / static_cast<double>(came);
        constexpr double longest = 360000;  // 100 hours; more tells nothing
        text +=
            left < longest ? ", " + durationText(static_cast<std::int64_t>(left)) + " left" : "";
    }
    if (look_.files > 1) {
        text += ", " + std::to_string(filesDone_) + " of " + std::to_string(look_.files) + " files";
    }
    return text + retriesText();
}

// "[=====>    ]", in green where there are colours.
std::string ProgressDisplay::barLocked(std::size_t width) const {
    const auto full = static_cast<std::size_t>(shareLocked() * static_cast<double>(width));
    std::string bar(std::min(full, width), '=');
    if (bar.size() < width) {
        bar += '>';
        bar.resize(width, ' ');
    }
    return output_.hasColours() ? "[\x1b[32m" + bar + "\x1b[0m] " : "[" + bar + "] ";
}

std::string ProgressDisplay::statusLocked() const {
    const std::string text = lineLocked();
    // A line that reaches the last column would wrap, and the next one could not be written over it.
    const int columns = look_.columns();
    if (static_cast<int>(text.size()) >= columns) {
        return text.substr(0, static_cast<std::size_t>(std::max(columns - 1, 0)));
    }
    const int room = columns - static_cast<int>(text.size()) - 4;
    constexpr int narrowest = 8;
    constexpr int widest = 30;
    const int width = std::min(room, widest);
    return (knowsTotal() && width >= narrowest ? barLocked(static_cast<std::size_t>(width)) : "") +
           text;
}

std::string ProgressDisplay::summary(std::int64_t bytes) const {
    const std::lock_guard lock(mutex_);
    const auto time = clock_() - start_;
    return formatBytes(bytes) + " in " +
           tenthsText(duration_cast<milliseconds>(time).count() / 100) + " s" +
           rateText(std::max<std::int64_t>(bytes - held_, 0), time) + retriesText();
}

std::string ProgressDisplay::retriesText() const {
    if (retries_ == 0) {
        return {};
    }
    return ", " + std::to_string(retries_) + (retries_ == 1 ? " retry" : " retries");
}

}  // namespace foundation::httpclient_tool
