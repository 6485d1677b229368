#include "engine/Worker.h"

#include "engine/Engine.h"
#include "engine/TransferMark.h"

#include <algorithm>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::chrono::milliseconds longestAbsence(10);

}  // namespace

Worker::Worker(Engine& engine, long maxConnections)
    : engine_(engine), driver_(maxConnections), thread_([this] { run(); }) {}

Worker::~Worker() = default;

void Worker::join() {
    if (thread_.get_id() == std::this_thread::get_id()) {
        thread_.detach();
    } else {
        thread_.join();
    }
}

bool Worker::replaceLateThread(Clock::time_point now) {
    Clock::rep since = *awaySince_;
    if (since == 0 || now.time_since_epoch() - Clock::duration(since) < longestAbsence) {
        return false;
    }
    engine_.executor()->postUrgent([this, awaySince = awaySince_, since]() mutable {
        // Unless the thread has come back meanwhile.
        if (awaySince->compare_exchange_strong(since, 0)) {
            run();
        }
    });
    return true;
}

void Worker::run() {
    // Kept here: when handlers end the client, the worker may be gone when they return.
    const std::shared_ptr<AwaySince> awaySince = awaySince_;
    for (;;) {
        std::vector<Exchange*> ended;
        if (!takeTurn(ended)) {
            engine_.workerEnds(*this);
            return;
        }
        if (!ended.empty()) {
            // Held here: a handler may end the engine.
            const std::shared_ptr<Executor> executor = engine_.executor();
            std::vector<Executor::Task> handlers = engine_.attemptsEnded(*this, takeOut(ended));
            Clock::rep now = Clock::now().time_since_epoch().count();
            *awaySince = now;
            // From here on another thread may drive this worker.
            executor->runOrPost(std::move(handlers));
            if (!awaySince->compare_exchange_strong(now, 0)) {
                return;
            }
        }
        if (!hasOrders_) {
            driver_.wait(nextTimer_);
        }
    }
}

// False when the thread has to end.
bool Worker::takeTurn(std::vector<Exchange*>& ended) {
    const TransferMark mark(engine_);
    const bool isDue = nextTimer_ <= Clock::now();
    if ((hasOrders_.exchange(false) || isDue) && !followOrders()) {
        return false;
    }
    ended = driver_.turn();
    return true;
}

// False when the thread has to end.
bool Worker::followOrders() {
    Engine::WorkerOrders orders = engine_.ordersFor(*this);
    nextTimer_ = orders.nextTimer;
    if (orders.closeConnections) {
        driver_.closeConnections();
    }
    for (AttemptPointer& attempt : orders.begin) {
        attempts_.push_back(std::move(attempt));
        driver_.start(attempts_.back()->exchange);
    }
    return !orders.end;
}

std::vector<AttemptPointer> Worker::takeOut(const std::vector<Exchange*>& ended) {
    std::vector<AttemptPointer> taken;
    taken.reserve(ended.size());
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
