#pragma once
#include <cstdint>
#include <string>

/// The numbers of a wait between two attempts, all in milliseconds unless named otherwise.
namespace foundation::httpclient_core::config {

/// 0 for the first consecutive attempt, then backoffBase times 2 to the power (consecutive - 1).
/// Deliberate: the product wraps at 32 bits. Limits of attempts keep real settings far below that, and
/// a wait that wrapped below zero is no wait.
std::int64_t exponentialBackoff(std::int32_t consecutive, std::int32_t backoffBase) noexcept;

/// A uniformly distributed number of the closed range [low, high] when low < high; low when both are
/// equal and at least 1; else 0. The same arguments always give the same number.
std::int64_t jitter(std::int32_t consecutive,
                    std::int64_t low,
                    std::int64_t high,
                    std::uint32_t seed,
                    std::uint32_t clockNanoseconds);

/// The value of a Retry-After header in seconds, as milliseconds. 0 for anything but a positive number
/// of 32 bits, so also for the form with a date.
/// Deliberate: the product wraps at 32 bits, as exponentialBackoff does.
std::int64_t retryAfterMilliseconds(const std::string& headerValue) noexcept;

}  // namespace foundation::httpclient_core::config
