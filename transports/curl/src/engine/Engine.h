#pragma once
#include "connection/ConnectionSockets.h"
#include "connection/TransferShares.h"
#include "engine/AsyncAttempt.h"
#include "engine/Driver.h"
#include "engine/Executor.h"
#include "engine/RequestRecord.h"
#include "engine/Worker.h"
#include "proxy/CredentialStore.h"
#include "proxy/ProxyKnowledge.h"
#include "proxy/ProxyResolver.h"

#include <foundation/httpclient_curl/CurlClientOptions.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace foundation::httpclient_curl {

/// The inside of one client: the queue and the workers of the asynchronous road, the connections of the
/// synchronous one, the records of the requests in being, and the threads of the handlers. Lives until
/// shutdown() is over and the last handler that runs has returned. Thread-safe.
class Engine : public std::enable_shared_from_this<Engine> {
public:
    using Clock = Exchange::Clock;

    explicit Engine(CurlClientOptions options);
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;
    ~Engine();

    const CurlClientOptions& options() const noexcept { return options_; }
    /// How many attempts are under way at once: threads times attempts for each.
    void setLimits(int threads, int perThread);
    const std::shared_ptr<CredentialStore>& credentials() const noexcept { return credentials_; }

    /// Runs one attempt on the calling thread. Throws what it ends with.
    void send(core::HttpRequest& request, core::HttpResponse& response, TransferSettings settings);
    /// Starts one attempt; its handler runs on a thread of the executor. Throws only while the client
    /// is destroyed, when a request does not stop being sent again.
    void sendAsync(core::HttpRequest request,
                   core::HttpResponse response,
                   unsigned long id,
                   core::CompletionHandler handler,
                   TransferSettings settings);
    /// Runs the task on a thread where handlers run.
    void post(Executor::Task task);

    bool cancel(unsigned long id);
    void cancelAll();
    void closeIdleConnections();
    /// Ends the program where the calling thread is inside a request of this engine, which would go on
    /// with what is destroyed, or be waited for without end.
    void requireOutside() const noexcept;
    /// Ends everything: every handler has run when it returns, but for one that it is called from.
    void shutdown();

    /// A synchronous request begins and ends.
    std::shared_ptr<RequestRecord> beginSync();
    void endSync(const std::shared_ptr<RequestRecord>& record);
    /// Waits unless the request is cancelled.
    void waitFor(const RequestRecord& record, std::chrono::milliseconds delay);
    /// The request of the calling thread is about to reach its caller: it cannot be cancelled any more.
    void deliveryBegins();

    // For workers.
    struct WorkerOrders {
        std::vector<AttemptPointer> begin;
        Clock::time_point nextTimer = Clock::time_point::max();
        bool closeConnections = false;
        bool end = false;
    };
    WorkerOrders ordersFor(Worker& worker);
    /// The worker has places again, and the handlers of these attempts can run.
    void attemptsEnded(Worker& worker, std::vector<AttemptPointer> attempts);

private:
    using Records = std::unordered_map<unsigned long, std::shared_ptr<RequestRecord>>;
    /// A synchronous attempt under way.
    struct SyncSend {
        std::shared_ptr<RequestRecord> record;
        Driver* driver;
    };
    class SyncLease;
    class Wakeups;

    Exchange::Shared shared();
    std::shared_ptr<RequestRecord> useRecord(unsigned long id);
    void releaseRecord(const std::shared_ptr<RequestRecord>& record);
    void forget(const std::shared_ptr<RequestRecord>& record);
    void place(AttemptPointer attempt);
    void submit(AttemptPointer attempt);
    void dispatch(Wakeups& wakeups) noexcept;
    void placeQueued(Wakeups& wakeups);
    Worker* freeWorker();
    void releaseDue(Clock::time_point now, Wakeups& wakeups);
    void callWorkers(Wakeups& wakeups);
    void wakeAll(Wakeups& wakeups);
    Executor::Task completion(std::shared_ptr<AsyncAttempt> attempt, std::exception_ptr error);
    void runHandler(AsyncAttempt& attempt, std::exception_ptr error);
    std::vector<AttemptPointer> takeWaiting(const RequestRecord* record);
    void completeCancelled(std::vector<AttemptPointer> attempts);

    const CurlClientOptions options_;
    const ProxyResolver proxies_;
    const std::shared_ptr<CredentialStore> credentials_ = std::make_shared<CredentialStore>();
    ProxyKnowledge proxyKnowledge_;
    const TransferShares shares_;  ///< Outlives all that transfers.
    ConnectionSockets sockets_;    ///< Outlives all connections.
    const std::shared_ptr<Executor> executor_ = std::make_shared<Executor>();

    std::mutex mutex_;  ///< Guards all that follows.
    std::condition_variable changed_;
    bool stopping_ = false;
    int maxWorkers_ = 4;
    int maxPerWorker_ = 2;
    std::uint64_t nextSequence_ = 0;
    Records records_;
    std::vector<std::shared_ptr<RequestRecord>> syncRecords_;
    std::vector<SyncSend> syncSends_;
    std::multimap<std::uint64_t, AttemptPointer> queue_;           ///< By sequence.
    std::multimap<Clock::time_point, AttemptPointer> backingOff_;  ///< By due time.
    std::vector<std::unique_ptr<Driver>> idleDrivers_;             ///< Of the synchronous road.
    std::vector<std::shared_ptr<Worker>> workers_;
};

}  // namespace foundation::httpclient_curl
