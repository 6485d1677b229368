#pragma once
#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_curl/CurlClientOptions.h>
#include <foundation/httpclient_curl/Export.h>

#include <exception>
#include <memory>
#include <string>

namespace foundation::httpclient_curl {

class Engine;
class SharedPrompt;
struct TransferSettings;

/// An HttpClient whose transport is libcurl: HTTP/1.1 over TCP or a unix domain socket, HTTP/2 over TLS
/// where the server offers it.
///
/// Only http and https are spoken, on the first hop and after a redirect. TLS is version 1.2 or newer and
/// servers are always verified, against the system's certificates or the configuration's
/// `certificateFile`; nothing turns that off.
///
/// What a request gets on its way:
/// - Redirects 301, 302, 303, 307 and 308 are followed up to `maxRedirects`. The last answer of too long a
///   chain is in the response, with the error "Maximum number of redirects (N) reached". `Authorization`,
///   `Cookie` and the options' sensitive headers go to no other scheme, host or port than the first of the
///   request, neither by a redirect nor where the core rebuilds the request after 426. The transaction
///   report counts the hops and names the URL that answered.
/// - Request headers whose name is no token or whose value holds CR, LF or NUL fail the request before
///   anything is sent, and so do such names, file names and headers of the parts of a multipart body.
///   Headers that begin with `QZ-Internal-` never travel in either direction.
/// - A URL whose host libcurl reads differently than the core does is refused ("The URL of the request has
///   no clear host"): user information, percent signs in the host, numbers for IPv4 addresses.
/// - A body is sent with its `Content-Length`, cut or refused where the stream does not fit it, or else in
///   chunks. `Expect` is sent only when the request has it. A POST or PATCH is never repeated by the
///   transport itself.
/// - An answer whose end is in doubt is an error: a header block that breaks off, lengths that contradict
///   each other or the coding, chunks that RFC 9112 does not know, a body shorter than it was declared. A
///   body without length and chunks ends with its connection, which over TLS the server has to announce;
///   over TCP nothing tells a whole one from a broken one. Codings of the content are not decoded.
/// - With `resumeOnRetry`, a GET whose body broke off is continued only by a 206 of the same version, total
///   size and offset; everything else starts the body over, without the caller noticing where the same
///   attempt can do that. A strong ETag pins the version; without an ETag Last-Modified does where it is
///   strong (RFC 9110, 8.8.2.2), sent in If-Range. Where nothing pins it, or only a date of less than a
///   minute, the last 64 KiB held are fetched again and compared before anything is appended; that needs a
///   body stream that can be read, else the body starts over. Without a validator a change before the last
///   64 KiB goes unseen. Bodies with a Content-Encoding are never continued.
/// - Between the attempts of makeRequest() and makeAsyncRequest(), what is held of the body outlives error
///   pages and lost connections. The page of an error waits in memory, up to 256 KiB; a larger one takes the
///   place of the body at once. Meanwhile the response that strategies see has code and headers of the
///   page, an added "Accept-Ranges: bytes" and the body that is held. The caller gets the page with its own
///   headers if no further attempt follows; the stream factory is then called for it.
/// - Progress counts from the beginning of the body, also in an attempt that continues it.
/// - The proxy is the configured one, or that of the environment variables `http_proxy`, `https_proxy`,
///   `all_proxy` and `no_proxy` as they were when the client was made. A 407 arrives as a response, with
///   the header `QZ-Internal-Proxy-Info` naming the proxy as host:port.
///
/// The configuration's `hstsEnabled` is not used by this transport.
///
/// Failures are `HttpRequestFailedException` ("GET http://host/path: text (libcurl N)", never with the
/// query), `HttpRequestTimeoutException`, `HttpRequestCancelledException`, or what a stream, factory or
/// callback of the caller threw. The response code says how far it came: -1 nothing was sent, 0 sent but
/// no answer, else the status received.
///
/// Asynchronous requests run on up to `maxThreads` threads with `maxRequestsPerThread` transfers each
/// (clamped to 1..64 and 1..256); more wait in order. Response streams, stream factories, progress and
/// pre-response callbacks are called on those threads: one that blocks holds up the other transfers of its
/// thread. Handlers and strategies run on other threads, where they may sleep, and start and await
/// requests of the same client; up to 256 at a time. Waits before a retry occupy no thread.
///
/// The destructor ends all requests with `HttpRequestCancelledException` and returns when every handler
/// has run. It may be called from a handler, whose own call is then the only one still running, but not
/// from a stream, factory or callback of a transfer: that ends the program.
///
/// @par Thread safety
/// thread-safe, but for the destructor.
///
/// @par Example
/// One request on the calling thread, to a server that answers "Hello":
/// @code{.cpp}
/// ExampleServer server;
/// foundation::httpclient_curl::CurlHttpClient client;
/// const HttpResponse response = client.makeRequest(HttpRequest(HttpMethod::GET, server.url(), {}));
/// assert(response.getResponseCode() == HttpResponseCode::OK);
/// assert(response.getResponseBodyString() == "Hello");
/// @endcode
class FOUNDATION_HTTPCLIENT_CURL_API CurlHttpClient final : public httpclient_core::HttpClient {
public:
    /// Makes a client that asks nobody for proxy credentials. Starts no thread.
    /// @throws std::runtime_error "libcurl cannot be initialized: " and the reason.
    CurlHttpClient();
    /// Makes a client that asks `prompt` for proxy credentials; null asks nobody. The prompt is called on
    /// the thread of the request that needs it, from several threads at once where several do.
    /// @throws std::runtime_error "libcurl cannot be initialized: " and the reason.
    explicit CurlHttpClient(std::shared_ptr<httpclient_core::ProxyCredentialPrompt> prompt);
    /// Makes a client with these options.
    /// @throws std::runtime_error "libcurl cannot be initialized: " and the reason.
    explicit CurlHttpClient(CurlClientOptions options);
    /// Ends all requests; see the class comment.
    ~CurlHttpClient() override;

