#pragma once
#include "AsyncAttempt.h"
#include "Driver.h"

#include <atomic>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl {

class Engine;

/// One thread that drives asynchronous exchanges. Where the caller's code runs on it (body streams,
/// stream factories, progress callbacks), all its exchanges wait.
class Worker {
public:
    /// Starts the thread. The engine must outlive it.
    Worker(Engine& engine, long maxConnections);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();

    /// Waits for the thread, which the engine must have told to end.
    void join() { thread_.join(); }

    /// The thread is to ask for its orders. To be followed by wake().
    void call() noexcept { hasOrders_ = true; }
    void wake() noexcept { driver_.wake(); }
    bool runsHere() const noexcept { return thread_.get_id() == std::this_thread::get_id(); }

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
    Exchange::Clock::time_point nextTimer_ = Exchange::Clock::time_point::max();
    Driver driver_;
    std::vector<AttemptPointer> attempts_;
    std::thread thread_;
};

}  // namespace foundation::httpclient_curl
