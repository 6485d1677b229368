#include "RequestRecord.h"

#include <utility>

namespace foundation::httpclient_curl {
namespace {

constinit thread_local RequestScope* innermost = nullptr;

}  // namespace

RequestScope::RequestScope(const Engine& engine, std::shared_ptr<RequestRecord> record)
    : engine_(engine), record_(std::move(record)), former_(std::exchange(innermost, this)) {}

RequestScope::~RequestScope() {
    innermost = former_;
}

RequestScope* RequestScope::current(const Engine& engine) {
    return innermost != nullptr && &innermost->engine_ == &engine ? innermost : nullptr;
}

std::chrono::milliseconds RequestScope::takeDelay() noexcept {
    return std::exchange(delay_, std::chrono::milliseconds::zero());
}

}  // namespace foundation::httpclient_curl
