#pragma once
// For authors of transports only: lets a transport take over the wait between two attempts.
#include <foundation/httpclient_core/Export.h>

#include <chrono>
#include <functional>
namespace foundation::httpclient_core::detail {
// Returns true when the wait was taken over: the transport delays the attempt that follows. False: the calling thread sleeps.
using BackoffWaiter = std::function<bool(std::chrono::milliseconds delay)>;
// The only way the default retry strategy waits. Returns at once for a delay of zero or less.
FOUNDATION_HTTPCLIENT_CORE_API void backoffWait(std::chrono::milliseconds delay);
class FOUNDATION_HTTPCLIENT_CORE_API
    BackoffScope {  // installs a waiter for the calling thread, restores the former one
public:
    explicit BackoffScope(BackoffWaiter waiter);
    BackoffScope(const BackoffScope&) = delete;
    BackoffScope& operator=(const BackoffScope&) = delete;
    ~BackoffScope();

private:
    friend FOUNDATION_HTTPCLIENT_CORE_API void backoffWait(std::chrono::milliseconds delay);

    BackoffWaiter waiter_;
    const BackoffScope* former_;
};
}  // namespace foundation::httpclient_core::detail
