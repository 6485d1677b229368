#pragma once
#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <string>

namespace foundation::httpclient_curl {

/// What one attempt of a request did: for diagnosis, logs and progress displays.
///
/// An attempt is one exchange with all its redirects. The repetitions after a 407 of a proxy are attempts
/// of their own. Over the attempts of a request, the bytes received less the bytes discarded are those
/// that the response body holds in the end; where the last answer is an error page that was held aside
/// (see CurlHttpClient), its bytes count as discarded all the same.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Counting the attempts that were no success:
/// @code{.cpp}
/// using foundation::httpclient_curl::AttemptReport;
/// ExampleServer server;
/// std::atomic<int> failures{0};
/// foundation::httpclient_curl::CurlClientOptions options;
/// options.attemptObserver = [&failures](const AttemptReport& report) {
///     if (report.error != nullptr || !isSuccess(report.code)) {
///         ++failures;
///     }
/// };
/// foundation::httpclient_curl::CurlHttpClient client(std::move(options));
/// client.makeRequest(HttpRequest(HttpMethod::GET, server.url(), {}));
/// assert(failures == 0);
/// @endcode
struct AttemptReport {
    /// The id of an asynchronous request; nothing for a synchronous one.
    std::optional<unsigned long> requestId;
    /// 1 for the first attempt of the request.
    int attempt = 1;
    /// Of the last hop: a redirect may have changed it.
    httpclient_core::HttpMethod method = httpclient_core::HttpMethod::GET;
    /// The last hop's, without query, fragment and user information. Empty where the request names no
    /// usable URL.
    std::string url;
    /// As in the response: -1 where nothing was sent, 0 without an answer.
    httpclient_core::HttpResponseCode code = httpclient_core::HttpResponseCode::RequestNotMade;
    /// Null for none.
    std::exception_ptr error;
    /// The redirects that were followed.
    int redirects = 0;
    /// Body bytes of earlier attempts that the response body still holds at the end of this one.
    std::int64_t bytesKept = 0;
    /// Body bytes that came over the wire, free of chunk marks; those of redirects included.
    std::int64_t bytesReceived = 0;
    /// Body bytes thrown away: those of earlier attempts, and received ones that did not go into the
    /// response body (of redirects, of pages held aside, and what was fetched again to be compared).
    std::int64_t bytesDiscarded = 0;
    /// The answer continued the body of earlier attempts.
    bool resumed = false;
    /// The ETag of the answer that the body is from, else its Last-Modified date, else empty. It is there to
    /// be shown: a weak tag and a date that is too young are among these, and pin no version.
    std::string validator;
    /// The last hop went over a connection of an earlier request.
    bool connectionReused = false;
    /// "address:port" of the peer, maybe a proxy's, IPv6 in brackets; empty where there is none.
    std::string remoteAddress;
    /// Since the beginning of the last hop, until the name was known, the connection stood, TLS was
    /// agreed, the first byte of the answer came, and the end; zero where it did not come so far.
    /// @{
    std::chrono::microseconds nameLookup{0};
    std::chrono::microseconds connect{0};
    std::chrono::microseconds tls{0};
    std::chrono::microseconds firstByte{0};
    std::chrono::microseconds total{0};
    /// @}
};

/// Gets the report of each attempt as it ends, before strategies and handlers: on the calling thread for
/// synchronous requests, on an I/O thread for asynchronous ones, from several threads at once. It must
/// return promptly and must not call into the client. What it throws is dropped. An asynchronous request
/// that is cancelled while it waits makes no attempt and so no report.
using AttemptObserver = std::function<void(const AttemptReport&)>;

}  // namespace foundation::httpclient_curl
