#pragma once
/// @file
/// The proxy authentication strategy of a client: the type, and those that the library brings.
#include <foundation/httpclient_core/Export.h>

#include <exception>
#include <functional>
namespace foundation::httpclient_core {
class HttpResponse;

/// Decides after each attempt of a request whether the client authenticates to the proxy and sends
/// the request again. It may end the request by throwing.
///
/// `error` is what the attempt failed with, null if it did not; `attempt` counts the attempts of
/// the request so far, this one included, not those that ended with 407. It is called after every
/// attempt, whatever its response is, before the retry strategy and with no lock held: on the
/// caller's thread for synchronous requests, on the thread the transport ends the attempt on for
/// asynchronous ones. What it throws ends the request: it leaves the synchronous call; the handler
/// of an asynchronous one is then never called, and its future reports a broken promise. Each
/// attempt works on a fresh copy of the strategy.
using ProxyAuthenticationStrategy =
    std::function<bool(const HttpResponse& response, const std::exception_ptr& error, int attempt)>;

/// Returns defaultProxyAuthenticationStrategy(1): one authentication, after the first attempt only.
FOUNDATION_HTTPCLIENT_CORE_API ProxyAuthenticationStrategy defaultProxyAuthenticationStrategy();
/// Returns the strategy that authenticates after a 407, as long as the attempt is not above
/// `maxAttempts`.
///
/// It returns false if there is an error, if the code is not 407, or if `attempt` is below 1. What
/// is counted are all attempts of the request: with a limit of 1, a 407 on the second attempt
/// throws even if the first one ended otherwise. With a limit of 0 or less every 407 throws. Writes
/// no record.
/// @throws HttpRequestFailedException "Maximum number of failed proxy authentication attempts
/// reached but authentication still failed", by the strategy that is returned, after a 407 on an
/// attempt above the limit.
///
/// @par Thread safety
/// The strategy is thread-safe.
///
/// @par Example
/// The strategy asked directly:
/// @code{.cpp}
/// const ProxyAuthenticationStrategy strategy = defaultProxyAuthenticationStrategy(2);
/// HttpResponse response;
/// assert(!strategy(response, nullptr, 1));
/// response.setResponseCode(HttpResponseCode::ProxyAuthenticationRequired);
/// assert(strategy(response, nullptr, 2));  // a third attempt would throw
/// @endcode
FOUNDATION_HTTPCLIENT_CORE_API ProxyAuthenticationStrategy
defaultProxyAuthenticationStrategy(int maxAttempts);
/// Returns the strategy that refuses by throwing, each time it is called and whatever the response
/// is. A client calls its strategy after every attempt, so that each request ends with this error
/// after the first one, also where it was answered 200. Writes no record; thread-safe.
/// @throws HttpRequestFailedException "Proxy authentication required but the proxy authentication
/// strategy is set to no authentication", by the strategy that is returned.
FOUNDATION_HTTPCLIENT_CORE_API ProxyAuthenticationStrategy noProxyAuthenticationStrategy();

}  // namespace foundation::httpclient_core
