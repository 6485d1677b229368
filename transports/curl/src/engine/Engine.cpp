#include "engine/Engine.h"

#include "engine/TransferMark.h"
#include "engine/WithMemory.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <algorithm>
#include <exception>
#include <future>
#include <new>
#include <numeric>
#include <ostream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t maxIdleDrivers = 16;
constexpr int maxAttemptsWhileStopping = 8;
const char* const destroyedText = "The client is being destroyed";

std::exception_ptr cancelledError() {
    return std::make_exception_ptr(core::HttpRequestCancelledException());
}

// Ends the loop of the core's makeRequest, which only a throw between two attempts can: it prepares the
// response for the next attempt, and the callback of this response lets it do so no more.
void refuseNextAttempt(core::HttpResponse& response) {
    auto refuses = std::make_shared<bool>(false);
    core::HttpRequest request(core::HttpMethod::GET, core::URL(""), {});
    request.setPreRespCodeAndHeadersCallback([refuses] {
        if (*refuses) {
            throw core::HttpRequestFailedException(destroyedText);
        }
    });
    response = core::HttpResponse(request);
    // One that was never made would not be prepared.
    response.setResponseCodeAndReason(core::HttpResponseCode::ResponseNotReceived,
                                      "Response Not Received");
    *refuses = true;
}

}  // namespace

/// A driver and a place among the synchronous attempts, for the time of one.
class Engine::SyncLease {
public:
    SyncLease(Engine& engine, std::shared_ptr<RequestRecord> record) : engine_(engine) {
        const std::lock_guard lock(engine_.mutex_);
        if (engine_.stopping_) {
            record->cancelled = true;
            refusesMore_ = ++record->attemptsWhileStopping > maxAttemptsWhileStopping;
        }
        if (engine_.idleDrivers_.empty()) {
            driver_ = std::make_unique<Driver>(static_cast<long>(maxIdleDrivers));
        } else {
            // The one used last is the likeliest to have a connection that is alive.
            driver_ = std::move(engine_.idleDrivers_.back());
            engine_.idleDrivers_.pop_back();
        }
        engine_.syncSends_.push_back({std::move(record), driver_.get()});
    }
    SyncLease(const SyncLease&) = delete;
    SyncLease& operator=(const SyncLease&) = delete;
    ~SyncLease() {
        const std::lock_guard lock(engine_.mutex_);
        std::erase_if(engine_.syncSends_,
                      [this](const SyncSend& send) { return send.driver == driver_.get(); });
        if (engine_.idleDrivers_.size() < maxIdleDrivers) {
            engine_.idleDrivers_.push_back(std::move(driver_));
        }
        engine_.changed_.notify_all();
    }

    Driver& driver() noexcept { return *driver_; }
    /// Whether this is one attempt too many for a client that is being destroyed.
    bool refusesMore() const noexcept { return refusesMore_; }

private:
    Engine& engine_;
    bool refusesMore_ = false;
    std::unique_ptr<Driver> driver_;
};

/// Wakes the workers that were called, at its end: after the release of the lock, which they would only
/// run into.
class Engine::Wakeups {
public:
    Wakeups() = default;
    Wakeups(const Wakeups&) = delete;
    Wakeups& operator=(const Wakeups&) = delete;
    ~Wakeups() {
        for (const auto& worker : workers_) {
            worker->wake();
        }
    }

    void call(Worker& worker) noexcept {
        worker.call();
        try {
            workers_.push_back(worker.shared_from_this());
        } catch (const std::bad_alloc&) {
            worker.wake();
        }
    }

private:
    // Kept: once the lock is released, the request that was placed may end, and its handler the client.
    std::vector<std::shared_ptr<Worker>> workers_;
};

Engine::Engine(CurlClientOptions options) : options_(std::move(options)) {}
Engine::~Engine() = default;

Exchange::Shared Engine::shared() {
    return {.proxies = proxies_,
            .credentials = *credentials_,
            .proxyKnowledge = proxyKnowledge_,
            .shares = shares_,
            .sockets = sockets_,
            .options = options_};
}

void Engine::setLimits(int threads, int perThread) {
    Wakeups wakeups;
    const std::lock_guard lock(mutex_);
    maxWorkers_ = std::clamp(threads, 1, 64);
    maxPerWorker_ = std::clamp(perThread, 1, 256);
    if (!stopping_ && !workers_.empty()) {
        dispatch(wakeups);
    }
}

// ---- the synchronous road

