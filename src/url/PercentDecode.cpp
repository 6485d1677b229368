#include "url/PercentDecode.h"

#include "url/BuiltText.h"
#include "url/PercentMarks.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace foundation::httpclient_core {
namespace {

// The value of each hexadecimal digit times `factor`; negative for every other character, also after an
// "or" with another value.
consteval std::array<std::int16_t, 256> makeDigitValues(int factor) {
    std::array<std::int16_t, 256> values{};
    values.fill(-1);
    for (std::size_t digit = 0; digit < 16; ++digit) {
        const auto value = static_cast<std::int16_t>(static_cast<int>(digit) * factor);
        if (digit < 10) {
            values['0' + digit] = value;
        } else {
            values['A' + digit - 10] = value;
            values['a' + digit - 10] = value;
        }
    }
    return values;
}

constexpr auto upperDigits = makeDigitValues(16);
constexpr auto lowerDigits = makeDigitValues(1);

// The byte that two hexadecimal digits name; negative if they are none.
int byteNamedBy(const char* digits) noexcept {
    return upperDigits[static_cast<unsigned char>(digits[0])] |
           lowerDigits[static_cast<unsigned char>(digits[1])];
}

/// Reads a text from its start on, and writes it decoded.
class Decoder {
public:
    Decoder(std::string_view text, char* out) noexcept
        : in_(text.data()), end_(in_ + text.size()), out_(out) {}

    const char* position() const noexcept { return in_; }
    char* out() const noexcept { return out_; }

    /// Decodes what begins before `stop`, byte by byte.
    void decodeUpTo(const char* stop) noexcept {
        // Locals, since a byte that is written might be one of the members for all the compiler knows.
        const char* in = in_;
        char* out = out_;
        while (in < stop) {
            if (*in == '%' && end_ - in > 2) {
                const int byte = byteNamedBy(in + 1);
                if (byte >= 0) {
                    *out++ = static_cast<char>(byte);
                    in += 3;
                    continue;
                }
            }
            *out++ = *in == '+' ? ' ' : *in;
            ++in;
        }
        in_ = in;
        out_ = out;
    }

    /// Copies what is before `stop` and holds no marks.
    void copyUpTo(const char* stop) noexcept {
        if (in_ < stop) {
            const auto size = static_cast<std::size_t>(stop - in_);
            std::memcpy(out_, in_, size);
            out_ += size;
            in_ = stop;
        }
    }

    /// Decodes the marked bytes of a block that begins at `block` and what lies before each. The bytes behind
    /// the last mark are left. At least 16 bytes must follow the block.
    void decodeMarks(const char* block, std::uint64_t marks) noexcept {
        const char* in = in_;
        char* out = out_;
        for (; marks != 0; marks &= marks - 1) {
            const char* const mark = block + std::countr_zero(marks);
            const auto size = static_cast<std::size_t>(mark - in);
            if (size <= 16) {
                // More than is needed, but always as much. There is room: as much was read as written.
                std::memcpy(out, in, 16);
            } else {
                std::memcpy(out, in, size);
            }
            out += size;
            in = mark;
            if (*mark == '+') {
                *out++ = ' ';
                in = mark + 1;
            } else if (const int byte = byteNamedBy(mark + 1); byte >= 0) {
                *out++ = static_cast<char>(byte);
                in = mark + 3;
            }
        }
        in_ = in;
        out_ = out;
    }

private:
    const char* in_;
    const char* end_;
    char* out_;
};

// Whether a block is mostly escapes one behind the other; going from mark to mark is slow there.
bool isDense(std::uint64_t marks) noexcept {
    std::uint64_t adjacent = marks & (marks >> 3U);
    for (int i = 0; i < 3; ++i) {
        adjacent &= adjacent - 1;
    }
    return adjacent != 0;
}

}  // namespace

char* percentDecodeByTable(std::string_view text, char* out) noexcept {
    Decoder decoder(text, out);
    decoder.decodeUpTo(text.data() + text.size());
    return decoder.out();
}

char* percentDecode(std::string_view text, char* out) noexcept {
    constexpr std::size_t denseStretch = 4 * percentMarksBlock;
    const char* const end = text.data() + text.size();
    const char* block = text.data();
    Decoder decoder(text, out);
    while (end - block >= static_cast<std::ptrdiff_t>(percentMarksBlock + 16)) {
        const std::uint64_t marks = percentMarks(block);
        if (isDense(marks)) {
            decoder.copyUpTo(block);
            const auto left = static_cast<std::size_t>(end - block);
            decoder.decodeUpTo(block + std::min(denseStretch, left));
            block = decoder.position();
        } else {
            decoder.decodeMarks(block, marks);
            block += percentMarksBlock;
        }
    }
    decoder.copyUpTo(block);
    decoder.decodeUpTo(end);
    return decoder.out();
}

std::string percentDecode(std::string_view text) {
    constexpr std::size_t longestOnStack = 128;
    // The library's searches are the fastest way through a text that needs nothing.
    if (text.size() > longestOnStack && text.find('%') == std::string_view::npos &&
        text.find('+') == std::string_view::npos) {
        return std::string(text);
    }
    // Decoding never makes a text longer.
    return builtText<longestOnStack, 0>(text.size(),
                                        [&](char* out) { return percentDecode(text, out); });
}

}  // namespace foundation::httpclient_core
