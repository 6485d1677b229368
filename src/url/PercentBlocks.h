#pragma once
#include "url/PercentAlphabet.h"

#include <cstddef>
#include <string_view>

/// Percent-encoding of 16 bytes at a time with SSSE3 instructions, which nearly every x86-64 processor has:
/// a text of 4 kB with a space every few letters takes two thirds of what the table takes, one that needs
/// nothing an eighth.
namespace foundation::httpclient_core::percent_blocks {

inline constexpr std::size_t size = 16;

/// Whether this processor can; nothing else here may be called where it cannot.
bool available() noexcept;

/// As the functions of PercentEncode.h, for texts of whole blocks. `encode` writes up to 16 characters
/// behind what it returns.
/// @{
std::size_t countEscaped(const PercentAlphabet& alphabet, std::string_view text) noexcept;
char* encode(const PercentAlphabet& alphabet, std::string_view text, char* out) noexcept;
/// @}

}  // namespace foundation::httpclient_core::percent_blocks
