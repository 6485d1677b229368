#include "client/GuardedHandler.h"

#include "resume/ResumeMark.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>

#include <chrono>
#include <thread>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

bool isCancellation(const std::exception_ptr& error) {
    try {
        if (error != nullptr) {
            std::rethrow_exception(error);
        }
    } catch (const core::HttpRequestCancelledException&) {
        return true;
    } catch (...) {  // NOLINT(bugprone-empty-catch): every other error is none
    }
    return false;
}

// A request that is cancelled while the user is asked still holds the proxy's refusal.
void settleCancelled(core::HttpResponse& response, const std::exception_ptr& error) {
    if (response.getResponseCode() != core::HttpResponseCode::ProxyAuthenticationRequired ||
        !isCancellation(error)) {
        return;
    }
    try {
        response.setResponseCodeAndReason(core::HttpResponseCode::RequestNotMade,
                                          "Request Not Made");
        response.setHeaders({});
    } catch (...) {  // NOLINT(bugprone-empty-catch): the caller's callback; `error` says more
    }
}

}  // namespace

Delivery::Delivery(std::shared_ptr<Engine> engine, const core::HttpRequest& request)
    : engine_(std::move(engine)), method_(request.getHttpMethod()), url_(request.getURL()) {}

void Delivery::requestStarted() {
    std::shared_ptr<core::CompletionHandler> handler;
    {
        const std::lock_guard lock(mutex_);
        started_ = true;
        handler = std::move(dropped_);
    }
    if (handler != nullptr) {
        callLate(std::move(handler));
    }
}

void Delivery::handlerDropped(std::shared_ptr<core::CompletionHandler> handler) noexcept {
    {
        const std::lock_guard lock(mutex_);
        if (!started_) {
            dropped_ = std::move(handler);
            return;
        }
    }
    // Where memory ran out it may come back.
    constexpr int mostTries = 100;
    for (int tries = 0; tries < mostTries; ++tries) {
        try {
            callLate(handler);
            return;
        } catch (...) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
}

void Delivery::callLate(std::shared_ptr<core::CompletionHandler> handler) {
    // Not here: this may run inside a destructor while an exception is on its way.
    engine_->post([handler = std::move(handler), method = method_, url = url_] {
        (*handler)(core::HttpRequest(method, url, {}), core::HttpResponse(),
                   std::make_exception_ptr(
                       core::HttpRequestFailedException("Request abandoned before completion")));
    });
}

GuardedHandler::GuardedHandler(core::CompletionHandler handler, std::shared_ptr<Delivery> delivery)
    : handler_(std::make_shared<core::CompletionHandler>(std::move(handler))),
      delivery_(std::move(delivery)) {}

GuardedHandler::~GuardedHandler() {
    if (handler_ != nullptr) {
        delivery_->handlerDropped(std::move(handler_));
    }
}

void GuardedHandler::operator()(core::HttpRequest request,
                                core::HttpResponse response,
                                std::exception_ptr error) {
    const std::shared_ptr<core::CompletionHandler> handler = std::move(handler_);
    settleCancelled(response, error);
    if (RequestHistory* history = RequestScope::history()) {
        // No strategy is asked any more, and the error is the caller's alone.
        history->lastingFailure = nullptr;
        try {
            if (history->held.has_value()) {
                history->held->deliverTo(response);
            }
        } catch (...) {
            error = error == nullptr ? std::current_exception() : error;
        }
    }
    delivery_->engine().deliveryBegins();
    try {
        // Of use between attempts only.
        ResumeMark::dropFrom(request);
    } catch (...) {
        error = error == nullptr ? std::current_exception() : error;
    }
    (*handler)(std::move(request), std::move(response), std::move(error));
}

}  // namespace foundation::httpclient_curl
