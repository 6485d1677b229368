#pragma once
#include "url/PercentAlphabet.h"

#include <cstddef>
#include <string_view>

namespace foundation::httpclient_core {

/// How many bytes of `text` the alphabet spells with "%": its encoded size is the number of its bytes and
/// twice this.
std::size_t countEscaped(const PercentAlphabet& alphabet, std::string_view text) noexcept;

/// How far behind the end of what it returns percentEncode() may write.
inline constexpr std::size_t percentEncodeSlack = 16;

/// The same byte by byte, for short texts and wherever nothing faster is available; for percentEncode() that
/// is PercentAlphabet::spell().
std::size_t countEscapedByTable(const PercentAlphabet& alphabet, std::string_view text) noexcept;

/// percentEncode() for texts that are long enough to be worth a look at what the processor can do.
char* percentEncodeLong(const PercentAlphabet& alphabet, std::string_view text, char* out) noexcept;

/// Writes `text` encoded to `out` and returns where it ends.
inline char* percentEncode(const PercentAlphabet& alphabet,
                           std::string_view text,
                           char* out) noexcept {
    constexpr std::size_t longestShortText = 63;
    return text.size() <= longestShortText ? alphabet.spell(text, out)
                                           : percentEncodeLong(alphabet, text, out);
}

}  // namespace foundation::httpclient_core
