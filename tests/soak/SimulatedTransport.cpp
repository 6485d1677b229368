#include "tests/soak/SimulatedTransport.h"

#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <stdexcept>
#include <tuple>
#include <utility>

namespace foundation::httpclient_core::testing {

void SimulatedTransport::schedule(VirtualTime time, std::function<void()> action) const {
    events_.push({time, made_++, std::make_shared<std::function<void()>>(std::move(action))});
}

void SimulatedTransport::at(VirtualTime time, std::function<void()> action) {
    schedule(time, std::move(action));
}

void SimulatedTransport::run() {
    while (!events_.empty()) {
        const Event event = events_.top();
        events_.pop();
        now_ = event.time;
        (*event.action)();
    }
}

void SimulatedTransport::sendRequest(HttpRequest& /*request*/, HttpResponse& /*response*/) const {
    throw std::logic_error("a simulation has no thread to wait on");
}

void SimulatedTransport::sendAsyncRequest(HttpRequest request,
                                          HttpResponse response,
                                          unsigned long /*requestId*/,
                                          CompletionHandler handler) const {
    auto exchange = std::make_shared<Exchange>(
        Exchange{std::move(request), std::move(response), std::move(handler), {}});
    schedule(now_ + std::exchange(wait_, VirtualTime(0)), [this, exchange] { begin(exchange); });
}

void SimulatedTransport::begin(const std::shared_ptr<Exchange>& exchange) const {
    exchange->reply = answering_(now_);
    schedule(now_ + exchange->reply.latency, [this, exchange] { end(*exchange); });
}

void SimulatedTransport::end(Exchange& exchange) const {
    std::exception_ptr error;
    if (exchange.reply.isTimeout) {
        exchange.response.setResponseCodeAndReason(HttpResponseCode::ResponseNotReceived,
                                                   "Response Not Received");
        error = std::make_exception_ptr(HttpRequestTimeoutException());
    } else {
        exchange.response.setResponseCodeAndReason(exchange.reply.code, "Simulated");
        if (exchange.reply.retryAfterSeconds > 0) {
            exchange.response.setHeaders(
                HttpHeaders({{"Retry-After", std::to_string(exchange.reply.retryAfterSeconds)}}));
        }
    }
    const detail::BackoffScope scope([this](std::chrono::milliseconds delay) {
        wait_ = delay;
        return true;
    });
    exchange.handler(std::move(exchange.request), std::move(exchange.response), std::move(error));
    wait_ = VirtualTime(0);
}

}  // namespace foundation::httpclient_core::testing
