#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

namespace foundation::httpclient_tool {

/// A Content-Range header of the form "bytes FIRST-LAST/TOTAL" (RFC 9110 section 14.4).
struct ContentRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::int64_t total = -1;  ///< -1: not known, "*".

    /// Nothing for another form and for numbers that make no sense.
    static std::optional<ContentRange> parse(std::string_view text);
};

/// Reads a number of bytes: digits alone, up to 2^63 - 1. The library's own getContentLength() ends at
/// 2 GiB.
std::optional<std::int64_t> parseSize(std::string_view text);

}  // namespace foundation::httpclient_tool
