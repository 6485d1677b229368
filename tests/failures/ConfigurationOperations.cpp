#include "tests/failures/Refusal.h"
#include "tests/failures/Tables.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>
#include <foundation/log/exception_chain.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <exception>
#include <new>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

const std::string longText = "a text that is longer than a short string holds";

// Strategies and callbacks with more state than a function holds without an allocation.
struct Large {
    std::array<char, 64> ballast{};
    std::string text = longText;

    template <class... Arguments>
    bool operator()(Arguments&&... /*arguments*/) const {
        return ballast[0] == 0;
    }
};

struct Backoff {
    std::string text = longText;

    std::pair<std::chrono::milliseconds, bool> operator()(std::chrono::milliseconds delay,
                                                          std::uint32_t /*attempt*/) const {
        return {delay, true};
    }
};

ClientConfiguration configuration() {
    ClientConfiguration made;
    made.setCertificateFile(longText);
    made.setDomainSocketPath(longText);
    made.setRetryStrategy(Large());
    made.setProxyAuthenticationStrategy(Large());
    detail::ClientConfigurationAccess::setProxyUrl(made, longText);
    return made;
}

WebSocketClientConfiguration webSocket() {
    WebSocketClientConfiguration made;
    made.setCertificateFile(longText);
    made.setCustomHandshakeHeaders({{longText, longText}});
    made.setConnectErrorRecovery(Large());
    made.setReconnectEnabled(Large());
    made.setOnReconnectAborted(Large());
    made.setCustomReconnectBackoffFcn(Backoff());
    return made;
}

std::string text() {
    return longText;
}

// Asks a strategy after an attempt that ended with this code, in a scope where nobody waits.
bool ask(const RetryStrategy& strategy, HttpResponseCode code, const std::exception_ptr& error) {
    const detail::BackoffScope scope([](std::chrono::milliseconds /*delay*/) { return true; });
    const HttpRequest request(HttpMethod::GET, "http://host/", {});
    HttpResponse response;
    response.setResponseCode(code);
    response.addHeaderValue("Retry-After", "1");
    return strategy(request, response, error, 1, 1);
}

}  // namespace

