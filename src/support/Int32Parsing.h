#pragma once
#include <cstdint>
#include <string>

namespace foundation::httpclient_core::support {

enum class Int32ParseStatus : std::uint8_t { Ok, NoDigits, OutOfRange };

struct Int32ParseResult {
    Int32ParseStatus status;
    std::int32_t value;  ///< 0 unless the status is Ok.
};

/// Reads a decimal number at the start of `text`: leading white space and a sign are accepted, and
/// whatever follows the digits is ignored. The range is 32 bits on every platform.
Int32ParseResult tryParseInt32(const std::string& text) noexcept;

/// As tryParseInt32, but throws std::invalid_argument "invalid <function> argument" when there are no
/// digits and std::out_of_range "<function> argument out of range".
std::int32_t parseInt32(const std::string& text, const char* function);

}  // namespace foundation::httpclient_core::support
