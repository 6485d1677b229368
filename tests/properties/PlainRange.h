#pragma once
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace foundation::httpclient_core::testing {

/// A number of bytes by the letter of RFC 9110: digits, in 63 bits.
inline std::optional<std::int64_t> plainNumber(const std::string& text) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    std::int64_t number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9' || number > (largest - (c - '0')) / 10) {
            return std::nullopt;
        }
        number = number * 10 + (c - '0');
    }
    return text.empty() ? std::nullopt : std::optional(number);
}

struct PlainRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::int64_t total = -1;
};

/// "bytes FIRST-LAST/TOTAL" cut at the last "/" and the "-" before it.
inline std::optional<PlainRange> plainContentRange(const std::string& text) {
    const std::size_t slash = text.rfind('/');
    const std::size_t dash = text.rfind('-');
    if (!text.starts_with("bytes ") || slash == std::string::npos || dash == std::string::npos ||
        dash > slash) {
        return std::nullopt;
    }
    const auto first = plainNumber(text.substr(6, dash - 6));
    const auto last = plainNumber(text.substr(dash + 1, slash - dash - 1));
    const std::string size = text.substr(slash + 1);
    const auto total = plainNumber(size);
    if (!first || !last || *first > *last || (size != "*" && (!total || *total <= *last))) {
        return std::nullopt;
    }
    return PlainRange{*first, *last, total.value_or(-1)};
}

}  // namespace foundation::httpclient_core::testing
