#include "terminal/ErrorOutput.h"

#include "text/SafeText.h"

namespace foundation::httpclient_tool {
namespace {

// To the start of the line, and erase what stands there.
constexpr std::string_view eraseLine = "\r\x1b[K";

}  // namespace

void ErrorOutput::showStatus(std::string_view text) {
    const std::lock_guard lock(mutex_);
    stream_ << eraseLine << text << std::flush;
    statusShown_ = true;
}

void ErrorOutput::keepStatus() {
    const std::lock_guard lock(mutex_);
    if (statusShown_) {
        stream_ << '\n' << std::flush;
        statusShown_ = false;
    }
}

void ErrorOutput::line(std::string_view prefix, std::string_view text) {
    const std::string safe = safeText(text);
    const std::lock_guard lock(mutex_);
    if (statusShown_) {
        stream_ << eraseLine;
        statusShown_ = false;
    }
    stream_ << prefix << safe << '\n' << std::flush;
}

}  // namespace foundation::httpclient_tool