Operations configurationOperations() {
    using C = ClientConfiguration;
    using W = WebSocketClientConfiguration;
    return {
        strong("ClientConfiguration", text, [](std::string& /*text*/) { return C(); }),
        strong("copy of a configuration", configuration, Copied()),
        basic(
            "copy assignment of a configuration", [] { return std::pair(C(), configuration()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong("certificateFile", configuration, [](C& c) { return c.certificateFile(); }),
        strong("domainSocketPath", configuration, [](C& c) { return c.domainSocketPath(); }),
        strong("proxyAuthenticationStrategy", configuration,
               [](C& c) { return c.proxyAuthenticationStrategy(); }),
        strong("retryStrategy", configuration, [](C& c) { return c.retryStrategy(); }),
        strong("setCertificateFile", configuration,
               [](C& c) { c.withCertificateFile("/" + longText); }),
        strong("setDomainSocketPath", configuration,
               [](C& c) { c.withDomainSocketPath("/" + longText); }),
        strong(
            "setProxyAuthenticationStrategy", [] { return C(); },
            [](C& c) { c.withProxyAuthenticationStrategy(Large()); }),
        strong(
            "setRetryStrategy", [] { return C(); }, [](C& c) { c.withRetryStrategy(Large()); }),
        strong("numbers and switches of a configuration", configuration,
               [](C& c) {
                   c.withFollowRedirects(false).withHstsEnabled(false).withIdleSpeed(7);
                   c.withMaxRedirects(1).withMaxRequestsPerThread(3).withMaxThreads(5);
                   c.withProxyCredentialPromptNumRetries(9).withResumeOnRetry(true);
               }),
        strong("WebSocketClientConfiguration", text, [](std::string& /*text*/) { return W(); }),
        strong("copy of a web socket configuration", webSocket, Copied()),
        basic(
            "copy assignment of a web socket configuration",
            [] { return std::pair(W(), webSocket()); },
            [](auto& pair) { pair.first = pair.second; }),
        strong("web socket certificateFile", webSocket, [](W& w) { return w.certificateFile(); }),
        strong("customHandshakeHeaders", webSocket,
               [](W& w) { return w.customHandshakeHeaders(); }),
        strong("onRecoverableConnectError", webSocket,
               [](W& w) { return w.onRecoverableConnectError(); }),
        strong(
            "onRecoverableConnectError without one", [] { return W(); },
            [](W& w) {
                return refusal<std::logic_error>([&w] { w.onRecoverableConnectError(); });
            }),
        strong("recoverableConnectErrorCodes", webSocket,
               [](W& w) { return w.recoverableConnectErrorCodes(); }),
        strong("onReconnected", webSocket, [](W& w) { return w.onReconnected(); }),
        strong(
            "onReconnected without one", [] { return W(); },
            [](W& w) { return refusal<std::logic_error>([&w] { w.onReconnected(); }); }),
        strong("reconnectBackoffFcn", webSocket, [](W& w) { return w.reconnectBackoffFcn(); }),
        strong("onReconnectAborted", webSocket, [](W& w) { return w.onReconnectAborted(); }),
        strong(
            "onReconnectAborted without one", [] { return W(); },
            [](W& w) { return refusal<std::logic_error>([&w] { w.onReconnectAborted(); }); }),
        strong("web socket setCertificateFile", webSocket,
               [](W& w) { w.withCertificateFile("/" + longText); }),
        strong("setCustomHandshakeHeaders", webSocket,
               [](W& w) { w.withCustomHandshakeHeaders({{longText, "1"}}); }),
        strong(
            "setConnectErrorRecovery", [] { return W(); },
            [](W& w) { w.withConnectErrorRecovery(Large()); }),
        strong("setRecoverableConnectErrorRespCodes", webSocket,
               [](W& w) {
                   w.withRecoverableConnectErrorCodes(
                       {HttpResponseCode::NotFound, HttpResponseCode::OK});
               }),
        strong(
            "setReconnectEnabled", [] { return W(); },
            [](W& w) { w.withReconnectEnabled(Large()); }),
        strong(
            "setCustomReconnectBackoffFcn", [] { return W(); },
            [](W& w) { w.withCustomReconnectBackoffFcn(Backoff()); }),
        strong(
            "setOnReconnectAborted", [] { return W(); },
            [](W& w) { w.withOnReconnectAborted(Large()); }),
    };
}

Operations strategyOperations() {
    const auto strategy = [] {
        return defaultRetryStrategy(5, defaultIsRetriable(), 5, RetryBackoffOptions{});
    };
    const auto backingOff = [] {
        return defaultRetryStrategy(5, 2, std::chrono::seconds(120), defaultIsRetriable());
    };
    return {
        strong("defaultRetryStrategy", text,
               [](std::string& /*text*/) {
                   return defaultRetryStrategy(5, 0, std::chrono::seconds(1), defaultIsRetriable());
               }),
        strong(
            "defaultRetryStrategy with a predicate of its own", [] { return IsRetriable(Large()); },
            [](IsRetriable& large) {
                return defaultRetryStrategy(5, 0, std::chrono::seconds(1), large, 2);
            }),
        strong("copy of a strategy", strategy, Copied()),
        strong("retry of a failure", strategy,
               [](RetryStrategy& s) {
                   return ask(s, HttpResponseCode::RequestNotMade,
                              std::make_exception_ptr(HttpRequestTimeoutException()));
               }),
        strong(
            "retry of an answer", strategy,
            [](RetryStrategy& s) { return ask(s, HttpResponseCode::ServiceUnavailable, nullptr); }),
        strong(
            "retry after a back-off", backingOff,
            [](RetryStrategy& s) { return ask(s, HttpResponseCode::ServiceUnavailable, nullptr); }),
        strong("no retry of a success", strategy,
               [](RetryStrategy& s) { return ask(s, HttpResponseCode::OK, nullptr); }),
        strong("no retry of an error of another kind", strategy,
               [](RetryStrategy& s) {
                   return ask(s, HttpResponseCode::OK,
                              std::make_exception_ptr(std::runtime_error(longText)));
               }),
        strong("noRetriesStrategy", text,
               [](std::string& /*text*/) {
                   return ask(noRetriesStrategy(), HttpResponseCode::ServiceUnavailable, nullptr);
               }),
        strong("defaultIsRetriable", text,
               [](std::string& /*text*/) {
                   return defaultIsRetriable()(HttpMethod::GET, false,
                                               HttpResponseCode::ServiceUnavailable);
               }),
        strong("defaultProxyAuthenticationStrategy", text,
               [](std::string& /*text*/) {
                   HttpResponse response;
                   response.setResponseCode(HttpResponseCode::ProxyAuthenticationRequired);
                   return defaultProxyAuthenticationStrategy(3)(response, nullptr, 1);
               }),
        strong("noProxyAuthenticationStrategy", text,
               [](std::string& /*text*/) {
                   return refusal<HttpRequestFailedException>(
                       [] { noProxyAuthenticationStrategy()(HttpResponse(), nullptr, 1); });
               }),
        strong("BackoffScope", text,
               [](std::string& text) {
                   int calls = 0;
                   const detail::BackoffScope scope(
                       [&calls, text](std::chrono::milliseconds /*delay*/) {
                           ++calls;
                           return true;
                       });
                   detail::backoffWait(std::chrono::milliseconds(1));
                   return calls;
               }),
    };
}

namespace {

// An error with its cause.
struct Chain {
    std::exception_ptr outermost;
};

std::string describe(const Chain& error) {
    return error.outermost != nullptr ? "error" : "none";
}

Chain chain() {
    try {
        try {
            throw std::runtime_error(longText);
        } catch (...) {
            std::throw_with_nested(std::logic_error(longText));
        }
    } catch (...) {
        return {std::current_exception()};
    }
}

}  // namespace

Operations diagnosticsOperations() {
    return {
        strong("HttpRequestFailedException", text,
               [](std::string& t) { return HttpRequestFailedException(t); }),
        strong("HttpRequestTimeoutException", text,
               [](std::string& /*text*/) { return HttpRequestTimeoutException(); }),
        strong("HttpRequestCancelledException", text,
               [](std::string& /*text*/) { return HttpRequestCancelledException(); }),
        strong("BadWebSocketException", text,
               [](std::string& t) { return BadWebSocketException(t); }),
        strong("MaxWriteFrameSizeExceededException", text,
               [](std::string& /*text*/) { return MaxWriteFrameSizeExceededException(1, 2); }),
        strong("NoExistingConnectionException", text,
               [](std::string& /*text*/) { return NoExistingConnectionException(); }),
        strong("ReadCalledWhenAlreadyReadingException", text,
               [](std::string& /*text*/) { return ReadCalledWhenAlreadyReadingException(); }),
        strong("current_exception_chain_as_string", chain,
               [](Chain& error) {
                   try {
                       std::rethrow_exception(error.outermost);
                   } catch (...) {
                       return foundation::log::current_exception_chain_as_string();
                   }
               }),
        strong("logger", text,
               [](std::string& t) {
                   foundation::log::basic_diagnostic_logger<char> logger(t);
                   logger.set_filter_mask(0);
                   return logger.channel();
               }),
        strong("record of a channel", text,
               [](std::string& t) {
                   coreChannel().log(SEVERITY_ERROR, [&t](std::ostream& os) { os << t; });
                   webSocketChannel().log(SEVERITY_ERROR, [&t](std::ostream& os) { os << t; });
               }),
        strong("records of every length", text,
               [](std::string& t) {
                   for (std::size_t size = 0; size < t.size(); ++size) {
                       coreChannel().log(SEVERITY_ERROR, [&t, size](std::ostream& os) {
                           os << std::string_view(t).substr(0, size);
                       });
                   }
               }),
    };
}

}  // namespace foundation::httpclient_core::testing
