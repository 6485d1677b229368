#pragma once
#include "exchange/TransferSettings.h"

#include <chrono>
#include <cstdint>

namespace foundation::httpclient_curl {

/// The time limits of one hop that libcurl does not keep: silence before the answer, and a transfer
/// that is too slow. The limit for connecting is libcurl's.
class Deadlines {
public:
    using Clock = std::chrono::steady_clock;

    /// How far a hop has come.
    struct State {
        bool connected = false;
        bool sent = false;      ///< The whole request was handed over.
        bool answered = false;  ///< A byte of the answer has come.
        std::int64_t uploaded = 0;
        std::int64_t downloaded = 0;
    };

    explicit Deadlines(const TransferSettings& settings);

    /// Takes note of the state; true when a limit is passed.
    bool isExpired(const State& state, Clock::time_point now);
    /// Time that the caller's own code took does not count.
    void excuse(Clock::duration time);
    /// When to look again; time_point::max() for never.
    Clock::time_point next() const;

private:
    enum class Phase { Connecting, Moving, Waiting };

    std::chrono::milliseconds limit() const;
    void enter(Phase phase, Clock::time_point now, std::int64_t moved);

    std::chrono::milliseconds responseTimeout_;
    std::chrono::milliseconds idleTimeout_;
    std::int64_t idleSpeed_;
    Phase phase_ = Phase::Connecting;
    Clock::time_point since_;  ///< When the transfer was last fast enough, or the wait began.
    std::int64_t movedThen_ = 0;
};

}  // namespace foundation::httpclient_curl
