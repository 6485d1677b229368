#pragma once
#include <foundation/httpclient_core/RetryStrategy.h>

#include <cstdint>
#include <exception>

namespace foundation::httpclient_core::config {

/// The callable behind defaultRetryStrategy: it decides, and waits before it says yes. Holds nothing
/// but its settings, so one object serves any number of threads.
class DefaultRetry {
public:
    DefaultRetry(int maxTotalAttempts,
                 int maxConsecutiveAttempts,
                 IsRetriable isRetriable,
                 const RetryBackoffOptions& options,
                 std::uint32_t seed);

    bool operator()(const HttpRequest& request,
                    const HttpResponse& response,
                    const std::exception_ptr& error,
                    int totalAttempts,
                    int consecutiveAttempts) const;

    /// The wait before the next attempt, in milliseconds; zero or less for none.
    std::int64_t computeWait(const HttpResponse& response, int consecutiveAttempts) const;

private:
    std::int32_t maxTotalAttempts_;
    std::int32_t maxConsecutiveAttempts_;
    std::int32_t backoffBase_;
    std::int64_t backoffCap_;
    IsRetriable isRetriable_;
    std::int64_t jitterLow_;
    std::int64_t jitterHigh_;
    bool useRetryAfter_;
    std::uint32_t seed_;
};

}  // namespace foundation::httpclient_core::config
