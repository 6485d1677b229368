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
/// `certificateFile`; nothing turns that off, for proxies reached by https neither. With `hstsEnabled`, a
/// host that asked for it over https (RFC 6797) is reached by https only; a client keeps that in memory,
/// the transaction report names the https URL, and requests without `hstsEnabled` take no notice.
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
///   transport itself, but for two cases in which nothing was done with it: a proxy asked for credentials,
///   or an HTTP/2 server refused its stream (RFC 9113 8.7).
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
/// - The proxy is the configured one, for every host, or that of the environment variables `http_proxy`,
///   `https_proxy` and `all_proxy` (all but the first also in capitals) as they were when the client was
///   made, with exceptions by `no_proxy`: names with all below them, IPv4 addresses and networks such as
///   10.0.0.0/8, IPv6 addresses as text, or "*". It may be reached by http, https, socks4, socks4a, socks5
///   or socks5h; another scheme is refused. A unix domain socket needs no proxy.
/// - A 407 of a proxy arrives as a response without an error, one to CONNECT too, and has the header
///   `QZ-Internal-Proxy-Info` naming the proxy as host:port. Other refusals of CONNECT are failures:
///   "Proxy refused the tunnel: 403 Forbidden". The prompt is asked for no other 407 than a proxy's: not
///   for one from a server, directly, through a tunnel or through SOCKS.
/// - Credentials for a proxy come from its URL, or from the store once a 407 was handled; those of the
///   store go first. Basic and Digest are answered (RFC 7617 and 7616), Digest where the proxy offers
///   both; an empty user name asks for Negotiate. A Digest nonce serves as many requests as the proxy
///   allows. `Proxy-Authorization` and `Proxy-Connection` of the caller are not sent.
///
/// Failures are `HttpRequestFailedException` ("GET http://host/path: text (libcurl N)", never with the
/// query), `HttpRequestTimeoutException`, `HttpRequestCancelledException`, or what a stream, factory or
/// callback of the caller threw. The response code says how far it came: -1 nothing was sent, 0 sent but
/// no answer, else the status received.
///
/// Asynchronous requests run on up to `maxThreads` threads with `maxRequestsPerThread` transfers each
/// (clamped to 1..64 and 1..256); more wait in order. Response streams, stream factories, progress and
/// pre-response callbacks are called on those threads: one that blocks holds up the other transfers of its
/// thread. Handlers and strategies run on other threads, so they hold up no transfer. They may sleep, and
/// start and await requests of the same client; up to 256 at a time. One that takes long may hold up the
/// next ones for about 10 ms; then they get threads of their own. Waits before a retry occupy no thread.
///
/// Connections are kept for the next request to the same server; those of a thread for HTTP/2 carry all of
/// its requests there, from the first ones on.
///
/// The destructor ends all requests with `HttpRequestCancelledException` and returns when every handler
/// has run and every synchronous request has returned; name look-ups that hang do not hold it up. A retry
/// strategy that says yes all the same is asked a few times more, each attempt failing at once; after
/// eight the request ends with HttpRequestFailedException "The client is being destroyed" (a synchronous
/// one) or "Request abandoned before completion" (an asynchronous one).
///
/// The destructor may be called from a handler, whose own call is then the only one still running. It must
/// not be called from any other code that a request of this client calls: streams of either body, stream
/// factories, progress and pre-response callbacks, the attempt observer, strategies and the prompt, on
/// either road. The request would go on with a client that is gone, or be waited for by its own thread.
/// This ends the program: a record of the core's log channel and std::terminate(), with a
/// std::logic_error as the current exception, say "A client was destroyed inside one of its own requests,
/// by a stream, callback, strategy or prompt." Call cancelAllRequests() there instead, or let another
/// thread destroy the client and do not wait for it.
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
    /// the thread of the request that needs it, for one request at a time, with no lock held, and must not
    /// wait for another request of the same client. Its time is the client's setting
    /// `credentialPromptTimeoutMs`, 120000.
    ///
    /// An answer serves all requests that the proxy refused before it was given. The request that asked
    /// tries it first; the others wait until the proxy has taken it, until that request ends, or for five
    /// seconds where the server behind the proxy is slow. So a wrong password is sent once, and the user
    /// is asked again by the same request while it has attempts left. A prompt that declines, or whose last
    /// answer was wrong, does so for all that wait. An answer that the proxy has never taken is not sent
    /// any more once it was refused.
    ///
    /// A request that is cancelled while another one asks ends at once. The one that asks ends when its
    /// prompt returns: soon for a CancellableCredentialPrompt, which is told to stop, and the next request
    /// that needs an answer then asks in its place; for any other prompt when the user has answered. That
    /// answer is kept for the others. Until then the request counts as in flight, and the destructor of the
    /// client waits for it; afterwards no prompt is called any more. Each handler runs once in all cases.
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
    /// Returns the credentials by "host:port" of their proxy. They live in memory, as long as the client,
    /// and are overwritten when they are replaced or dropped.
    std::shared_ptr<httpclient_core::ProxyCredentialStore> proxyCredentialStore() const override;
    /// Returns what asks the prompt that the client was made with, or null if there is none. It serves one
    /// refused request: it reads from `response` which credentials the proxy refused, so `response` must
    /// outlive it.
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

    /// Cancels the asynchronous request of this id, whatever it is doing: queued, looking up a name,
    /// connecting, in the handshakes of TLS or a proxy, sending, receiving or waiting. A stream, factory or
    /// callback of the caller that blocks cannot be interrupted. Returns true if it was in flight: queued, under way,
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
