#include "response/ResponseFraming.h"

#include "request/HeaderText.h"
#include "request/WholeNumber.h"

#include <algorithm>

namespace foundation::httpclient_curl {
namespace {

// Calls `take` with each member of a list.
template <class Take>
void forEachMember(std::string_view list, Take&& take) {
    for (;;) {
        const std::size_t comma = list.find(',');
        take(trimmed(list.substr(0, comma)));
        if (comma == std::string_view::npos) {
            return;
        }
        list.remove_prefix(comma + 1);
    }
}

std::optional<std::int64_t> toLength(std::string_view text) {
    // No length is "-0" either.
    return text.starts_with('-') ? std::nullopt : wholeNumber<std::int64_t>(text);
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

// Both fields may come as one list, as several fields, or both.
Framing framingOf(const HeaderBlock& block) {
    Framing framing;
    framing.flaw = block.flaw();
    const auto addFlaw = [&framing](const char* flaw) {
        if (framing.flaw.empty()) {
            framing.flaw = flaw;
        }
    };
    std::size_t codings = 0;
    bool isOtherCoding = false;
    for (const auto& [name, value] : block.headers()) {
        if (sameName(name, "Content-Length")) {
            forEachMember(value, [&](std::string_view text) {
                const std::optional<std::int64_t> length = toLength(text);
                if (!length.has_value()) {
                    addFlaw("its Content-Length is no length");
                } else if (framing.length.has_value() && *framing.length != *length) {
                    addFlaw("it has two different Content-Length values");
                }
                framing.length = length;
            });
        } else if (sameName(name, "Transfer-Encoding")) {
            forEachMember(value, [&](std::string_view coding) {
                ++codings;
                isOtherCoding = isOtherCoding || !sameName(coding, "chunked");
            });
        }
    }
    framing.isChunked = codings > 0;
    if (codings > 1 || isOtherCoding) {
        // No other one was asked for.
        addFlaw("its Transfer-Encoding is not chunked");
    } else if (framing.isChunked && framing.length.has_value()) {
        addFlaw("it has both Content-Length and Transfer-Encoding");
    }
    if (!framing.flaw.empty()) {
        framing.length.reset();
    }
    return framing;
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
