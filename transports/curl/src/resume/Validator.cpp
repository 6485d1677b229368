#include "resume/Validator.h"

#include "retry/HttpDate.h"

#include <chrono>

namespace foundation::httpclient_curl {
namespace {

bool isStrong(const std::string& etag) {
    return etag.size() >= 2 && etag.front() == '"' && etag.back() == '"';
}

Validator::Strength strengthOf(const std::string& lastModified, const std::string& date) {
    // Two-digit years are read as of today; a validator is never from the future.
    const auto now = std::chrono::system_clock::now();
    const auto modified = parseHttpDate(lastModified, now);
    const auto answered = parseHttpDate(date, now);
    if (!modified.has_value() || !answered.has_value()) {
        return Validator::Strength::None;
    }
    // Within the second of its Last-Modified a resource may change again unseen. One second is enough if
    // both dates are of the same clock, and nothing tells whether they are.
    constexpr std::chrono::seconds tick(1);
    constexpr std::chrono::seconds moreThanClocksDiffer(60);
    const auto age = *answered - *modified;
    if (age >= moreThanClocksDiffer) {
        return Validator::Strength::Sure;
    }
    return age >= tick ? Validator::Strength::Likely : Validator::Strength::None;
}

}  // namespace

Validator::Validator(const HeaderBlock& block)
    : etag(block.header("ETag")), lastModified(block.header("Last-Modified")) {
    if (!etag.empty()) {
        strength = isStrong(etag) ? Strength::Sure : Strength::None;
    } else {
        strength = strengthOf(lastModified, block.header("Date"));
    }
}

std::string Validator::ifRange() const {
    return strength == Strength::None ? std::string() : text();
}

bool Validator::matches(const Validator& other) const {
    if (other.etag != etag) {
        return false;
    }
    if (isStrong(etag)) {
        return true;
    }
    // A date that was sent as the condition comes back; what a weak tag left open may be missing.
    return other.lastModified == lastModified ||
           (other.lastModified.empty() && strength == Strength::None);
}

}  // namespace foundation::httpclient_curl