void Engine::send(core::HttpRequest& request,
                  core::HttpResponse& response,
                  TransferSettings settings) {
    RequestScope* scope = RequestScope::current(*this);
    const std::shared_ptr<RequestRecord> record =
        scope != nullptr ? scope->record() : std::make_shared<RequestRecord>();
    const bool isAttempt = scope != nullptr && scope->owns(request, response);
    const TransferMark mark(*this);
    SyncLease lease(*this, record);
    Exchange exchange(request, response, std::move(settings), *record,
                      isAttempt && record->history.isAttended ? &record->history : nullptr,
                      shared());
    lease.driver().start(exchange);
    while (lease.driver().turn().empty()) {
        lease.driver().wait(Clock::time_point::max());
    }
    if (lease.refusesMore() && isAttempt && !record->id.has_value()) {
        refuseNextAttempt(response);
    }
    if (std::exception_ptr error = exchange.takeError()) {
        std::rethrow_exception(std::move(error));
    }
}

std::shared_ptr<RequestRecord> Engine::beginSync() {
    auto record = std::make_shared<RequestRecord>();
    record->history.isAttended = true;
    const std::lock_guard lock(mutex_);
    record->cancelled = stopping_;
    syncRecords_.push_back(record);
    return record;
}

void Engine::endSync(const std::shared_ptr<RequestRecord>& record) {
    const std::lock_guard lock(mutex_);
    std::erase(syncRecords_, record);
    changed_.notify_all();
}

void Engine::waitFor(const RequestRecord& record, std::chrono::milliseconds delay) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, std::min(delay, longestWait),
                      [&record] { return record.cancelled.load(); });
}

// ---- the asynchronous road

void Engine::sendAsync(core::HttpRequest request,
                       core::HttpResponse response,
                       unsigned long id,
                       core::CompletionHandler handler,
                       TransferSettings settings) {
    std::shared_ptr<RequestRecord> record;
    {
        const std::lock_guard lock(mutex_);
        if (workers_.empty() && !stopping_) {
            freeWorker();
            executor_->prepare();
        }
        record = useRecord(id);
    }
    try {
        submit(std::make_unique<AsyncAttempt>(std::move(request), std::move(response),
                                              std::move(handler), record, std::move(settings),
                                              shared()));
    } catch (...) {
        // Without memory: the handler is gone, and nobody else knows of the attempt.
        releaseRecord(record);
        throw;
    }
}

void Engine::submit(AttemptPointer attempt) {
    RequestScope* scope = RequestScope::current(*this);
    std::chrono::milliseconds delay(0);
    if (scope != nullptr && scope->record() == attempt->record) {
        delay = scope->takeDelay();
    }
    {
        Wakeups wakeups;
        const std::lock_guard lock(mutex_);
        if (!stopping_ && !attempt->record->cancelled) {
            if (delay > std::chrono::milliseconds::zero()) {
                const auto entry = backingOff_.emplace(Clock::now() + delay, std::move(attempt));
                if (entry == backingOff_.begin()) {
                    callWorkers(wakeups);
                }
            } else {
                place(std::move(attempt));
                dispatch(wakeups);
            }
            return;
        }
    }
    post(completion(std::move(attempt), cancelledError()));
}

std::shared_ptr<RequestRecord> Engine::useRecord(unsigned long id) {
    auto entry = records_.find(id);
    if (entry == records_.end()) {
        const RequestScope* scope = RequestScope::current(*this);
        const bool isStarting = scope != nullptr && scope->record()->history.isStarting;
        entry =
            records_.emplace(id, isStarting ? scope->record() : std::make_shared<RequestRecord>())
                .first;
        RequestRecord& made = *entry->second;
        made.history.isStarting = false;
        made.id = id;
        made.sequence = nextSequence_++;
    }
    const std::shared_ptr<RequestRecord>& record = entry->second;
    if (stopping_ && ++record->attemptsWhileStopping > maxAttemptsWhileStopping) {
        throw core::HttpRequestFailedException(destroyedText);
    }
    ++record->uses;
    return record;
}

void Engine::releaseRecord(const std::shared_ptr<RequestRecord>& record) {
    const std::lock_guard lock(mutex_);
    if (--record->uses > 0) {
        return;
    }
    forget(record);
}

void Engine::forget(const std::shared_ptr<RequestRecord>& record) {
    const auto entry = records_.find(record->id.value_or(0));
    if (entry != records_.end() && entry->second == record) {
        records_.erase(entry);
    }
}

