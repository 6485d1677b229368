#include "engine/Worker.h"

#include "engine/Engine.h"
#include "engine/TransferMark.h"
#include "engine/WithMemory.h"

#include <algorithm>
#include <utility>

namespace foundation::httpclient_curl {

Worker::Worker(Engine& engine, long maxConnections)
    : engine_(engine), driver_(maxConnections), thread_([this] { run(); }) {}

Worker::~Worker() = default;

void Worker::run() {
    const TransferMark mark(engine_);
    for (;;) {
        const bool isDue = nextTimer_ <= Clock::now();
        if ((hasOrders_.exchange(false) || isDue) && !followOrders()) {
            return;
        }
        const std::vector<Exchange*>& ended = driver_.turn();
        if (!ended.empty()) {
            engine_.attemptsEnded(*this, takeOut(ended));
        }
        if (!hasOrders_) {
            driver_.wait(nextTimer_);
        }
    }
}

// False when the thread has to end.
bool Worker::followOrders() {
    Engine::WorkerOrders orders = engine_.ordersFor(*this);
    nextTimer_ = orders.nextTimer;
    if (orders.closeConnections) {
        driver_.closeConnections();
    }
    withMemory([this, &orders] {
        attempts_.reserve(attempts_.size() + orders.begin.size());
        driver_.makeRoom(attempts_.size() + orders.begin.size());
    });
    for (AttemptPointer& attempt : orders.begin) {
        attempts_.push_back(std::move(attempt));
        driver_.start(attempts_.back()->exchange);
    }
    return !orders.end;
}

std::vector<AttemptPointer> Worker::takeOut(const std::vector<Exchange*>& ended) {
    std::vector<AttemptPointer> taken;
    withMemory([&taken, &ended] { taken.reserve(ended.size()); });
    for (const Exchange* exchange : ended) {
        const auto place = std::find_if(
            attempts_.begin(), attempts_.end(),
            [exchange](const AttemptPointer& attempt) { return &attempt->exchange == exchange; });
        taken.push_back(std::move(*place));
        *place = std::move(attempts_.back());
        attempts_.pop_back();
    }
    return taken;
}

}  // namespace foundation::httpclient_curl
