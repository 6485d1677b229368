#pragma once
#include "connection/CurlTypes.h"
#include "exchange/Exchange.h"

#include <atomic>
#include <chrono>
#include <mutex>
#include <vector>

namespace foundation::httpclient_curl {

/// Moves the bytes of any number of exchanges on one thread, with the connections that they leave
/// behind. Of its functions only wake() may be called from other threads.
class Driver {
public:
    /// Keeps up to this many idle connections.
    explicit Driver(long maxConnections);
    Driver(const Driver&) = delete;
    Driver& operator=(const Driver&) = delete;
    ~Driver();

    /// The exchange is driven until turn() returns it; it must live until then.
    void start(Exchange& exchange);
    /// Does what can be done without waiting. Returns the exchanges that ended.
    const std::vector<Exchange*>& turn();
    /// Makes room for so many exchanges at once. Throws std::bad_alloc; within that room nothing else does.
    void makeRoom(std::size_t exchanges);
    /// Waits for the network, for wake(), or until an exchange or `latest` asks for a turn.
    void wait(Exchange::Clock::time_point latest);
    /// Ends the wait of the moment, or the next one. From any thread. Costs a system call only when the
    /// driver waits.
    void wake() noexcept;
    /// Drops the idle connections. Only while no exchange is driven.
    void closeConnections();

private:
    enum class Rest { None, Waiting, Called };

    MultiHandle makeMulti() const;
    void end(Exchange& exchange, CURLcode code);
    void add(Exchange& exchange);

    long maxConnections_;
    std::mutex mutex_;  ///< Guards the replacement of the handle against wake().
    MultiHandle multi_;
    std::atomic<Rest> rest_ = Rest::None;
    std::atomic<bool> isDeaf_ = false;  ///< A call got lost, and so may the next.
    std::vector<Exchange*> active_;
    std::vector<Exchange*> ended_;
    std::vector<Exchange*> taken_;  ///< What the last turn gave out.
};

}  // namespace foundation::httpclient_curl
