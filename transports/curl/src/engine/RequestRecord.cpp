#include "engine/RequestRecord.h"

#include <foundation/httpclient_core/HttpResponse.h>

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

RequestHistory* RequestScope::history() {
    if (innermost == nullptr) {
        return nullptr;
    }
    RequestHistory& history = innermost->record_->history;
    return history.isAttended && !history.isDelivered ? &history : nullptr;
}

bool RequestScope::isServing(const Engine& engine) {
    for (const RequestScope* scope = innermost; scope != nullptr; scope = scope->former_) {
        const RequestHistory& history = scope->record_->history;
        if (&scope->engine_ == &engine && history.isAttended && !history.isDelivered) {
            return true;
        }
    }
    return false;
}

bool RequestScope::owns(const httpclient_core::HttpRequest& request,
                        const httpclient_core::HttpResponse& response) {
    // Sent again after a proxy refused it, with the response of that refusal.
    if (response.getResponseCode() != httpclient_core::HttpResponseCode::RequestNotMade) {
        return true;
    }
    if (record_->id.has_value() || !record_->history.isAttended) {
        return false;
    }
    // The first one is that of the core, which calls nobody before it.
    if (request_ == nullptr) {
        request_ = &request;
    }
    return request_ == &request;
}

std::chrono::milliseconds RequestScope::takeDelay() noexcept {
    return std::exchange(delay_, std::chrono::milliseconds::zero());
}

}  // namespace foundation::httpclient_curl
