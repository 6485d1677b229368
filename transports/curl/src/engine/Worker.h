#pragma once
#include "engine/AsyncAttempt.h"
#include "engine/Driver.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl {

class Engine;

/// Drives asynchronous exchanges on a thread of its own. Where the caller's code runs on it (body
/// streams, stream factories, progress callbacks), all its exchanges wait; handlers never do.
class Worker : public std::enable_shared_from_this<Worker> {
public:
    using Clock = Exchange::Clock;

    /// Starts the thread. The engine must outlive it.
    Worker(Engine& engine, long maxConnections);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();

    /// Waits for the thread, whose orders are to end.
    void join() { thread_.join(); }

    /// The thread is to ask for its orders. To be followed by wake().
    void call() noexcept { hasOrders_ = true; }
    void wake() noexcept { driver_.wake(); }

    // Guarded by the lock of the engine.
    std::vector<AttemptPointer> inbox;  ///< Handed over and not yet begun.
    int load = 0;                       ///< Attempts handed over and not yet ended.
    bool closesConnections = false;     ///< Asked to drop idle connections when it can.

private:
    void run();
    bool followOrders();
    std::vector<AttemptPointer> takeOut(const std::vector<Exchange*>& ended);

    Engine& engine_;
    std::atomic<bool> hasOrders_ = true;
    Clock::time_point nextTimer_ = Clock::time_point::max();
    Driver driver_;
    std::vector<AttemptPointer> attempts_;
    std::thread thread_;
};

}  // namespace foundation::httpclient_curl
