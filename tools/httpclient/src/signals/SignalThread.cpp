#include "signals/SignalThread.h"

#include <pthread.h>

namespace foundation::httpclient_tool {
namespace {

bool isIgnored(int signal) {
    struct sigaction current{};
    return ::sigaction(signal, nullptr, &current) == 0 && current.sa_handler == SIG_IGN;
}

}  // namespace

SignalThread::SignalThread(Interrupts& interrupts) {
    ::sigemptyset(&awaited_);
    // Deliberate: also when the shell has set it to be ignored, as it does for background commands of a
    // script. `kill -INT` is an order to stop, and the partial file must not stay.
    ::sigaddset(&awaited_, SIGINT);
    ::sigaddset(&awaited_, SIGTERM);
    if (!isIgnored(SIGHUP)) {  // nohup
        ::sigaddset(&awaited_, SIGHUP);
    }
    ::pthread_sigmask(SIG_BLOCK, &awaited_, nullptr);
    thread_ = std::thread([this, &interrupts] {
        int signal = 0;
        while (::sigwait(&awaited_, &signal) == 0 && !stopping_) {
            interrupts.interrupt();
        }
    });
}

SignalThread::~SignalThread() {
    stopping_ = true;
    ::pthread_kill(thread_.native_handle(), SIGINT);
    thread_.join();
}

}  // namespace foundation::httpclient_tool
