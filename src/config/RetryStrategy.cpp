#include <foundation/httpclient_core/RetryStrategy.h>

#include "config/DefaultRetry.h"
#include "config/JitterSources.h"

#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/RetryBackoffOptions.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <utility>

namespace foundation::httpclient_core {

RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                   long backoffBase,
                                   std::chrono::seconds maxBackoff,
                                   IsRetriable isRetriable) {
    return defaultRetryStrategy(maxTotalAttempts, backoffBase, maxBackoff, std::move(isRetriable),
                                maxTotalAttempts);
}

RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                   long backoffBase,
                                   std::chrono::seconds maxBackoff,
                                   IsRetriable isRetriable,
                                   int maxConsecutiveAttempts) {
    // Deliberate: without options "Retry-After" is not consulted, though the options say so by
    // default. Programs that ask for a fixed backoff get exactly that.
    const RetryBackoffOptions options{.backoffBase = static_cast<std::int32_t>(backoffBase),
                                      .maxBackoff = maxBackoff.count(),
                                      .minJitter = 0,
                                      .maxJitter = 0,
                                      .useRetryAfter = false};
    return config::DefaultRetry(maxTotalAttempts, maxConsecutiveAttempts, std::move(isRetriable),
                                options, 0);
}

RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                   IsRetriable isRetriable,
                                   int maxConsecutiveAttempts,
                                   RetryBackoffOptions options) {
    return config::DefaultRetry(maxTotalAttempts, maxConsecutiveAttempts, std::move(isRetriable),
                                options, config::jitterSources().drawSeed());
}

IsRetriable defaultIsRetriable() {
    return [](HttpMethod method, bool timedOut, HttpResponseCode code) {
        return method == HttpMethod::GET &&
               (timedOut || isServerError(code) || code == HttpResponseCode::RangeNotSatisfiable ||
                code == HttpResponseCode::UpgradeRequired ||
                code == HttpResponseCode::TooManyRequests);
    };
}

RetryStrategy noRetriesStrategy() {
    return [](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int, int) {
        return false;
    };
}

}  // namespace foundation::httpclient_core
