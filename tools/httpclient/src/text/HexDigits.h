#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_tool {

/// Returns two hexadecimal digits, "00" to "FF".
inline std::string hexDigits(unsigned char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    return {digits[byte / 16], digits[byte % 16]};
}

}  // namespace foundation::httpclient_tool
