#pragma once
#include "engine/RequestHistory.h"

#include <foundation/httpclient_core/Fwd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

namespace foundation::httpclient_curl {

class Engine;

/// What the engine remembers of one logical request over its attempts.
struct RequestRecord {
    std::optional<unsigned long> id;     ///< None for a synchronous request.
    std::atomic<bool> cancelled{false};  ///< For good: every later attempt ends at once.
    std::uint64_t sequence = 0;          ///< Place in the queue; a retry keeps it.
    int uses = 0;                        ///< Attempts and handlers in being. Guarded by the engine.
    int attemptsWhileStopping = 0;       ///< Guarded by the engine.
    RequestHistory history;
};

/// A longer wait would overflow the clocks.
constexpr std::chrono::milliseconds longestWait = std::chrono::hours(24 * 365 * 100);

/// Tells code that runs below a handler or a synchronous call which request it works for. One per
/// thread is in force at a time, the innermost.
class RequestScope {
public:
    RequestScope(const Engine& engine, std::shared_ptr<RequestRecord> record);
    RequestScope(const RequestScope&) = delete;
    RequestScope& operator=(const RequestScope&) = delete;
    ~RequestScope();

    /// The innermost scope of the calling thread if it belongs to this engine, else null.
    static RequestScope* current(const Engine& engine);
    /// The history of the request that the calling thread works for, whatever its engine; null where
    /// there is none or its caller has the response already.
    static RequestHistory* history();

    /// Whether the calling thread works for a request of this engine whose caller does not have the
    /// response yet.
    static bool isServing(const Engine& engine);

    /// Whether this synchronous attempt is one of the request itself, and not of code that runs between
    /// its attempts.
    bool owns(const httpclient_core::HttpRequest& request,
              const httpclient_core::HttpResponse& response);
    const std::shared_ptr<RequestRecord>& record() const noexcept { return record_; }
    /// Adds to the wait before the next attempt of the request.
    void addDelay(std::chrono::milliseconds delay) noexcept {
        delay_ = std::min(delay_ + std::min(delay, longestWait), longestWait);
    }
    /// The wait, which is then used up.
    std::chrono::milliseconds takeDelay() noexcept;

private:
    const Engine& engine_;
    std::shared_ptr<RequestRecord> record_;
    std::chrono::milliseconds delay_{0};
    const httpclient_core::HttpRequest* request_ = nullptr;  ///< What a synchronous request sends.
    RequestScope* former_;
};

}  // namespace foundation::httpclient_curl
