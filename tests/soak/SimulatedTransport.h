#pragma once
#include <foundation/httpclient_core.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <queue>
#include <vector>

namespace foundation::httpclient_core::testing {

/// Time that passes when nobody has anything left to do.
using VirtualTime = std::chrono::milliseconds;

/// A transport without a network and without waiting: an attempt is an entry in a queue of events, and a
/// wait before a retry only puts it further back. Everything happens on the thread that calls run().
class SimulatedTransport : public HttpClient {
public:
    struct Reply {
        HttpResponseCode code = HttpResponseCode::OK;
        VirtualTime latency{1};
        int retryAfterSeconds = 0;  ///< 0: the server does not say.
        bool isTimeout = false;     ///< No answer at all.
    };
    /// Decides about the attempt that begins now.
    using Answering = std::function<Reply(VirtualTime now)>;

    explicit SimulatedTransport(Answering answering) : answering_(std::move(answering)) {}

    VirtualTime now() const { return now_; }
    /// Runs the action when that time has come.
    void at(VirtualTime time, std::function<void()> action);
    /// Until nothing is left to happen.
    void run();

    std::string transportName() const override { return "simulated"; }
    void closeIdleConnections() override {}
    std::shared_ptr<ProxyCredentialStore> proxyCredentialStore() const override { return nullptr; }
    std::shared_ptr<ProxyCredentialPrompt> proxyCredentialPrompt(
        const HttpResponse&,
        const std::exception_ptr&) const override {
        return nullptr;
    }
    /// Nothing here is synchronous.
    void sendRequest(HttpRequest& request, HttpResponse& response) const override;
    void sendAsyncRequest(HttpRequest request,
                          HttpResponse response,
                          unsigned long requestId,
                          CompletionHandler handler) const override;
    bool cancelRequest(unsigned long) override { return false; }
    void cancelAllRequests() override {}

private:
    struct Event {
        VirtualTime time;
        std::uint64_t number;  ///< Events of one time happen in the order of their making.
        std::shared_ptr<std::function<void()>> action;

        bool operator<(const Event& other) const {
            return std::tie(other.time, other.number) < std::tie(time, number);
        }
    };
    struct Exchange {
        HttpRequest request;
        HttpResponse response;
        CompletionHandler handler;
        Reply reply;
    };

    void schedule(VirtualTime time, std::function<void()> action) const;
    void begin(const std::shared_ptr<Exchange>& exchange) const;
    void end(Exchange& exchange) const;

    Answering answering_;
    // A transport's send functions are const.
    mutable std::priority_queue<Event> events_;
    mutable std::uint64_t made_ = 0;
    mutable VirtualTime now_{0};
    mutable VirtualTime wait_{0};  ///< Asked for by the strategy of the attempt that ends.
};

}  // namespace foundation::httpclient_core::testing
