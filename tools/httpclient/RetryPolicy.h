#pragma once
#include <foundation/httpclient_core/RetryStrategy.h>

#include <cstdint>
#include <functional>
#include <string>

namespace foundation::httpclient_tool {

/// What the retry strategy of a download needs to know.
struct RetryPolicy {
    int retries = 0;  ///< Attempts after the first one.
    /// Bytes of the body held at the moment.
    std::function<std::int64_t()> bodySize;
    /// True when no further attempt makes sense, whatever the last one said.
    std::function<bool()> isHopeless;
    /// Called before each further attempt, after the wait was ordered.
    std::function<void(int retry, const std::string& reason)> onRetry;
};

/// Returns a strategy for GET requests on bad networks. It retries timeouts, the codes 416, 426, 429 and
/// 5xx, and connections that could not be made or that broke, before an answer or in the middle of one.
/// It waits 200 ms plus up to 100 ms, twice as long after each attempt that brought no new byte, at least
/// as long as a Retry-After header asks, and never longer than two minutes.
///
/// Not retried: a cancelled request, any other answer (a redirect too many among them), an error that is
/// not a failed request (a stream that cannot be created, no memory), and what the libcurl transport
/// reports with a number that says that nothing will change: bad URL, unknown scheme, TLS verification.
/// Other failures look the same from here and are retried, an unknown host among them: on a bad network
/// it may be known a moment later.
httpclient_core::RetryStrategy downloadRetryStrategy(RetryPolicy policy);

}  // namespace foundation::httpclient_tool
