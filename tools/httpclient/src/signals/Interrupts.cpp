#include "signals/Interrupts.h"

#include <utility>

namespace foundation::httpclient_tool {

void Interrupts::interrupt() {
    const std::lock_guard lock(mutex_);
    interrupted_ = true;
    if (action_) {
        action_();
    }
}

Interrupts::Scope::Scope(Interrupts& interrupts, std::function<void()> action)
    : interrupts_(interrupts) {
    const std::lock_guard lock(interrupts_.mutex_);
    interrupts_.action_ = std::move(action);
    if (interrupts_.interrupted_) {
        interrupts_.action_();
    }
}

Interrupts::Scope::~Scope() {
    const std::lock_guard lock(interrupts_.mutex_);
    interrupts_.action_ = nullptr;
}

}  // namespace foundation::httpclient_tool
