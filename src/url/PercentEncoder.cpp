#include <foundation/httpclient_core/PercentEncoder.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
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
    std::size_t size = text.size();
    for (const char c : text) {
        if (!unreserved[static_cast<unsigned char>(c)]) {
            size = size - 1 + (c == ' ' ? spaceSize : 3);
        }
    }
    return size;
}

}  // namespace

PercentEncoder::PercentEncoder(std::string spaceText) : spaceText_(std::move(spaceText)) {}

std::string PercentEncoder::operator()(const std::string& text) const {
    std::string encoded(encodedSize(text, spaceText_.size()), '\0');
    char* out = encoded.data();
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (unreserved[byte]) {
            *out++ = c;
        } else if (c == ' ') {
            out = std::copy(spaceText_.begin(), spaceText_.end(), out);
        } else {
            *out++ = '%';
            *out++ = hexadecimalDigits[byte >> 4U];
            *out++ = hexadecimalDigits[byte & 0xFU];
        }
    }
    return encoded;
}

}  // namespace foundation::httpclient_core
