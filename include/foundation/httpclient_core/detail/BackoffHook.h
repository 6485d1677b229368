#pragma once
/// @file
/// For authors of transports only: lets a transport take over the wait between two attempts, so
/// that the thread on which an asynchronous attempt ends need not sleep.
#include <foundation/httpclient_core/Export.h>

#include <chrono>
#include <functional>
namespace foundation::httpclient_core::detail {

/// Is given a wait, always above 0 ms. True: it took the wait over, and the transport delays the
/// attempt that follows; the strategy goes on at once. False: the calling thread sleeps. What it
/// throws leaves the retry strategy. It must not call backoffWait().
using BackoffWaiter = std::function<bool(std::chrono::milliseconds delay)>;

/// Waits as the default retry strategy does, which waits in no other way. A strategy of one's own
/// may call it, so that its waits can be taken over as well.
///
/// A delay of 0 or less returns at once and asks nobody. Otherwise the waiter of the innermost
/// BackoffScope of the calling thread gets the delay, and that of no other scope. Without a scope,
/// or if that waiter is empty or returns false, the thread sleeps.
///
/// @par Thread safety
/// thread-safe
FOUNDATION_HTTPCLIENT_CORE_API void backoffWait(std::chrono::milliseconds delay);

/// Installs a waiter for the calling thread as long as it lives; other threads are not affected.
///
/// Scopes nest: the innermost one takes the waits, and the one outside it takes them again once it
/// is gone. A scope is a local variable: it is destroyed on the thread that made it, and before the
/// scopes that were there when it was made.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// A wait taken over:
/// @code{.cpp}
/// std::chrono::milliseconds taken(0);
/// const detail::BackoffScope scope([&taken](std::chrono::milliseconds delay) {
///     taken += delay;
///     return true;
/// });
/// detail::backoffWait(std::chrono::hours(1));  // returns at once
/// assert(taken == std::chrono::hours(1));
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API BackoffScope {
public:
    /// Makes this scope the innermost one of the calling thread. An empty waiter makes the thread
    /// sleep, also where an outer scope would not.
    explicit BackoffScope(BackoffWaiter waiter);
    /// A scope stays where it was made: its thread knows it by its address.
    /// @{
    BackoffScope(const BackoffScope&) = delete;
    BackoffScope& operator=(const BackoffScope&) = delete;
    /// @}
    /// Gives the waits back to the scope outside this one, or to the thread.
    ~BackoffScope();

private:
    friend FOUNDATION_HTTPCLIENT_CORE_API void backoffWait(std::chrono::milliseconds delay);

    BackoffWaiter waiter_;
    const BackoffScope* former_;
};

}  // namespace foundation::httpclient_core::detail
