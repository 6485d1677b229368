#include <foundation/httpclient_core/PercentEncoder.h>

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace foundation::httpclient_core {
namespace {

// The unreserved characters of RFC 3986, section 2.3.
constexpr std::array<bool, 256> makeUnreserved() {
    std::array<bool, 256> unreserved{};
    for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                         "abcdefghijklmnopqrstuvwxyz"
                                         "0123456789-._~")) {
        unreserved[static_cast<unsigned char>(c)] = true;
    }
    return unreserved;
}

constexpr auto unreserved = makeUnreserved();
constexpr std::string_view hexadecimalDigits = "0123456789ABCDEF";

std::size_t encodedSize(const std::string& text, std::size_t spaceSize) {
    std::size_t size = 0;
    for (const char c : text) {
        size += unreserved[static_cast<unsigned char>(c)] ? 1 : c == ' ' ? spaceSize : 3;
    }
    return size;
}

}  // namespace

PercentEncoder::PercentEncoder(std::string spaceText) : spaceText_(std::move(spaceText)) {}

std::string PercentEncoder::operator()(const std::string& text) const {
    std::string encoded;
    encoded.reserve(encodedSize(text, spaceText_.size()));
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (unreserved[byte]) {
            encoded += c;
        } else if (c == ' ') {
            encoded += spaceText_;
        } else {
            encoded += '%';
            encoded += hexadecimalDigits[byte >> 4U];
            encoded += hexadecimalDigits[byte & 0xFU];
        }
    }
    return encoded;
}

}  // namespace foundation::httpclient_core
