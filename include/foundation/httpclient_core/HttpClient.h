#pragma once
#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/CompletionHandler.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>
#include <foundation/httpclient_core/ProxyCredentialStore.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace foundation::httpclient_core {

/// Runs requests over a transport: checks them, retries and resumes them, and authenticates to
/// proxies.
///
/// The class performs no input or output, creates no thread and never sleeps (the default retry
/// strategy does, on the thread that calls it). A transport is a class derived from this one: its
/// overrides of the pure operations make single attempts, and everything around an attempt
/// happens here, the same for all transports. makeRequest() works on the calling thread until the
/// request has ended; makeAsyncRequest() returns at once. A client must outlive the requests it
/// has started.
///
/// **A request, step by step.** Both entry points do the same:
/// 1. A request with a body stream must say where the body ends: see makeRequest() for the rule
///    and the errors. The values of the headers are not looked at otherwise; a multipart body is
///    not checked.
/// 2. The configuration is settled. One attached to the request wins entirely, also where its
///    settings have their defaults: nothing is merged. Else it is a copy of the client's. A later
///    setClientConfiguration() does not reach a request that has started.
/// 3. The response is constructed from the request, so it has the request's stream factory and
///    callback.
/// 4. An attempt is made. A "Content-Type" header of a multipart request is removed first, so
///    that the transport writes the one with its boundary.
/// 5. The proxy authentication strategy is asked, after *every* attempt: strategy(response,
///    error, total). If it says yes, the proxy is served (below), which may replace response and
///    error. An answer of `noProxyAuthenticationStrategy` is an exception, so a request with it
///    always ends after one attempt, also after a 200.
/// 6. The retry strategy is asked: strategy(request, response, error, total, consecutive).
///    `error` is what the attempt threw, null if it threw nothing; `total` counts the attempts of
///    this request, with this one; `consecutive` counts the attempts since the last success code,
///    with this one. Re-sends for a proxy are not counted. If it says yes, request and response
///    are prepared (below) and step 4 follows.
/// 7. Otherwise the request has ended: with the error if there is one, else with the response,
///    whatever its code is. A 404 is a response, not an error.
///
/// An empty strategy is the error `std::bad_function_call` when its turn comes, so after an
/// attempt. The two roads differ in these points only, and callers may rely on them:
///
/// | | makeRequest() | makeAsyncRequest() |
/// |---|---|---|
/// | "Content-Type" of a multipart request | removed before each attempt | before the first only |
/// | record of an attempt that threw | "Exception caught: ..." | none |
/// | `consecutive` as a success is retried | the full count | 0 (the next attempt is 1 on both) |
/// | object of the retry strategy | one copy for all attempts | a new copy for each attempt |
/// | exception of a strategy or preparing | leaves makeRequest() at once | see makeAsyncRequest() |
///
/// **Before a further attempt** the first line that applies is carried out:
///
/// | The attempt ended with | Request | Response |
/// |---|---|---|
/// | 426 after a redirect, the first time | new (see below) | not made, body reset |
/// | code -1: nothing was received | body rewound | unchanged |
/// | 416 | body rewound, "Range" removed | body reset, not made |
/// | any code, and it can resume | body rewound, "Range: bytes=N-" | body kept, flushed, not made |
/// | any code | body rewound | body reset, not made |
///
/// - *Not made* means code -1, reason "Request Not Made" and no headers. *Body reset* is
///   HttpResponse::resetResponseBody(). A new request after a 426 has the method, the headers
///   (framing headers too) and the attached configuration of the old one and the effective URL;
///   body, multipart body, query parameters, progress callback, stream factory and callback are
///   dropped. This happens once for each request; a second 426 is like any other code. *After a
///   redirect* means that the effective URL of the transaction report is neither empty nor equal
///   to the URL of the first attempt.
/// - *It can resume* if the configuration's `resumeOnRetry` is set and the first "Accept-Ranges"
///   of the response is exactly "bytes": not "Bytes", not "bytes, none".
/// - N is the write position of the response body, counted from the start of its stream. A
///   response without a body gets one, so N can be 0. A stream that cannot tell its position or
///   has `badbit` set is reset. The new "Range" replaces the value of an earlier one and stays
///   for later attempts, also where the body is reset, until a 416.
/// - On a resume the progress callback is wrapped: the wrapper adds N to `downloadTotal` (also
///   when it is 0, unknown) and to `downloaded`. A second resume wraps the wrapper, so the
///   offsets add up.
///
/// **Serving a proxy** happens on the thread that runs the attempt's end:
/// useProxyCredentialProvider() turns true for good; prompt and store are fetched; the same
/// request is sent again with sendRequest(). Then, while the answer is a 407 with the header
/// "QZ-Internal-Proxy-Info" and prompts remain (`proxyCredentialPromptNumRetries` of the
/// *client's* configuration, read once), the prompt is asked, its answer goes to the store as
/// "user:password" under the header's value, and the request is sent again. Without a prompt, or
/// when the user declines, it ends there. An exception of the transport, the prompt or the store
/// ends it and becomes the attempt's error.
///
/// **Log records** of channel "foundation::httpclient_core": 512 for the two refusals of a
/// request, 16 for attempts that threw in makeRequest(), 4 for each preparation but a plain
/// reset. Serving a proxy writes none. Strategies write their own.
///
/// **Duties of a transport**, for sendRequest() and sendAsyncRequest() alike:
/// - At entry, response code -1 means a first attempt, a retry or a resume: the body must not be
///   touched, since a resumed download is appended to it. Any other code means that the request
///   is sent again for a proxy: the transport itself sets code -1, clears the headers, calls
///   resetResponseBody() and rewinds the request body (`clear()`, then `seekg(0)`).
/// - A request body stream that is in a failed state at entry could not be rewound: the attempt
///   fails.
/// - While receiving: code and reason, then headers, then body bytes through getResponseBody(),
///   then the TransactionReport with the number of redirects and the effective URL, which the 426
///   rule needs.
/// - A request with "Range" that is answered with 200: resetResponseBody() before the first byte.
///   A 206 whose first byte does not belong at the body's write position: fail.
/// - A 407 of a proxy: set the response header "QZ-Internal-Proxy-Info" to its host:port. Without
///   it nobody is prompted. Drop a header of that name that came from the network.
/// - A cancelled attempt, and one whose progress callback answers ProgressResult::Abort, ends
///   with HttpRequestCancelledException and code -1; a 5xx left in the response would be retried.
///   The id is remembered, so that a retry of it ends at once.
/// - Any other failure is an HttpRequestFailedException or a class derived from it; a timeout is
///   an HttpRequestTimeoutException, which the default retry strategy repeats.
///
/// The virtual functions are declared in the order of their table entries, which is part of the
/// binary interface.
///
/// @par Thread safety
/// Thread-safe: any number of requests at once, from any threads. The stored configuration is
/// internally locked by one non-recursive mutex, which covers getClientConfiguration(),
/// setClientConfiguration() with the configurationChanged() it calls, and the copy taken when a
/// request starts. No lock is held while sending, asking a strategy, prompting or delivering.
///
/// @par Example
/// A request over any transport, on the calling thread:
/// @code{.cpp}
/// ExampleTransport client;
/// client.setClientConfiguration(ClientConfiguration().withResumeOnRetry(true));
/// HttpResponse response = client.makeRequest({HttpMethod::GET, URL("http://host/file"), {}});
/// assert(isSuccess(response));
/// assert(response.getResponseBodyString() == "Hello");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpClient {
public:
    /// The callable that ends an asynchronous request or attempt.
    using CompletionHandler = foundation::httpclient_core::CompletionHandler;

    /// Creates a client with a default-constructed configuration; the first request id is 0.
    HttpClient();

    /// @{
    /// A client can be neither copied nor moved: requests that run refer to it.
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;
    /// @}

    /// Destroys the members, nothing more. A transport ends its requests and joins its threads in
    /// its own destructor, before its overrides are gone.
    virtual ~HttpClient();

    /// Returns a name of the transport for people, such as "curl/7.88.1". The core never calls
    /// it.
    virtual std::string transportName() const = 0;

    /// Closes the connections that no request uses at the moment. Requests that run are not
    /// disturbed. The core never calls it.
    virtual void closeIdleConnections() = 0;

    /// Returns the object that keeps proxy credentials, or null if the transport keeps none.
    /// Called each time a proxy is served, on the thread that serves it; the handle is released
    /// when that ends. An exception becomes the attempt's error.
    virtual std::shared_ptr<ProxyCredentialStore> proxyCredentialStore() const = 0;

    /// Returns an object that can ask the user for the credentials of a proxy, or null if nobody
    /// can be asked. Called each time a proxy is served, before proxyCredentialStore() and before
    /// the request is sent again: `response` and `error` are those of the attempt that ended. The
    /// handle is released when the serving ends. An exception becomes the attempt's error.
    virtual std::shared_ptr<ProxyCredentialPrompt> proxyCredentialPrompt(
        const HttpResponse& response,
        const std::exception_ptr& error) const = 0;

    /// Makes one attempt on the calling thread and fills `response` in place; see the duties of a
    /// transport above. Called from makeRequest() and, on either road, to send a request again
    /// for a proxy. A caller of its own gets one attempt: no validation, no configuration, no
    /// retry.
    /// @throws HttpRequestFailedException (or another exception) if the attempt failed;
    ///     `response` then holds what was received before, and code -1 if nothing was.
    virtual void sendRequest(HttpRequest& request, HttpResponse& response) const = 0;

    /// Runs `request` on the calling thread until it has ended and returns its response.
    ///
    /// A request with a body stream needs "Content-Length" or "Transfer-Encoding"; both together
    /// only where the latter is exactly "identity" (not "Identity", not "identity "). Strategies,
    /// callbacks, prompts and the default strategy's back-off run on the calling thread. May be
    /// called inside a handler if the transport runs handlers on threads that may block.
    /// @throws std::logic_error "A HttpRequest with a body must have a Content-Length or a
    ///     Transfer-Encoding header." or "HttpRequest headers must not include Content-Length and
    ///     a non-identity Transfer-Encoding.", before anything is sent. The record of severity
    ///     512 that precedes it has another text, which names the URL: "Request for U has no
    ///     Content-Length or Transfer-Encoding header." and "HttpRequest headers for U must not
    ///     include Content-Length and a non-identity Transfer-Encoding.".
    /// @throws std::bad_function_call if a strategy is empty, after the first attempt.
    ///
    /// When the retry strategy declines and there is an error, that exception is rethrown
    /// unchanged: what the last attempt threw, or what serving the proxy after it threw.
    /// Exceptions of a strategy, and of the stream factory between two attempts, leave at once.
    virtual HttpResponse makeRequest(HttpRequest request);

    /// Starts one attempt without waiting for it. `response` is the object to fill; `requestId`
    /// names the logical request and is the same for all its attempts.
    ///
    /// When the attempt has ended, well or not, the transport invokes `handler` with the request,
    /// the filled response and the error (null if there is none), then destroys it:
    /// - exactly once, and never inside this function, which may be running inside the handler of
    ///   the attempt before;
    /// - without a lock of the transport held: the handler calls sendAsyncRequest(),
    ///   sendRequest(), and the user's code, which may call anything;
    /// - on a thread that may block, not on the loop that serves the connections: strategies
    ///   sleep, proxies are served synchronously, prompts wait for the user.
    ///
    /// The handler throws nothing that came from a strategy or from the user; a transport learns
    /// nothing of those. A handler destroyed uncalled loses the request (a future reports
    /// `broken_promise`).
    ///
    /// Must not throw. What it throws at the first attempt leaves makeAsyncRequest(); at a later
    /// one the user's handler is destroyed uncalled.
    virtual void sendAsyncRequest(HttpRequest request,
                                  HttpResponse response,
                                  unsigned long requestId,
                                  CompletionHandler handler) const = 0;

    /// Starts `request` and returns a future for its response, and the request's id.
    ///
    /// Calls the virtual makeAsyncRequest() that takes a handler, so an override of that one is
    /// used. The future's `get` returns the response or rethrows the error of the last attempt.
    /// If a strategy, the stream factory or the transport's sendAsyncRequest() throws between
    /// attempts, there is no error to deliver: `get` throws `std::future_error` with
    /// `std::future_errc::broken_promise`. So the future never waits for ever over a transport
    /// that keeps its duties. Destroying the future does not cancel. What the other
    /// makeAsyncRequest() throws leaves this one too.
    ///
    /// @code{.cpp}
    /// ExampleTransport client;
    /// auto [response, id] = client.makeAsyncRequest({HttpMethod::GET, URL("http://host/"), {}});
    /// assert(id == 0);
    /// assert(response.get().getResponseCode() == HttpResponseCode::OK);
    /// @endcode
    virtual std::pair<std::future<HttpResponse>, unsigned long> makeAsyncRequest(
        HttpRequest request);

    /// Starts `request` and returns its id at once; `handler` is told the outcome.
    ///
    /// The handler is invoked at most once, with the request as last sent (after a 426 it can be
    /// another one), the response and the error, null if there is none. It runs on a thread of
    /// the transport, which may be before this function returns; the core holds no lock and does
    /// not touch the client after it, so it may start further requests on the same client. What
    /// it throws is dropped.
    ///
    /// It is destroyed uncalled if a strategy, the stream factory or the transport's
    /// sendAsyncRequest() throws between two attempts: the exception goes nowhere, and
    /// destruction is the only sign. That holds for an empty strategy and for
    /// `noProxyAuthenticationStrategy`, which throws after every attempt.
    ///
    /// Ids count from 0 for each client and wrap after 4294967295. An id is taken after the
    /// request was found valid; a failure after that leaves a gap. An exception of the
    /// transport's sendAsyncRequest() at the first attempt leaves this function, with the id lost
    /// and `handler` destroyed uncalled.
    /// @throws std::logic_error with the two texts of makeRequest(), before an id is taken;
    ///     `handler` is destroyed uncalled.
    ///
    /// @code{.cpp}
    /// ExampleTransport client;
    /// std::promise<std::string> text;
    /// auto tell = [&text](HttpRequest, HttpResponse response, std::exception_ptr error) {
    ///     assert(error == nullptr);
    ///     text.set_value(response.getResponseBodyString());
    /// };
    /// client.makeAsyncRequest({HttpMethod::GET, URL("http://host/"), {}}, std::move(tell));
    /// assert(text.get_future().get() == "Hello");
    /// @endcode
    virtual unsigned long makeAsyncRequest(HttpRequest request, CompletionHandler handler);

    /// Cancels the asynchronous request with this id: its attempt ends with
    /// HttpRequestCancelledException, and so does a retry of it. Returns true if the id was in
    /// flight, false if it is unknown or has ended. Returns without waiting for the end. The core
    /// never calls it.
    virtual bool cancelRequest(unsigned long requestId) = 0;

    /// Cancels every asynchronous request that is in flight, each as cancelRequest() does. The
    /// core never calls it.
    virtual void cancelAllRequests() = 0;

    /// Returns a copy of the stored configuration, taken under the mutex. Must not be called from
    /// configurationChanged(): the mutex is not recursive.
    ClientConfiguration getClientConfiguration() const;

    /// Replaces the stored configuration, then calls configurationChanged() once with the new
    /// one, all under the mutex. Requests that have started keep the configuration they began
    /// with, except that serving a proxy reads the number of prompts and their time limit from
    /// here. Must not be called from configurationChanged(). The former configuration is
    /// destroyed after the mutex was released. If copying the argument fails, nothing has
    /// changed; if an override of configurationChanged() throws, the exception leaves and the new
    /// configuration stays stored.
    void setClientConfiguration(ClientConfiguration configuration);

