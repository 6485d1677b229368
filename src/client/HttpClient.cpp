#include <foundation/httpclient_core/HttpClient.h>

#include "client/RequestValidation.h"
#include "client/RetryPreparation.h"
#include "diagnostics/Log.h"

#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/RetryStrategy.h>
#include <foundation/httpclient_core/URL.h>

#include <exception>
#include <future>
#include <mutex>
#include <utility>

namespace foundation::httpclient_core {
namespace {

// The error of a future whose request is lost. Made before there is a request, and once: a promise that is
// destroyed makes its own, and ends the program where there is no memory for it.
const std::exception_ptr& brokenPromise() {
    // Never destroyed: requests may end while the process does.
    static const auto* const error = new std::exception_ptr(
        std::make_exception_ptr(std::future_error(std::future_errc::broken_promise)));
    return *error;
}

// Ends a request in the future of the caller. When it is destroyed uncalled, the future reports a broken
// promise.
class PromiseCompletionHandler {
public:
    PromiseCompletionHandler() : broken_(&brokenPromise()) {}
    PromiseCompletionHandler(PromiseCompletionHandler&& other) noexcept
        : promise_(std::move(other.promise_)), broken_(std::exchange(other.broken_, nullptr)) {}
    PromiseCompletionHandler(const PromiseCompletionHandler&) = delete;
    PromiseCompletionHandler& operator=(const PromiseCompletionHandler&) = delete;
    PromiseCompletionHandler& operator=(PromiseCompletionHandler&&) = delete;
    ~PromiseCompletionHandler() {
        if (broken_ != nullptr) {
            promise_.set_exception(*broken_);
        }
    }

    std::future<HttpResponse> future() { return promise_.get_future(); }

    void operator()(HttpRequest&& /*request*/,
                    HttpResponse&& response,
                    std::exception_ptr&& error) {
        if (error != nullptr) {
            promise_.set_exception(std::move(error));
        } else {
            promise_.set_value(std::move(response));
        }
        broken_ = nullptr;
    }

private:
    std::promise<HttpResponse> promise_;
    const std::exception_ptr* broken_;  // Null once the promise was kept, or moved away.
};

}  // namespace

HttpClient::HttpClient() {
    rememberPromptSettings();
}

HttpClient::~HttpClient() = default;

HttpResponse HttpClient::makeRequest(HttpRequest request) {
    validateRequest(request);
    const URL initialURL = request.getURL();
    HttpResponse response(request);
    std::exception_ptr error;
    const ClientConfiguration effective = effectiveConfiguration(request);
    // That of the copy, so one object for all attempts.
    const RetryStrategy& retry = effective.retryStrategy_;
    int total = 0;
    int consecutive = 0;
    bool freshRequestMade = false;
    do {
        if (consecutive > 0 && isSuccess(response)) {
            consecutive = 0;
        }
        if (total > 0) {
            prepareForRetry(request, response, effective.resumeOnRetry(), initialURL,
                            freshRequestMade);
        }
        removeMultipartContentType(request);
        try {
            sendRequest(request, response);
            error = nullptr;
        } catch (...) {
            error = std::current_exception();
            HCC_LOG_CAUGHT();
        }
        ++total;
        ++consecutive;
        // Deliberate: asked after every attempt, not only after a 407. A strategy may end a request by
        // throwing, whatever the response is.
        if (effective.proxyAuthenticationStrategy()(response, error, total)) {
            handleProxyAuthenticationRequired(request, response, error);
        }
    } while (retry(request, response, error, total, consecutive));
    if (error != nullptr) {
        std::rethrow_exception(error);
    }
    return response;
}

std::pair<std::future<HttpResponse>, unsigned long> HttpClient::makeAsyncRequest(
    HttpRequest request) {
    PromiseCompletionHandler handler;
    std::future<HttpResponse> future = handler.future();
    const unsigned long requestId =
        makeAsyncRequest(std::move(request), CompletionHandler(std::move(handler)));
    return {std::move(future), requestId};
}

unsigned long HttpClient::makeAsyncRequest(HttpRequest request, CompletionHandler handler) {
    validateRequest(request);
    URL initialURL = request.getURL();
    HttpResponse response(request);
    const unsigned long requestId = nextRequestId_++;
    ClientConfiguration effective = effectiveConfiguration(request);
    // Deliberate: before the first attempt only; the synchronous road does it before each. A retry
    // strategy of an asynchronous request may set a content type of its own.
    removeMultipartContentType(request);
    CompletionHandler retrying = retryCompletionHandler(
        std::move(handler), requestId, 0, 0, std::move(effective), std::move(initialURL), false);
    sendAsyncRequest(std::move(request), std::move(response), requestId, std::move(retrying));
    return requestId;
}

ClientConfiguration HttpClient::getClientConfiguration() const {
    const std::lock_guard lock(configurationMutex_);
    return configuration_;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the settings by value
void HttpClient::setClientConfiguration(ClientConfiguration configuration) {
    // Copied before and swapped in, so that a failure to copy changes nothing. What was stored is
    // destroyed after the lock is released: its callables may own objects that use the client.
    ClientConfiguration stored = configuration;
    const std::lock_guard lock(configurationMutex_);
    std::swap(configuration_, stored);
    rememberPromptSettings();
    configurationChanged(configuration);
}

void HttpClient::configurationChanged(const ClientConfiguration& /*newConfiguration*/) {}

bool HttpClient::useProxyCredentialProvider() const {
    return proxyCredentialProvider_;
}

ClientConfiguration HttpClient::effectiveConfiguration(const HttpRequest& request) const {
    return request.hasClientConfiguration() ? request.getClientConfiguration()
                                            : getClientConfiguration();
}

void HttpClient::rememberPromptSettings() {
    promptRetries_ = configuration_.proxyCredentialPromptNumRetries_;
    promptTimeoutMs_ = configuration_.credentialPromptTimeoutMs_;
}

}  // namespace foundation::httpclient_core
