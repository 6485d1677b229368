#include "tests/support/AllocationCounter.h"

#include <foundation/httpclient_core/HttpClient.h>

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using testing::allocationsOf;

HttpHeaders manyHeaders() {
    HttpHeaders headers;
    for (int number = 0; number < 100; ++number) {
        headers.add("X-Name-That-Needs-Memory-" + std::to_string(number),
                    "a value that needs memory of its own");
    }
    return headers;
}

/// Answers with headers that were made before and costs nothing itself: what is counted is the core.
class PreparedTransport final : public HttpClient {
public:
    std::string transportName() const override { return "PreparedTransport"; }
    void closeIdleConnections() override {}
    std::shared_ptr<ProxyCredentialStore> proxyCredentialStore() const override { return nullptr; }
    std::shared_ptr<ProxyCredentialPrompt> proxyCredentialPrompt(
        const HttpResponse& /*response*/,
        const std::exception_ptr& /*error*/) const override {
        return nullptr;
    }
    bool cancelRequest(unsigned long /*requestId*/) override { return false; }
    void cancelAllRequests() override {}

    void sendRequest(HttpRequest& /*request*/, HttpResponse& response) const override {
        response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
        response.setHeaders(std::move(headers));
        response.getResponseBody() << "Hello";
    }

    void sendAsyncRequest(HttpRequest request,
                          HttpResponse response,
                          unsigned long /*requestId*/,
                          CompletionHandler handler) const override {
        attempt_.emplace(std::move(request), std::move(response), std::move(handler));
    }

    void endAttempt() {
        Attempt attempt = std::move(*attempt_);
        attempt_.reset();
        sendRequest(attempt.request, attempt.response);
        attempt.handler(std::move(attempt.request), std::move(attempt.response), nullptr);
    }

    mutable HttpHeaders headers;

private:
    struct Attempt {
        Attempt(HttpRequest sent, HttpResponse filled, CompletionHandler done)
            : request(std::move(sent)), response(std::move(filled)), handler(std::move(done)) {}

        HttpRequest request;
        HttpResponse response;
        CompletionHandler handler;
    };

    mutable std::optional<Attempt> attempt_;
};

class ClientAllocationTest : public ::testing::Test {
protected:
    // The records are the concern of the sinks of a program.
    ClientAllocationTest() { boost::log::core::get()->set_logging_enabled(false); }
    ~ClientAllocationTest() override { boost::log::core::get()->set_logging_enabled(true); }
    ClientAllocationTest(const ClientAllocationTest&) = delete;
    ClientAllocationTest& operator=(const ClientAllocationTest&) = delete;

    // What one request costs with these headers on the request and on the response.
    template <class Run>
    std::uint64_t costWith(const HttpHeaders& headers, const Run& run) {
        run(HttpRequest(HttpMethod::GET, "http://host/", {}));
        HttpRequest request(HttpMethod::GET, "http://host/", headers);
        client_.headers = headers;
        return allocationsOf([&] { run(std::move(request)); });
    }

    // The same for any headers, since they are moved all the way, and not more than `most`.
    template <class Run>
    void expectMoves(std::uint64_t most, const Run& run) {
        const std::uint64_t without = costWith({}, run);
        EXPECT_LE(without, most);
        EXPECT_EQ(costWith(manyHeaders(), run), without);
    }

    PreparedTransport client_;
};

TEST_F(ClientAllocationTest, MakeRequestCopiesNoHeaders) {
    // The copy of the retry strategy, the reason at first, the body, and three for empty collections.
    expectMoves(6, [this](HttpRequest request) {
        EXPECT_TRUE(isSuccess(client_.makeRequest(std::move(request))));
    });
}

TEST_F(ClientAllocationTest, MakeAsyncRequestWithHandlerCopiesNoHeaders) {
    // In addition the two tasks: the handler of the caller, and the one that retries. The strategy is copied
    // once more, for the attempt.
    expectMoves(11, [this](HttpRequest request) {
        bool called = false;
        client_.makeAsyncRequest(std::move(request),
                                 [&called](const HttpRequest&, const HttpResponse&,
                                           const std::exception_ptr&) { called = true; });
        client_.endAttempt();
        EXPECT_TRUE(called);
    });
}

TEST_F(ClientAllocationTest, MakeAsyncRequestWithFutureCopiesNoHeaders) {
    // In addition the state of the future and its result.
    expectMoves(13, [this](HttpRequest request) {
        auto [response, requestId] = client_.makeAsyncRequest(std::move(request));
        client_.endAttempt();
        EXPECT_TRUE(isSuccess(response.get()));
    });
}

TEST_F(ClientAllocationTest, SettingABodyCopiesNoHeaders) {
    HttpResponse response;
    response.setHeaders(manyHeaders());
    response.setContentLength("0");
    response.getResponseBody();
    EXPECT_EQ(allocationsOf([&] { response.setResponseBody("Hello"); }), 0U);
    EXPECT_EQ(response.getResponseBodyString(), "Hello");
}

}  // namespace
}  // namespace foundation::httpclient_core
