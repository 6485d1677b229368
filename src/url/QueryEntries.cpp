#include "url/QueryEntries.h"

#include "url/PercentDecode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace foundation::httpclient_core {
namespace {

enum class Mark : std::uint8_t { None, EndOfEntry, EndOfKey, Encoded };

consteval std::array<Mark, 256> makeMarks() {
    std::array<Mark, 256> marks{};
    marks['&'] = Mark::EndOfEntry;
    marks['='] = Mark::EndOfKey;
    marks['%'] = Mark::Encoded;
    marks['+'] = Mark::Encoded;
    return marks;
}

constexpr std::array<Mark, 256> marks = makeMarks();

Mark markOf(char c) noexcept {
    return marks[static_cast<unsigned char>(c)];
}

}  // namespace

// One walk over the bytes for all that is sought: the pieces are so short that a search for each mark takes
// two thirds longer.
QueryEntries::Piece QueryEntries::cut(bool isKey) noexcept {
    const char* const begin = position_;
    const char* position = begin;
    bool isEncoded = false;
    for (;; ++position) {
        while (position != end_ && markOf(*position) == Mark::None) {
            ++position;
        }
        if (position == end_ || markOf(*position) == Mark::EndOfEntry ||
            (markOf(*position) == Mark::EndOfKey && isKey)) {
            break;
        }
        isEncoded = isEncoded || markOf(*position) == Mark::Encoded;
    }
    position_ = position;
    return {{begin, static_cast<std::size_t>(position - begin)}, isEncoded};
}

std::string_view QueryEntries::Decoded::decode(const Piece& piece) {
    const auto& [text, isEncoded] = piece;
    if (!isEncoded) {
        return text;
    }
    if (text.size() > short_.size()) {
        long_ = percentDecode(text);
        return long_;
    }
    const char* const end = percentDecode(text, short_.data());
    return {short_.data(), static_cast<std::size_t>(end - short_.data())};
}

bool QueryEntries::next() {
    while (position_ != end_ && *position_ == '&') {
        ++position_;
    }
    if (position_ == end_) {
        return false;
    }
    key_ = decodedKey_.decode(cut(true));
    value_ = {};
    if (position_ != end_ && *position_ == '=') {
        ++position_;
        value_ = decodedValue_.decode(cut(false));
    }
    return true;
}

}  // namespace foundation::httpclient_core
