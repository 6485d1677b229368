#pragma once
#include "engine/Engine.h"

#include <foundation/httpclient_core/CompletionHandler.h>
#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/URL.h>

#include <memory>
#include <mutex>

namespace foundation::httpclient_curl {

/// Decides what becomes of a handler that the core destroys uncalled. While the request is being started
/// such a handler stays unused, because the caller gets the exception itself; later it is called after
/// all, on a thread where handlers run.
class Delivery {
public:
    Delivery(std::shared_ptr<Engine> engine, const core::HttpRequest& request);

    Engine& engine() noexcept { return *engine_; }
    void requestStarted();
    void handlerDropped(std::shared_ptr<core::CompletionHandler> handler) noexcept;

private:
    void callLate(std::shared_ptr<core::CompletionHandler> handler);

    std::shared_ptr<Engine> engine_;
    core::HttpMethod method_;
    core::URL url_;
    std::mutex mutex_;
    bool started_ = false;
    std::shared_ptr<core::CompletionHandler> dropped_;
};

/// The caller's handler as the core gets it.
class GuardedHandler {
public:
    GuardedHandler(core::CompletionHandler handler, std::shared_ptr<Delivery> delivery);
    GuardedHandler(GuardedHandler&&) noexcept = default;
    GuardedHandler& operator=(GuardedHandler&&) = delete;
    GuardedHandler(const GuardedHandler&) = delete;
    GuardedHandler& operator=(const GuardedHandler&) = delete;
    ~GuardedHandler();

    void operator()(core::HttpRequest request,
                    core::HttpResponse response,
                    std::exception_ptr error);

private:
    std::shared_ptr<core::CompletionHandler> handler_;  ///< Null once called or moved from.
    std::shared_ptr<Delivery> delivery_;
};

}  // namespace foundation::httpclient_curl
