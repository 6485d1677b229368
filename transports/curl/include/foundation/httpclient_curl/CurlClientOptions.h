#pragma once
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>
#include <foundation/httpclient_curl/AttemptReport.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace foundation::httpclient_curl {

/// What a CurlHttpClient is made with, beyond the configuration that can change while it lives. Nothing
/// is validated; a limit of zero or less allows nothing unless said otherwise.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// A client that takes no body above 1 MiB:
/// @code{.cpp}
/// ExampleServer server;
/// foundation::httpclient_curl::CurlClientOptions options;
/// options.maxResponseBodyBytes = 1048576;
/// options.sensitiveHeaders.push_back("X-Session");
/// foundation::httpclient_curl::CurlHttpClient client(std::move(options));
/// const HttpResponse response = client.makeRequest(HttpRequest(HttpMethod::GET, server.url(), {}));
/// assert(response.getResponseBodyString() == "Hello");
/// @endcode
struct CurlClientOptions {
    /// Asks the user for proxy credentials; null asks nobody. See the constructor of CurlHttpClient that
    /// takes one.
    std::shared_ptr<httpclient_core::ProxyCredentialPrompt> credentialPrompt;
    /// Request headers that never travel to another scheme, host or port than the first of a request, by
    /// any letter case; `Authorization`, `Cookie` and `Proxy-Authorization` are always among them.
    std::vector<std::string> sensitiveHeaders = {"X-Api-Key", "X-Auth-Token", "X-Csrf-Token"};
    /// Most header fields of one header block, a folded line counting as one; more fail the request with
    /// "The response has more than N header fields".
    int maxResponseHeaderFields = 1000;
    /// Most bytes of the header blocks of one answer, interim answers and trailers included; more fail the
    /// request with "The response headers are larger than N bytes". libcurl has a limit of its own at
    /// 300 kB.
    std::int64_t maxResponseHeaderBytes = 262144;
    /// Most bytes of one response body over all attempts; more fail the request with "The response body is
    /// larger than N bytes", where the length is declared before a byte is delivered. Negative: no limit.
    std::int64_t maxResponseBodyBytes = -1;
    /// Called after every attempt; empty calls nobody. See AttemptObserver.
    AttemptObserver attemptObserver;
};

}  // namespace foundation::httpclient_curl
