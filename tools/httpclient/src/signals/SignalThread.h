#pragma once
#include "signals/Interrupts.h"

#include <atomic>
#include <csignal>
#include <thread>

namespace foundation::httpclient_tool {

/// Turns SIGINT, SIGTERM and SIGHUP into `Interrupts::interrupt()`. To be made before any other thread,
/// so that all of them inherit the blocked signals and only this one receives them; nothing runs in a
/// signal handler, so the action may lock and allocate.
class SignalThread {
public:
    explicit SignalThread(Interrupts& interrupts);
    SignalThread(const SignalThread&) = delete;
    SignalThread& operator=(const SignalThread&) = delete;
    ~SignalThread();

private:
    sigset_t awaited_{};
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

}  // namespace foundation::httpclient_tool
