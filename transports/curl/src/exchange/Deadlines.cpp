#include "exchange/Deadlines.h"

namespace foundation::httpclient_curl {

Deadlines::Deadlines(const TransferSettings& settings)
    : responseTimeout_(settings.responseTimeout),
      idleTimeout_(settings.idleTimeout),
      idleSpeed_(settings.idleSpeed) {}

std::chrono::milliseconds Deadlines::limit() const {
    switch (phase_) {
        case Phase::Moving:
            return idleTimeout_;
        case Phase::Waiting:
            return responseTimeout_;
        case Phase::Connecting:
            break;
    }
    return std::chrono::milliseconds::zero();
}

void Deadlines::enter(Phase phase, Clock::time_point now, std::int64_t moved) {
    phase_ = phase;
    since_ = now;
    movedThen_ = moved;
}

bool Deadlines::isExpired(const State& state, Clock::time_point now) {
    if (!state.connected) {
        return false;
    }
    const std::int64_t moved = state.uploaded + state.downloaded;
    const Phase phase = state.sent && !state.answered ? Phase::Waiting : Phase::Moving;
    if (phase != phase_) {
        enter(phase, now, moved);
    } else if (moved > movedThen_) {
        // The last bytes of a request may still be on their way out while the answer is awaited.
        const double seconds = std::chrono::duration<double>(now - since_).count();
        if (phase == Phase::Waiting ||
            static_cast<double>(moved - movedThen_) >= static_cast<double>(idleSpeed_) * seconds) {
            enter(phase, now, moved);
        }
    }
    return limit() > std::chrono::milliseconds::zero() && now - since_ >= limit();
}

void Deadlines::excuse(Clock::duration time) {
    since_ += time;
}

Deadlines::Clock::time_point Deadlines::next() const {
    return limit() > std::chrono::milliseconds::zero() ? since_ + limit()
                                                       : Clock::time_point::max();
}

}  // namespace foundation::httpclient_curl