void Engine::deliveryBegins() {
    const RequestScope* scope = RequestScope::current(*this);
    if (scope != nullptr) {
        scope->record()->history.isDelivered = true;
        const std::lock_guard lock(mutex_);
        forget(scope->record());
    }
}

// Spreads before it packs: a body stream that blocks holds up every exchange of its worker.
Worker* Engine::freeWorker() {
    Worker* best = nullptr;
    for (const auto& worker : workers_) {
        if (worker->load == 0) {
            return worker.get();
        }
        if (worker->load < maxPerWorker_ && (best == nullptr || worker->load < best->load)) {
            best = worker.get();
        }
    }
    if (workers_.size() < static_cast<std::size_t>(maxWorkers_)) {
        // A thread that was made has its place.
        workers_.reserve(workers_.size() + 1);
        try {
            workers_.push_back(std::make_shared<Worker>(*this, std::max(16, 4 * maxPerWorker_)));
            return workers_.back().get();
        } catch (const std::system_error&) {
            // The threads that exist do the work.
            if (workers_.empty()) {
                throw;
            }
        }
    }
    return best;
}

// A retry takes the place that its request had.
void Engine::place(AttemptPointer attempt) {
    const std::uint64_t sequence = attempt->record->sequence;
    queue_.emplace(sequence, std::move(attempt));
}

// What is queued has its place: a lack of memory ends no request, but a worker is asked to try again.
void Engine::dispatch(Wakeups& wakeups) noexcept {
    try {
        placeQueued(wakeups);
    } catch (const std::exception&) {
        if (!workers_.empty()) {
            wakeups.call(*workers_.front());
        }
    }
}

void Engine::placeQueued(Wakeups& wakeups) {
    while (!queue_.empty()) {
        const int underWay =
            std::accumulate(workers_.begin(), workers_.end(), 0,
                            [](int sum, const auto& worker) { return sum + worker->load; });
        Worker* worker = underWay < maxWorkers_ * maxPerWorker_ ? freeWorker() : nullptr;
        if (worker == nullptr) {
            return;
        }
        worker->inbox.push_back(std::move(queue_.begin()->second));
        queue_.erase(queue_.begin());
        ++worker->load;
        wakeups.call(*worker);
    }
}

void Engine::releaseDue(Clock::time_point now, Wakeups& wakeups) {
    while (!backingOff_.empty() && backingOff_.begin()->first <= now) {
        AttemptPointer attempt = std::move(backingOff_.begin()->second);
        backingOff_.erase(backingOff_.begin());
        place(std::move(attempt));
    }
    dispatch(wakeups);
}

Engine::WorkerOrders Engine::ordersFor(Worker& worker) {
    Wakeups wakeups;
    const std::lock_guard lock(mutex_);
    releaseDue(Clock::now(), wakeups);
    WorkerOrders orders;
    if (worker.load == static_cast<int>(worker.inbox.size())) {
        // Nothing of it has begun, so the worker can drop its connections first.
        orders.closeConnections = std::exchange(worker.closesConnections, false);
    }
    orders.end = stopping_ && worker.load == 0;
    orders.begin = std::exchange(worker.inbox, {});
    if (!backingOff_.empty()) {
        orders.nextTimer = backingOff_.begin()->first;
    }
    return orders;
}

void Engine::attemptsEnded(Worker& worker, std::vector<AttemptPointer> attempts) {
    {
        Wakeups wakeups;
        const std::lock_guard lock(mutex_);
        worker.load -= static_cast<int>(attempts.size());
        dispatch(wakeups);
        if (stopping_ || worker.closesConnections) {
            worker.call();
        }
    }
    std::vector<Executor::Task> tasks;
    withMemory([&tasks, &attempts] { tasks.reserve(attempts.size()); });
    for (AttemptPointer& attempt : attempts) {
        const std::exception_ptr error = attempt->exchange.takeError();
        const auto shared =
            withMemory([&attempt] { return std::shared_ptr<AsyncAttempt>(std::move(attempt)); });
        withMemory([this, &tasks, &shared, &error] { tasks.push_back(completion(shared, error)); });
    }
    executor_->offer(std::move(tasks));
}

Executor::Task Engine::completion(std::shared_ptr<AsyncAttempt> attempt, std::exception_ptr error) {
    return [self = shared_from_this(), attempt = std::move(attempt),
            error = std::move(error)]() mutable { self->runHandler(*attempt, std::move(error)); };
}

