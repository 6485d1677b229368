#include "support/Int32Parsing.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>

namespace foundation::httpclient_core::support {

Int32ParseResult tryParseInt32(const std::string& text) noexcept {
    const int savedErrno = errno;
    errno = 0;
    char* end = nullptr;
    const long long value = std::strtoll(text.c_str(), &end, 10);
    const bool overflowed = errno == ERANGE;
    errno = savedErrno;
    if (end == text.c_str()) {
        return {Int32ParseStatus::NoDigits, 0};
    }
    if (overflowed || value < std::numeric_limits<std::int32_t>::min() ||
        value > std::numeric_limits<std::int32_t>::max()) {
        return {Int32ParseStatus::OutOfRange, 0};
    }
    return {Int32ParseStatus::Ok, static_cast<std::int32_t>(value)};
}

std::int32_t parseInt32(const std::string& text, const char* function) {
    const Int32ParseResult result = tryParseInt32(text);
    if (result.status == Int32ParseStatus::NoDigits) {
        throw std::invalid_argument("invalid " + std::string(function) + " argument");
    }
    if (result.status == Int32ParseStatus::OutOfRange) {
        throw std::out_of_range(std::string(function) + " argument out of range");
    }
    return result.value;
}

}  // namespace foundation::httpclient_core::support