protected:
    /// Tells a transport that the stored configuration was replaced, on the thread that replaced
    /// it and with the mutex held. This implementation does nothing. An override must not call
    /// getClientConfiguration() or setClientConfiguration(), nor start a request or wait for one:
    /// each would wait for the mutex.
    virtual void configurationChanged(const ClientConfiguration& newConfiguration);

    /// Returns whether a proxy was served on this client before: false at first, true from the
    /// moment the first serving begins, for good. A transport applies stored proxy credentials
    /// only while it is true. When a transport asks is its own choice. No lock is taken.
    virtual bool useProxyCredentialProvider() const;

private:
    struct RetryingHandler;

    ClientConfiguration effectiveConfiguration(const HttpRequest& request) const;
    void rememberPromptSettings();
    void handleProxyAuthenticationRequired(HttpRequest& request,
                                           HttpResponse& response,
                                           std::exception_ptr& error) const;
    CompletionHandler retryCompletionHandler(CompletionHandler&& userHandler,
                                             unsigned long requestId,
                                             int total,
                                             int consecutive,
                                             ClientConfiguration&& effective,
                                             URL&& initialURL,
                                             bool freshRequestMade) const;

    mutable std::mutex configurationMutex_;
    ClientConfiguration configuration_;
    std::atomic<std::uint32_t> nextRequestId_{0};
    mutable std::atomic<bool> proxyCredentialProvider_{false};
    // Copies of two settings for serving a proxy, which takes no lock: it may run while
    // configurationChanged() waits for a transport's threads.
    std::atomic<std::int32_t> promptRetries_;
    std::atomic<std::int64_t> promptTimeoutMs_;
};

}  // namespace foundation::httpclient_core
