#pragma once
#include "engine/AsyncAttempt.h"
#include "engine/Driver.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl {

class Engine;

/// Drives asynchronous exchanges, on one thread at a time. Where the caller's code runs on it (body
/// streams, stream factories, progress callbacks), all its exchanges wait. Between two turns the thread
/// may run handlers; when one of them does not return soon, another thread takes its place.
class Worker : public std::enable_shared_from_this<Worker> {
public:
    using Clock = Exchange::Clock;

    /// Starts the thread. The engine must outlive it.
    Worker(Engine& engine, long maxConnections);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    ~Worker();

    /// Waits for the first thread, which has ended or been replaced, unless called on it.
    void join();
    /// Under the lock of the engine: where the thread runs handlers for too long, has another one go on.
    /// Whether it was so.
    bool replaceLateThread(Clock::time_point now);

    /// The thread is to ask for its orders. To be followed by wake().
    void call() noexcept { hasOrders_ = true; }
    void wake() noexcept { driver_.wake(); }

    // Guarded by the lock of the engine.
    std::vector<AttemptPointer> inbox;  ///< Handed over and not yet begun.
    int load = 0;                       ///< Attempts handed over and not yet ended.
    bool closesConnections = false;     ///< Asked to drop idle connections when it can.
    bool hasEnded = false;              ///< Nobody drives it any more.

private:
    /// Since when the thread runs handlers; 0 while it drives. Shared with that thread, which may return
    /// when the worker is gone.
    using AwaySince = std::atomic<Clock::rep>;

    void run();
    bool takeTurn(std::vector<Exchange*>& ended);
    bool followOrders();
    std::vector<AttemptPointer> takeOut(const std::vector<Exchange*>& ended);

    Engine& engine_;
    std::atomic<bool> hasOrders_ = true;
    Exchange::Clock::time_point nextTimer_ = Exchange::Clock::time_point::max();
    Driver driver_;
    std::vector<AttemptPointer> attempts_;
    std::shared_ptr<AwaySince> awaySince_ = std::make_shared<AwaySince>(0);
    std::thread thread_;
};

}  // namespace foundation::httpclient_curl
