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

/// Writes `text` encoded to `out` and returns where it ends.
char* percentEncode(const PercentAlphabet& alphabet, std::string_view text, char* out) noexcept;

/// The same as countEscaped() byte by byte, for short texts and wherever nothing faster is available; for
/// percentEncode() that is PercentAlphabet::spell().
std::size_t countEscapedByTable(const PercentAlphabet& alphabet, std::string_view text) noexcept;

}  // namespace foundation::httpclient_core
