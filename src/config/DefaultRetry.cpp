#include "config/DefaultRetry.h"

#include "config/BackoffArithmetic.h"
#include "config/JitterSources.h"
#include "diagnostics/Log.h"
#include "support/SaturatingArithmetic.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/RetryBackoffOptions.h>
#include <foundation/httpclient_core/RetryStrategy.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <string>
#include <utility>

namespace foundation::httpclient_core::config {
namespace {

bool isTimeout(const std::exception_ptr& error) {
    if (error == nullptr) {
        return false;
    }
    try {
        std::rethrow_exception(error);
    } catch (const HttpRequestTimeoutException&) {
        return true;
    } catch (...) {
        HCC_LOG_CAUGHT();
    }
    return false;
}

std::int64_t requestedDelay(const HttpResponse& response) {
    const HttpResponseCode code = response.getResponseCode();
    const std::string name = "Retry-After";
    const bool mayCarryDelay =
        code == HttpResponseCode::TooManyRequests || code == HttpResponseCode::ServiceUnavailable;
    // Asked for first: reading a missing header would write a record.
    if (!mayCarryDelay || !response.hasHeader(name)) {
        return 0;
    }
    return retryAfterMilliseconds(response.getHeaderValue(name));
}

}  // namespace

DefaultRetry::DefaultRetry(int maxTotalAttempts,
                           int maxConsecutiveAttempts,
                           IsRetriable isRetriable,
                           const RetryBackoffOptions& options,
                           std::uint32_t seed)
    : maxTotalAttempts_(maxTotalAttempts),
      maxConsecutiveAttempts_(maxConsecutiveAttempts),
      backoffBase_(options.backoffBase),
      backoffCap_(support::multiplySaturating(options.maxBackoff, 1000)),
      isRetriable_(std::move(isRetriable)),
      jitterLow_(std::max<std::int64_t>(options.minJitter, 0)),
      jitterHigh_(std::max<std::int64_t>(options.maxJitter, 0)),
      useRetryAfter_(options.useRetryAfter),
      seed_(seed) {
    if (jitterHigh_ < jitterLow_) {
        std::swap(jitterLow_, jitterHigh_);
    }
}

bool DefaultRetry::operator()(const HttpRequest& request,
                              const HttpResponse& response,
                              const std::exception_ptr& error,
                              int totalAttempts,
                              int consecutiveAttempts) const {
    if (error == nullptr && isSuccess(response)) {
        HCC_LOG(SEVERITY_PROGRESS, "Request to " << request.getURL()
                                                 << " was successful on attempt " << totalAttempts);
        return false;
    }
    if (totalAttempts >= maxTotalAttempts_) {
        HCC_LOG(SEVERITY_PROGRESS, "Max total attempts = " << maxTotalAttempts_ << " reached.");
        return false;
    }
    if (consecutiveAttempts >= maxConsecutiveAttempts_) {
        HCC_LOG(SEVERITY_PROGRESS,
                "Max consecutive attempts = " << maxConsecutiveAttempts_ << " reached.");
        return false;
    }
    if (!isRetriable_(request.getHttpMethod(), isTimeout(error), response.getResponseCode())) {
        return false;
    }
    detail::backoffWait(std::chrono::milliseconds(computeWait(response, consecutiveAttempts)));
    return true;
}

std::int64_t DefaultRetry::computeWait(const HttpResponse& response,
                                       int consecutiveAttempts) const {
    const std::int64_t random = jitter(consecutiveAttempts, jitterLow_, jitterHigh_, seed_,
                                       jitterSources().clockNanoseconds());
    std::int64_t wait =
        support::addSaturating(exponentialBackoff(consecutiveAttempts, backoffBase_), random);
    if (useRetryAfter_) {
        wait = std::max(wait, requestedDelay(response));
    }
    return std::min(wait, backoffCap_);
}

}  // namespace foundation::httpclient_core::config
