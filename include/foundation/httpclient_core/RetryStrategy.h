#pragma once
#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/RetryBackoffOptions.h>

#include <chrono>
#include <exception>
#include <functional>
namespace foundation::httpclient_core {
class HttpRequest;
class HttpResponse;
using RetryStrategy = std::function<bool(const HttpRequest& request,
                                         const HttpResponse& response,
                                         const std::exception_ptr& error,
                                         int totalAttempts,
                                         int consecutiveAttempts)>;
using IsRetriable = std::function<bool(HttpMethod method, bool timedOut, HttpResponseCode code)>;

FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                                                  long backoffBase,
                                                                  std::chrono::seconds maxBackoff,
                                                                  IsRetriable isRetriable);
FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                                                  long backoffBase,
                                                                  std::chrono::seconds maxBackoff,
                                                                  IsRetriable isRetriable,
                                                                  int maxConsecutiveAttempts);
FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy defaultRetryStrategy(int maxTotalAttempts,
                                                                  IsRetriable isRetriable,
                                                                  int maxConsecutiveAttempts,
                                                                  RetryBackoffOptions options);
FOUNDATION_HTTPCLIENT_CORE_API IsRetriable defaultIsRetriable();
FOUNDATION_HTTPCLIENT_CORE_API RetryStrategy noRetriesStrategy();
}  // namespace foundation::httpclient_core
