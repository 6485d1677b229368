#pragma once
#include <cstdint>
#include <limits>

namespace foundation::httpclient_core::testing {

/// Wide enough for every product and sum below, so that the references need no care.
__extension__ using Int128 = __int128;

inline constexpr std::int32_t int32Max = std::numeric_limits<std::int32_t>::max();
inline constexpr std::int32_t int32Min = std::numeric_limits<std::int32_t>::min();
inline constexpr std::int64_t int64Max = std::numeric_limits<std::int64_t>::max();
inline constexpr std::int64_t int64Min = std::numeric_limits<std::int64_t>::min();

inline std::int64_t wrapTo32(Int128 value) {
    constexpr Int128 span = Int128(1) << 32;
    Int128 low = value % span;
    if (low < 0) {
        low += span;
    }
    return static_cast<std::int64_t>(low > int32Max ? low - span : low);
}

inline std::int64_t holdIn64(Int128 value) {
    if (value > int64Max) {
        return int64Max;
    }
    return value < int64Min ? int64Min : static_cast<std::int64_t>(value);
}

/// Doubles one time after the other, modulo 2^32.
inline std::int64_t referenceBackoff(std::int32_t consecutive, std::int32_t base) {
    if (consecutive <= 1) {
        return 0;
    }
    std::int64_t product = base;
    for (std::int32_t i = 1; i < consecutive; ++i) {
        product = wrapTo32(Int128(product) * 2);
        if (product == 0) {
            return 0;
        }
    }
    return product;
}

/// The minimal standard generator, written out: multiplier 48271, modulus 2^31 - 1.
class MinimalStandard {
public:
    using result_type = std::uint64_t;
    explicit MinimalStandard(std::uint32_t seed) : state_(seed == 0 ? 1 : seed) {}
    static constexpr result_type min() { return 1; }
    static constexpr result_type max() { return 2147483646; }
    result_type operator()() { return state_ = state_ * 48271 % 2147483647; }

private:
    result_type state_;
};

}  // namespace foundation::httpclient_core::testing
