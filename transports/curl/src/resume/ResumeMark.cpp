#include "resume/ResumeMark.h"

#include "request/HexDigits.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>

namespace foundation::httpclient_curl {
namespace {

const char* const markHeader = "QZ-Internal-Resume";

void appendText(std::string& line, std::string_view text) {
    line += " x";
    for (const char c : text) {
        appendHex(line, static_cast<unsigned char>(c), lowerHexDigits);
    }
}

void appendNumber(std::string& line, std::int64_t number) {
    std::array<char, 24> text{' '};
    char* const end = std::to_chars(text.data() + 1, text.data() + text.size(), number).ptr;
    line.append(text.data(), static_cast<std::size_t>(end - text.data()));
}

std::string fromHex(std::string_view hex) {
    std::string text;
    for (hex.remove_prefix(std::min<std::size_t>(hex.size(), 1)); hex.size() >= 2;
         hex.remove_prefix(2)) {
        unsigned int byte = 0;
        // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the end is given as well
        std::from_chars(hex.data(), hex.data() + 2, byte, 16);
        text += static_cast<char>(byte);
    }
    return text;
}

// Takes a number off the front of the text; -1 is never one of its values, and "-0" is no number.
bool takeNumber(std::string_view& text, std::int64_t& number) {
    if (text.starts_with('-')) {
        return false;
    }
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) {
        return false;
    }
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return true;
}

bool take(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

}  // namespace

std::int64_t ResumeMark::tailAfterReset() const noexcept {
    return beganInside() ? std::max(held, tail) : tail;
}

void ResumeMark::leaveIn(httpclient_core::HttpRequest& request) const {
    // Of a body that is not continued nobody asks for the version.
    static const Validator none;
    const Validator& version = resumable ? validator : none;
    constexpr std::size_t allNumbers = 160;
    std::string line;
    const std::size_t texts =
        version.etag.size() + version.lastModified.size() + callersRange.size();
    line.reserve(allNumbers + (2 * texts));
    line += resumable ? '1' : '0';
    for (const std::int64_t number : {first, held, position, tail, total, last}) {
        appendNumber(line, number);
    }
    appendNumber(line, static_cast<int>(version.strength));
    for (const std::string_view part :
         {std::string_view(version.etag), std::string_view(version.lastModified),
          std::string_view(callersRange)}) {
        appendText(line, part);
    }
    request.setHeaderValue(markHeader, std::move(line));
}

void ResumeMark::dropFrom(httpclient_core::HttpRequest& request) {
    request.removeHeader(markHeader);
}

std::optional<ResumeMark> ResumeMark::takeFrom(httpclient_core::HttpRequest& request) {
    if (!request.hasHeader(markHeader)) {
        return std::nullopt;
    }
    std::istringstream text(request.getHeaderValue(markHeader));
    request.removeHeader(markHeader);
    text.imbue(std::locale::classic());
    ResumeMark mark;
    int strength = 0;
    std::string etag;
    std::string lastModified;
    std::string range;
    if (!(text >> mark.resumable >> mark.first >> mark.held >> mark.position >> mark.tail >>
          mark.total >> mark.last >> strength >> etag >> lastModified >> range)) {
        return std::nullopt;
    }
    mark.validator.strength = Validator::Strength{strength};
    mark.validator.etag = fromHex(etag);
    mark.validator.lastModified = fromHex(lastModified);
    mark.callersRange = fromHex(range);
    return mark;
}

std::optional<ByteRange> ByteRange::fromRange(std::string_view text) {
    ByteRange range;
    if (!take(text, "bytes=") || !takeNumber(text, range.first) || !take(text, "-") ||
        (!text.empty() && !takeNumber(text, range.last)) || !text.empty()) {
        return std::nullopt;
    }
    return range;
}

std::optional<ByteRange> ByteRange::fromContentRange(std::string_view text) {
    ByteRange range;
    if (!take(text, "bytes ") || !takeNumber(text, range.first) || !take(text, "-") ||
        !takeNumber(text, range.last) || !take(text, "/")) {
        return std::nullopt;
    }
    const bool isTotalKnown = text != "*";
    if (isTotalKnown && (!takeNumber(text, range.total) || !text.empty())) {
        return std::nullopt;
    }
    const bool fits = range.first <= range.last && (range.total < 0 || range.last < range.total);
    return fits ? std::optional(range) : std::nullopt;
}

}  // namespace foundation::httpclient_curl
