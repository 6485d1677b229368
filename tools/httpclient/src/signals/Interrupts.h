#pragma once
#include <atomic>
#include <functional>
#include <mutex>

namespace foundation::httpclient_tool {

/// Carries the wish to stop from whoever has it (the signal thread) to the work being done.
///
/// @par Thread safety
/// Internally locked: the mutex covers the action and every run of it.
class Interrupts {
public:
    /// Records the wish and runs the action that is set, on the calling thread.
    void interrupt();
    /// Takes no lock, so that the action may wait for somebody who asks.
    bool interrupted() const noexcept { return interrupted_; }

    /// Sets the action while it lives; runs it at once, on the calling thread, if the wish is there
    /// already. Its destructor waits for a run that is under way, so the action may refer to anything
    /// that outlives the scope. Scopes do not nest.
    class Scope {
    public:
        Scope(Interrupts& interrupts, std::function<void()> action);
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope();

    private:
        Interrupts& interrupts_;
    };

private:
    std::mutex mutex_;
    std::atomic<bool> interrupted_{false};
    std::function<void()> action_;
};

}  // namespace foundation::httpclient_tool
