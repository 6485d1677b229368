#pragma once
#include "request/Origin.h"
#include "response/HeldAnswer.h"

#include <chrono>
#include <cstdint>
#include <exception>
#include <optional>

namespace foundation::httpclient_curl {

/// What the attempts of one logical request hand on to each other and to the strategies between them.
/// Used by one thread at a time: an attempt, then its handler, then the next attempt.
struct RequestHistory {
    using Clock = std::chrono::steady_clock;

    /// What the resuming strategy remembers between two calls.
    struct Retries {
        std::int64_t mostHeld = 0;
        int withoutProgress = 0;  ///< Waits since new bytes came.
    };

    bool isStarting = false;   ///< Made by makeAsyncRequest() and without an id yet.
    bool isAttended = false;   ///< It ends in makeRequest() or makeAsyncRequest().
    bool isDelivered = false;  ///< Its caller has the response.
    int attempts = 0;
    Clock::time_point begun;            ///< When the first attempt began.
    std::optional<Origin> firstOrigin;  ///< Of the first hop of the first attempt.
    std::int64_t mostHeld = 0;          ///< Most bytes of the body that an attempt left behind.
    std::optional<HeldAnswer> held;     ///< Of the last attempt.
    std::int64_t progressShift = 0;     ///< What the core adds to the progress of the next attempt.
    std::exception_ptr lastingFailure;  ///< The last error, if it would come again.
    Retries retries;
};

}  // namespace foundation::httpclient_curl
