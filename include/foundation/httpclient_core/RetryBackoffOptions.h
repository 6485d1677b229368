#pragma once
#include <cstdint>
namespace foundation::httpclient_core {

/// How long the default retry strategy waits before it says yes; see defaultRetryStrategy() for the
/// computation. A plain record: nothing is checked when it is set, and odd values are dealt with
/// when a strategy is made of it.
///
/// Mind the units: milliseconds, but for maxBackoff.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// A backoff with a little jitter:
/// @code{.cpp}
/// RetryBackoffOptions options;
/// assert(options.maxBackoff == 120 && options.useRetryAfter);
/// options.backoffBase = 100;  // 0, 200, 400, 800 ms ...
/// options.maxJitter = 50;     // ... each with 0 to 50 ms on top
/// const RetryStrategy strategy = defaultRetryStrategy(5, defaultIsRetriable(), 5, options);
/// @endcode
struct RetryBackoffOptions {
    /// Milliseconds. Multiplied by 2 to the power (attempt - 1) for attempts after the first; the
    /// wait after the first attempt has no such part. 0: no backoff.
    std::int32_t backoffBase = 0;
    /// Seconds. No wait is longer, whatever it is made of; 0 or less: no wait at all. A number
    /// whose milliseconds do not fit 64 bits counts as the largest that do.
    std::int64_t maxBackoff = 120;
    /// Milliseconds: the least that is added to each wait by chance. A negative one counts as 0.
    std::int64_t minJitter = 0;
    /// Milliseconds: the most that is added. A negative one counts as 0; after that, the two bounds
    /// are exchanged if this one is the lower. 500 and -1 mean 0 to 500. Equal bounds of 1 or more:
    /// that number is added, nothing by chance.
    std::int64_t maxJitter = 0;
    /// Whether a "Retry-After" of a 429 or 503 response makes the wait longer. True here, though
    /// the overloads of defaultRetryStrategy() without options do not look at that header.
    bool useRetryAfter = true;
};

}  // namespace foundation::httpclient_core
