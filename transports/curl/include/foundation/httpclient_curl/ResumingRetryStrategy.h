#pragma once
/// @file
/// A retry strategy for downloads on bad networks.
#include <foundation/httpclient_core/RetryStrategy.h>
#include <foundation/httpclient_curl/Export.h>

#include <chrono>
#include <functional>
#include <string>

namespace foundation::httpclient_curl {

/// Where the length of a wait comes from.
enum class WaitSource {
    Backoff,            ///< Chosen at random below a limit that doubles.
    RetryAfterSeconds,  ///< The server named a number of seconds.
    RetryAfterDate      ///< The server named a date.
};

/// A retry that is about to happen.
struct RetryNotice {
    int retry = 1;                            ///< 1 for the first retry of the request.
    std::chrono::milliseconds wait{0};        ///< Before the retry.
    WaitSource source = WaitSource::Backoff;  ///< Of the length of the wait.
    std::string reason;                       ///< "HTTP status 503", or the error's text.
};

/// Limits and waits of resumingRetryStrategy(). Nothing is validated; negative values count as zero.
struct ResumingRetryOptions {
    /// Attempts after the first one.
    int maxRetries = 10;
    /// The limit of the first wait, and of the first one after new bytes came.
    std::chrono::milliseconds firstWait{200};
    /// Of every wait, also of one that Retry-After asks for. At most a hundred years count.
    std::chrono::milliseconds maxWait{30000};
    /// Time for all attempts and waits of a request from its first attempt on; zero: no limit. A wait that
    /// would pass it is not begun: the request ends with what it has. An attempt under way is not ended by
    /// it.
    std::chrono::milliseconds deadline{0};
    /// Called before each wait, on the thread of the strategy; may be empty. What it throws leaves the
    /// strategy and ends the request.
    std::function<void(const RetryNotice&)> onRetry;
};

/// Returns a strategy that gets a request through on a bad network, for use with `resumeOnRetry`.
///
/// It retries GET, HEAD, PUT and DELETE, which mean the same when they arrive twice, never POST and PATCH:
/// - after HttpRequestTimeoutException, with any code;
/// - after the codes 408, 416, 426, 429 and 500 to 599. Not 501, 505, 510 and 511, which say that the
///   server will not do it, or not before the user did something;
/// - after an HttpRequestFailedException without an answer (codes -1 and 0), or in the middle of an answer
///   of one of those codes or of a success: a connection that could not be made or that broke. An unknown
///   host is among them; on a bad network it may be known a moment later.
///
/// It does not retry a success, a cancelled request, any other code, an error that is not of the family of
/// HttpRequestFailedException, and failures that the next attempt would meet again. Of CurlHttpClient these
/// are: what was refused before anything was sent, redirects too many or nowhere, a proxy that refuses the
/// tunnel with a code below 500, answers above the client's limits, and streams and files that fail. Of any
/// transport these are the texts that end in "(libcurl N)" with 1 (scheme), 3 (URL), 60, 77, 83 and 91 (TLS
/// verification).
///
/// The wait is a random time below a limit ("full jitter"): `firstWait` at first, twice as much after each
/// attempt that brought no new byte of the body, `firstWait` again after one that did, never above
/// `maxWait`. New bytes are known for requests of a CurlHttpClient only; with another transport the limit
/// always doubles. Where the answer has a Retry-After header and is no success, the wait is at least that
/// long, up to `maxWait`: a number of seconds, or a date in any of the three forms of RFC 9110, 5.6.7,
/// counted from the answer's Date where it has one and else from this machine's clock. Anything else in the
/// header counts as absent. The wait occupies no thread where the transport takes it over (see
/// detail/BackoffHook.h of the core), otherwise the calling thread sleeps.
///
/// The deadline counts from the first attempt of the request. With a transport other than CurlHttpClient
/// that is the first call of the strategy with one attempt made; requests of the same method and URL that
/// are under way at once then share the time of the latest.
///
/// @par Thread safety
/// The strategy is thread-safe: one object serves any number of requests at once.
///
/// @par Example
/// A download that is given ten minutes:
/// @code{.cpp}
/// using namespace foundation::httpclient_curl;
/// ExampleServer server;
/// ResumingRetryOptions retry;
/// retry.maxRetries = 50;
/// retry.deadline = std::chrono::minutes(10);
/// retry.onRetry = [](const RetryNotice& notice) { std::cerr << notice.reason << '\n'; };
/// CurlHttpClient client;
/// client.setClientConfiguration(ClientConfiguration()
///                                   .withResumeOnRetry(true)
///                                   .withRetryStrategy(resumingRetryStrategy(std::move(retry))));
/// const HttpResponse response = client.makeRequest(HttpRequest(HttpMethod::GET, server.url(), {}));
/// assert(response.getResponseCode() == HttpResponseCode::OK);
/// @endcode
FOUNDATION_HTTPCLIENT_CURL_API httpclient_core::RetryStrategy resumingRetryStrategy(
    ResumingRetryOptions options = {});

}  // namespace foundation::httpclient_curl