    /// Returns "libcurl/" and the version in use.
    std::string transportName() const override;
    /// Drops the connections that no request uses. Those of a busy thread go when it has nothing to do.
    void closeIdleConnections() override;
    /// Returns the credentials by "host:port" of their proxy. They live in memory, as long as the client.
    std::shared_ptr<httpclient_core::ProxyCredentialStore> proxyCredentialStore() const override;
    /// Returns the prompt that the client was made with, which may be null.
    std::shared_ptr<httpclient_core::ProxyCredentialPrompt> proxyCredentialPrompt(
        const httpclient_core::HttpResponse& response,
        const std::exception_ptr& error) const override;

    /// Runs one attempt on the calling thread, without retries.
    /// @throws HttpRequestFailedException and the classes derived from it, or what the caller's own code
    /// threw. The response holds what was received.
    void sendRequest(httpclient_core::HttpRequest& request,
                     httpclient_core::HttpResponse& response) const override;
    /// Runs the request on the calling thread with retries, as the base class says. Its waits between
    /// attempts end at once on cancelAllRequests() and in the destructor.
    httpclient_core::HttpResponse makeRequest(httpclient_core::HttpRequest request) override;
    /// Starts one attempt, without retries. The handler runs exactly once, never inside this call.
    /// Throws nothing but, while the client is destroyed, HttpRequestFailedException "The client is being
    /// destroyed" for a request that was sent again eight times since.
    void sendAsyncRequest(httpclient_core::HttpRequest request,
                          httpclient_core::HttpResponse response,
                          unsigned long requestId,
                          httpclient_core::CompletionHandler handler) const override;

    using HttpClient::makeAsyncRequest;
    /// Starts a request with retries, as the base class says, but calls the handler exactly once in every
    /// case: where a strategy or the preparation of a retry throws, it gets a request of the same method
    /// and URL without anything else, an empty response and HttpRequestFailedException "Request abandoned
    /// before completion". When this function throws, the handler is not called.
    unsigned long makeAsyncRequest(httpclient_core::HttpRequest request,
                                   httpclient_core::CompletionHandler handler) override;

    /// Cancels the asynchronous request of this id. Returns true if it was in flight: queued, under way,
    /// waiting for a retry, or in its strategies; false once its handler was called. Cancelled requests end
    /// promptly with HttpRequestCancelledException and response code -1, and are not sent again.
    bool cancelRequest(unsigned long requestId) override;
    /// Cancels every request that is in flight, synchronous ones too.
    void cancelAllRequests() override;

protected:
    /// Takes over the limits for asynchronous requests. Transfers under way are not affected.
    void configurationChanged(
        const httpclient_core::ClientConfiguration& newConfiguration) override;

private:
    TransferSettings settingsFor(const httpclient_core::HttpRequest& request) const;

    std::shared_ptr<SharedPrompt> prompt_;  ///< Null asks nobody.
    std::shared_ptr<Engine> engine_;
};

}  // namespace foundation::httpclient_curl
