#include "response/ResponseFraming.h"

#include "request/HeaderText.h"

#include <algorithm>
#include <charconv>
#include <vector>

namespace foundation::httpclient_curl {
namespace {

// The members of a field that may come as one list, as several fields, or both.
std::vector<std::string> members(const HeaderBlock& block, std::string_view name) {
    std::vector<std::string> found;
    for (const auto& [fieldName, value] : block.headers()) {
        if (!sameName(fieldName, name)) {
            continue;
        }
        std::string_view rest = value;
        for (;;) {
            const std::size_t comma = rest.find(',');
            found.emplace_back(trimmed(rest.substr(0, comma)));
            if (comma == std::string_view::npos) {
                break;
            }
            rest.remove_prefix(comma + 1);
        }
    }
    return found;
}

std::optional<std::int64_t> toLength(std::string_view text) {
    std::int64_t length = -1;
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the end is given as well
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && length >= 0 && text.front() != '-' ? std::optional(length) : std::nullopt;
}

int digitOf(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

}  // namespace

std::optional<std::string> framingFlaw(const HeaderBlock& block) {
    if (!block.flaw().empty()) {
        return block.flaw();
    }
    const std::vector<std::string> lengths = members(block, "Content-Length");
    const std::vector<std::string> codings = members(block, "Transfer-Encoding");
    std::optional<std::int64_t> first;
    for (const std::string& text : lengths) {
        const std::optional<std::int64_t> length = toLength(text);
        if (!length.has_value()) {
            return "its Content-Length is no length";
        }
        if (first.has_value() && *first != *length) {
            return "it has two different Content-Length values";
        }
        first = length;
    }
    if (codings.empty()) {
        return std::nullopt;
    }
    if (codings.size() != 1 || !sameName(codings.front(), "chunked")) {
        // No other one was asked for.
        return "its Transfer-Encoding is not chunked";
    }
    if (first.has_value()) {
        return "it has both Content-Length and Transfer-Encoding";
    }
    return std::nullopt;
}

std::optional<std::int64_t> declaredLength(const HeaderBlock& block) {
    const std::vector<std::string> lengths = members(block, "Content-Length");
    return lengths.empty() ? std::nullopt : toLength(lengths.front());
}

bool isChunked(const HeaderBlock& block) {
    return !members(block, "Transfer-Encoding").empty();
}

bool ChunkCheck::add(std::string_view bytes) {
    while (!bytes.empty() && place_ != Place::Done && place_ != Place::Flawed) {
        if (place_ == Place::Data) {
            const auto skipped = std::min<std::uint64_t>(size_, bytes.size());
            bytes.remove_prefix(static_cast<std::size_t>(skipped));
            size_ -= skipped;
            place_ = size_ == 0 ? Place::DataEnd : Place::Data;
            continue;
        }
        place_ = next(bytes.front());
        bytes.remove_prefix(1);
    }
    return place_ != Place::Flawed;
}

ChunkCheck::Place ChunkCheck::next(char c) {
    constexpr int longestLine = 16384;
    if (++lineLength_ > longestLine) {
        return Place::Flawed;
    }
    const int digit = digitOf(c);
    switch (place_) {
        case Place::Size:
            if (digit < 0) {
                return digits_ > 0 ? afterSize(c) : Place::Flawed;
            }
            size_ = size_ * 16 + static_cast<std::uint64_t>(digit);
            // What is longer does not fit the numbers that count bytes.
            return ++digits_ <= 15 ? Place::Size : Place::Flawed;
        case Place::AfterSize:
            return afterSize(c);
        case Place::Extension:
            if (c == '\r') {
                return Place::SizeEnd;
            }
            return c == '\n' || c == '\0' ? Place::Flawed : Place::Extension;
        case Place::SizeEnd:
            lineLength_ = 0;
            if (c != '\n') {
                return Place::Flawed;
            }
            return size_ > 0 ? Place::Data : Place::Trailers;
        case Place::DataEnd:
            return c == '\r' ? Place::DataEndFeed : Place::Flawed;
        case Place::DataEndFeed:
            size_ = 0;
            digits_ = 0;
            lineLength_ = 0;
            return c == '\n' ? Place::Size : Place::Flawed;
        case Place::Trailers:
            lineLength_ = 0;
            return c == '\r' ? Place::LastFeed : Place::TrailerLine;
        case Place::TrailerLine:
            return c == '\n' ? Place::Trailers : Place::TrailerLine;
        case Place::LastFeed:
            return c == '\n' ? Place::Done : Place::Flawed;
        default:
            return place_;
    }
}

ChunkCheck::Place ChunkCheck::afterSize(char c) {
    switch (c) {
        case ' ':
        case '\t':
            return Place::AfterSize;
        case ';':
            return Place::Extension;
        case '\r':
            return Place::SizeEnd;
        default:
            return Place::Flawed;
    }
}

}  // namespace foundation::httpclient_curl
