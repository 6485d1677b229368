#pragma once
#include <cstdint>
#include <limits>

namespace foundation::httpclient_core::support {

/// a + b, held at the ends of the range instead of overflowing.
constexpr std::int64_t addSaturating(std::int64_t a, std::int64_t b) noexcept {
    std::int64_t sum = 0;
    if (!__builtin_add_overflow(a, b, &sum)) {
        return sum;
    }
    return b > 0 ? std::numeric_limits<std::int64_t>::max()
                 : std::numeric_limits<std::int64_t>::min();
}

/// a * b, held at the ends of the range instead of overflowing.
constexpr std::int64_t multiplySaturating(std::int64_t a, std::int64_t b) noexcept {
    std::int64_t product = 0;
    if (!__builtin_mul_overflow(a, b, &product)) {
        return product;
    }
    return (a > 0) == (b > 0) ? std::numeric_limits<std::int64_t>::max()
                              : std::numeric_limits<std::int64_t>::min();
}

}  // namespace foundation::httpclient_core::support
