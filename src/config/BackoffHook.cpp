#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <chrono>
#include <thread>
#include <utility>

namespace foundation::httpclient_core::detail {
namespace {

// The innermost scope of the calling thread, or null.
constinit thread_local const BackoffScope* innermost = nullptr;

}  // namespace

BackoffScope::BackoffScope(BackoffWaiter waiter) : waiter_(std::move(waiter)), former_(innermost) {
    innermost = this;
}

BackoffScope::~BackoffScope() {
    innermost = former_;
}

void backoffWait(std::chrono::milliseconds delay) {
    if (delay <= std::chrono::milliseconds::zero()) {
        return;
    }
    const BackoffScope* scope = innermost;
    const bool takenOver = scope != nullptr && scope->waiter_ && scope->waiter_(delay);
    if (!takenOver) {
        std::this_thread::sleep_for(delay);
    }
}

}  // namespace foundation::httpclient_core::detail
