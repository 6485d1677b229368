#include "config/BackoffArithmetic.h"

#include "support/Int32Parsing.h"

#include <cstdint>
#include <random>
#include <string>

namespace foundation::httpclient_core::config {
namespace {

std::int32_t multiplyWrapping(std::int32_t a, std::uint32_t b) noexcept {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * b);
}

}  // namespace

std::int64_t exponentialBackoff(std::int32_t consecutive, std::int32_t backoffBase) noexcept {
    if (consecutive <= 1) {
        return 0;
    }
    const std::int32_t exponent = consecutive - 1;
    const std::uint32_t factor = exponent < 32 ? std::uint32_t{1} << exponent : 0;
    return multiplyWrapping(backoffBase, factor);
}

std::int64_t jitter(std::int32_t consecutive,
                    std::int64_t low,
                    std::int64_t high,
                    std::uint32_t seed,
                    std::uint32_t clockNanoseconds) {
    if (low < high) {
        // Reduced before seeding: the engine's own type is wider than 32 bits on some platforms. A
        // result of 0 becomes 1 by the engine's own rule.
        const std::uint32_t mixed =
            static_cast<std::uint32_t>(consecutive) ^ seed ^ clockNanoseconds;
        std::minstd_rand engine(mixed % std::minstd_rand::modulus);
        return std::uniform_int_distribution<std::int64_t>(low, high)(engine);
    }
    return low == high && low >= 1 ? low : 0;
}

std::int64_t retryAfterMilliseconds(const std::string& headerValue) noexcept {
    const support::Int32ParseResult seconds = support::tryParseInt32(headerValue);
    return seconds.value > 0 ? multiplyWrapping(seconds.value, 1000U) : 0;
}

}  // namespace foundation::httpclient_core::config
