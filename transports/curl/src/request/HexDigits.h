#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

constexpr std::string_view upperHexDigits = "0123456789ABCDEF";
constexpr std::string_view lowerHexDigits = "0123456789abcdef";

/// Appends the two hexadecimal digits of the byte.
inline void appendHex(std::string& text, unsigned char byte, std::string_view digits) {
    text += digits[byte >> 4U];
    text += digits[byte & 0xFU];
}

}  // namespace foundation::httpclient_curl
