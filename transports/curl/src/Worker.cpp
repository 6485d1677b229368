#include "Worker.h"

#include "Engine.h"

#include <algorithm>
#include <utility>

namespace foundation::httpclient_curl {

Worker::Worker(Engine& engine, long maxConnections)
    : engine_(engine), driver_(maxConnections), thread_([this] { run(); }) {}

Worker::~Worker() = default;

void Worker::run() {
    for (;;) {
        Engine::WorkerOrders orders = engine_.ordersFor(*this);
        if (orders.end) {
            return;
        }
        if (orders.closeConnections) {
            driver_.closeConnections();
        }
        for (AttemptPointer& attempt : orders.begin) {
            attempts_.push_back(std::move(attempt));
            driver_.start(attempts_.back()->exchange);
        }
        const std::vector<Exchange*> ended = driver_.turn();
        for (const Exchange* exchange : ended) {
            engine_.attemptEnded(*this, takeOut(exchange));
        }
        if (ended.empty()) {
            driver_.wait(orders.nextTimer);
        }
    }
}

AttemptPointer Worker::takeOut(const Exchange* exchange) {
    const auto place = std::find_if(
        attempts_.begin(), attempts_.end(),
        [exchange](const AttemptPointer& attempt) { return &attempt->exchange == exchange; });
    AttemptPointer attempt = std::move(*place);
    *place = std::move(attempts_.back());
    attempts_.pop_back();
    return attempt;
}

}  // namespace foundation::httpclient_curl
