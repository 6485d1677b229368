// A transport of a user's own, and a request through it: the first attempt times out, the second
// succeeds. Everything here crosses the border of the shared library: virtual calls, exceptions,
// callables, futures.
#include <foundation/httpclient_core.h>

#include <cstdlib>
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

namespace core = foundation::httpclient_core;

namespace {

class TimesOutOnce final : public core::HttpClient {
public:
    std::string transportName() const override { return "consumer"; }
    void closeIdleConnections() override {}
    bool cancelRequest(unsigned long /*requestId*/) override { return false; }
    void cancelAllRequests() override {}
    std::shared_ptr<core::ProxyCredentialStore> proxyCredentialStore() const override { return {}; }
    std::shared_ptr<core::ProxyCredentialPrompt> proxyCredentialPrompt(
        const core::HttpResponse& /*response*/,
        const std::exception_ptr& /*error*/) const override {
        return {};
    }

    void sendRequest(core::HttpRequest& /*request*/, core::HttpResponse& response) const override {
        if (++attempts == 1) {
            throw core::HttpRequestTimeoutException();
        }
        response.setResponseCodeAndReason(core::HttpResponseCode::OK, "OK");
        response.setResponseBody("Hello");
    }

    // A real transport completes on a thread of its own; see what its contract says.
    void sendAsyncRequest(core::HttpRequest /*request*/,
                          core::HttpResponse /*response*/,
                          unsigned long /*requestId*/,
                          CompletionHandler /*handler*/) const override {}

    mutable int attempts = 0;
};

core::HttpRequest makeRequest() {
    return {core::HttpMethod::GET, core::URL("http://example.com/"), {{"Accept", "text/plain"}}};
}

void require(bool condition, const char* what) {
    if (!condition) {
        std::cerr << "failed: " << what << "\n";
        std::exit(1);
    }
}

}  // namespace

int main() {
    core::coreChannel().set_filter_mask(0);
    TimesOutOnce client;
    client.setClientConfiguration(core::ClientConfiguration().withRetryStrategy(
        core::defaultRetryStrategy(3, core::defaultIsRetriable(), 3, core::RetryBackoffOptions{})));
    const core::HttpResponse response = client.makeRequest(makeRequest());
    require(core::isSuccess(response), "the second attempt succeeds");
    require(client.attempts == 2, "two attempts");
    const std::string body = response.getResponseBodyString();

    client.attempts = 0;
    client.setClientConfiguration(
        core::ClientConfiguration().withRetryStrategy(core::noRetriesStrategy()));
    try {
        client.makeRequest(makeRequest());
        require(false, "a timeout without retries is thrown");
    } catch (const core::HttpRequestTimeoutException& timeout) {
        require(timeout.what() == std::string("Request timed out."), "the text of the timeout");
    }

    auto [future, id] = client.makeAsyncRequest(makeRequest());
    try {
        future.get();
        require(false, "a handler that is dropped breaks the promise");
    } catch (const std::future_error& dropped) {
        require(dropped.code() == std::future_errc::broken_promise, "broken_promise");
    }
    std::cout << "core consumer: 2 attempts, body \"" << body << "\"\n";
}