void Engine::runHandler(AsyncAttempt& attempt, std::exception_ptr error) {
    const std::shared_ptr<RequestRecord> record = attempt.record;
    {
        RequestScope scope(*this, record);
        // The wait before the next attempt is kept by a timer of the workers, not by this thread.
        const core::detail::BackoffScope backoff([&scope](std::chrono::milliseconds delay) {
            scope.addDelay(delay);
            return true;
        });
        core::CompletionHandler handler = std::move(attempt.handler);
        try {
            handler(std::move(attempt.request), std::move(attempt.response), std::move(error));
        } catch (const std::future_error&) {  // NOLINT(bugprone-empty-catch): see below
            // A handler that was moved from or called before has nobody to tell.
        }
    }
    releaseRecord(record);
}

void Engine::post(Executor::Task task) {
    // Held here: the task may end the engine before this returns.
    const std::shared_ptr<Executor> executor = executor_;
    executor->post(std::move(task));
}

// ---- cancellation and the end

void Engine::callWorkers(Wakeups& wakeups) {
    for (const auto& worker : workers_) {
        wakeups.call(*worker);
    }
}

void Engine::wakeAll(Wakeups& wakeups) {
    callWorkers(wakeups);
    for (const SyncSend& send : syncSends_) {
        send.driver->wake();
    }
    changed_.notify_all();
}

std::vector<AttemptPointer> Engine::takeWaiting(const RequestRecord* record) {
    std::vector<AttemptPointer> taken;
    const auto takeFrom = [&](auto& waiting) {
        for (auto entry = waiting.begin(); entry != waiting.end();) {
            if (record == nullptr || entry->second->record.get() == record) {
                taken.push_back(std::move(entry->second));
                entry = waiting.erase(entry);
            } else {
                ++entry;
            }
        }
    };
    takeFrom(queue_);
    takeFrom(backingOff_);
    return taken;
}

void Engine::completeCancelled(std::vector<AttemptPointer> attempts) {
    std::vector<Executor::Task> tasks;
    tasks.reserve(attempts.size());
    for (AttemptPointer& attempt : attempts) {
        tasks.push_back(completion(std::move(attempt), cancelledError()));
    }
    // Held here: a task may end the engine before this returns.
    const std::shared_ptr<Executor> executor = executor_;
    executor->post(std::move(tasks));
}

bool Engine::cancel(unsigned long id) {
    std::vector<AttemptPointer> waiting;
    {
        Wakeups wakeups;
        const std::lock_guard lock(mutex_);
        const auto entry = records_.find(id);
        if (entry == records_.end()) {
            return false;
        }
        entry->second->cancelled = true;
        waiting = takeWaiting(entry->second.get());
        wakeAll(wakeups);
    }
    completeCancelled(std::move(waiting));
    return true;
}

void Engine::cancelAll() {
    std::vector<AttemptPointer> waiting;
    {
        Wakeups wakeups;
        const std::lock_guard lock(mutex_);
        for (const auto& [id, record] : records_) {
            record->cancelled = true;
        }
        for (const auto& record : syncRecords_) {
            record->cancelled = true;
        }
        for (const SyncSend& send : syncSends_) {
            send.record->cancelled = true;
        }
        waiting = takeWaiting(nullptr);
        wakeAll(wakeups);
    }
    completeCancelled(std::move(waiting));
}

void Engine::closeIdleConnections() {
    std::vector<std::unique_ptr<Driver>> dropped;
    Wakeups wakeups;
    const std::lock_guard lock(mutex_);
    dropped.swap(idleDrivers_);
    for (const auto& worker : workers_) {
        worker->closesConnections = true;
    }
    wakeAll(wakeups);
}

void Engine::requireOutside() const noexcept {
    if (!TransferMark::isSet(*this) && !RequestScope::isServing(*this)) {
        return;
    }
    static constexpr const char* text =
        "A client was destroyed inside one of its own requests, by a stream, callback, strategy or "
        "prompt.";
    core::coreChannel().log(core::SEVERITY_ERROR, [](std::ostream& os) { os << text; });
    // In flight, so that whatever tells of the end of the program can say why.
    try {
        throw std::logic_error(text);
    } catch (const std::logic_error&) {
        std::terminate();
    }
}

void Engine::shutdown() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    cancelAll();
    // No worker is added any more, so the list may be walked without the lock.
    for (const auto& worker : workers_) {
        worker->join();
    }
    executor_->drain();
    {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return syncRecords_.empty() && syncSends_.empty(); });
    }
    {
        const std::lock_guard lock(mutex_);
        workers_.clear();
    }
    executor_->stop();
}

}  // namespace foundation::httpclient_curl
