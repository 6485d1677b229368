#pragma once
#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {

/// Takes over the waits of the calling thread while it lives, so that no test sleeps, and keeps them.
class WaitRecorder {
public:
    WaitRecorder()
        : scope_([this](std::chrono::milliseconds delay) {
              waits_.push_back(delay.count());
              return true;
          }) {}

    /// The waits since the last call, in milliseconds.
    std::vector<std::int64_t> take() { return std::exchange(waits_, {}); }

private:
    std::vector<std::int64_t> waits_;
    detail::BackoffScope scope_;
};

}  // namespace foundation::httpclient_core::testing
