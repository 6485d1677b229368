#pragma once
#include <cctype>
#include <cstddef>
#include <iomanip>
#include <sstream>
#include <string>

/// The obvious ways to do what the library does, for comparison: string streams and string copies.
namespace foundation::httpclient_core::benchmarks {

inline std::string referenceEncode(std::string text, std::string spaceText) {
    std::ostringstream encoded;
    encoded << std::hex << std::uppercase << std::setfill('0');
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80 &&
            (std::isalnum(byte) != 0 || c == '-' || c == '.' || c == '_' || c == '~')) {
            encoded << c;
        } else if (c == ' ') {
            encoded << spaceText;
        } else {
            encoded << '%' << std::setw(2) << static_cast<int>(byte);
        }
    }
    return encoded.str();
}

inline std::string referenceDecode(std::string text) {
    std::ostringstream decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '+') {
            decoded << ' ';
        } else if (text[i] == '%' && i + 2 < text.size() &&
                   std::isxdigit(static_cast<unsigned char>(text[i + 1])) != 0 &&
                   std::isxdigit(static_cast<unsigned char>(text[i + 2])) != 0) {
            decoded << static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            decoded << text[i];
        }
    }
    return decoded.str();
}

}  // namespace foundation::httpclient_core::benchmarks
