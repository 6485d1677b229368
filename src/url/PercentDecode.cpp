#include "url/PercentDecode.h"

#include <array>
#include <cstddef>
#include <cstdint>

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
    std::string decoded;
    decoded.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            decoded += ' ';
            continue;
        }
        if (text[i] == '%' && i + 2 < text.size()) {
            const int high = hexadecimalValue(text[i + 1]);
            const int low = hexadecimalValue(text[i + 2]);
            if (high != notHexadecimal && low != notHexadecimal) {
                decoded += static_cast<char>(high * 16 + low);
                i += 2;
                continue;
            }
        }
        decoded += text[i];
    }
    return decoded;
}

}  // namespace foundation::httpclient_core
