#include "url/PercentDecode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace foundation::httpclient_core {
namespace {

constexpr std::int8_t notHexadecimal = -1;

constexpr std::array<std::int8_t, 256> makeHexadecimalValues() {
    std::array<std::int8_t, 256> values{};
    values.fill(notHexadecimal);
    for (std::size_t digit = 0; digit < 10; ++digit) {
        values['0' + digit] = static_cast<std::int8_t>(digit);
    }
    for (std::size_t digit = 0; digit < 6; ++digit) {
        values['A' + digit] = static_cast<std::int8_t>(10 + digit);
        values['a' + digit] = static_cast<std::int8_t>(10 + digit);
    }
    return values;
}

constexpr auto hexadecimalValues = makeHexadecimalValues();

int hexadecimalValue(char digit) {
    return hexadecimalValues[static_cast<unsigned char>(digit)];
}

}  // namespace

std::string percentDecode(std::string_view text) {
    // Decoding never makes a text longer.
    std::string decoded(text.size(), '\0');
    char* out = decoded.data();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            const int high = hexadecimalValue(text[i + 1]);
            const int low = hexadecimalValue(text[i + 2]);
            if (high != notHexadecimal && low != notHexadecimal) {
                *out++ = static_cast<char>((high * 16) + low);
                i += 2;
                continue;
            }
        }
        *out++ = text[i] == '+' ? ' ' : text[i];
    }
    decoded.resize(static_cast<std::size_t>(out - decoded.data()));
    return decoded;
}

}  // namespace foundation::httpclient_core
