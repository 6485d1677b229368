#include "support/TestClient.h"

#include <atomic>
#include <chrono>
#include <iostream>
#include <optional>
#include <thread>

namespace foundation::httpclient_curl::testing {
namespace {

class ShutdownTest : public ::testing::Test {
protected:
    ShutdownTest()
        : silent_([this](const ReceivedRequest&, Connection& connection) {
              arrived_.add();
              connection.waitForPeerToClose();
          }) {
        boost::log::core::get()->set_logging_enabled(false);
        client_.emplace();
    }

    void start(int count, const std::string& url) {
        for (int i = 0; i < count; ++i) {
            (*client_)->makeAsyncRequest(
                HttpRequest(HttpMethod::GET, url, {}),
                [this](HttpRequest, HttpResponse response, std::exception_ptr error) {
                    if (holds<HttpRequestCancelledException>(error) &&
                        response.getResponseCode() == HttpResponseCode::RequestNotMade) {
                        cancelled_.add();
                    }
                    ended_.add();
                });
        }
    }

    Counter arrived_;
    Counter cancelled_;
    Counter ended_;
    LoopbackServer silent_;
    std::optional<TestClient> client_;
};

TEST_F(ShutdownTest, WithoutRequestsIsImmediate) {
    client_.reset();
}

TEST_F(ShutdownTest, EndsRequestsUnderWayAndQueued) {
    start(120, silent_.url());
    ASSERT_TRUE(arrived_.waitFor(8));
    client_.reset();
    EXPECT_EQ(ended_.value(), 120);
    EXPECT_EQ(cancelled_.value(), 120);
}

TEST_F(ShutdownTest, EndsTenThousandQueuedRequestsAtOnce) {
    constexpr int requests = 10000;
    start(requests, silent_.url());
    const auto begin = std::chrono::steady_clock::now();
    client_.reset();
    const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - begin);
    EXPECT_EQ(ended_.value(), requests);
    EXPECT_EQ(cancelled_.value(), requests);
    RecordProperty("milliseconds", std::to_string(taken.count()));
    std::cout << "destroyed with " << requests << " requests: " << taken.count() << " ms\n";
    // The bar is one second; sanitizers and busy machines take longer.
    EXPECT_LT(taken, std::chrono::seconds(20));
}

TEST_F(ShutdownTest, EndsRequestsThatWaitForARetry) {
    LoopbackServer busy([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(503, "Busy");
    });
    Counter asked;
    (*client_)->setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [&asked, backoff = defaultRetryStrategy(3, defaultIsRetriable(), 3,
                                                {.backoffBase = 0,
                                                 .maxBackoff = 120,
                                                 .minJitter = 60000,
                                                 .maxJitter = 60000,
                                                 .useRetryAfter = false})](
            const HttpRequest& request, const HttpResponse& response,
            const std::exception_ptr& error, int total, int consecutive) {
            const bool again = backoff(request, response, error, total, consecutive);
            asked.add();
            return again;
        }));
    start(20, busy.url());
    ASSERT_TRUE(asked.waitFor(20));
    client_.reset();
    EXPECT_EQ(cancelled_.value(), 20);
}

TEST_F(ShutdownTest, EndsRequestsThatAreSentAgainForEver) {
    (*client_)->setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int, int) {
            return true;
        }));
    start(10, silent_.url());
    ASSERT_TRUE(arrived_.waitFor(8));
    client_.reset();
    EXPECT_EQ(ended_.value(), 10);
}

TEST_F(ShutdownTest, EndsSynchronousRequestsThatAreSentAgainForEver) {
    auto client = std::make_unique<CurlHttpClient>();
    int attempts = 0;
    client->setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [&attempts](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int, int) {
            ++attempts;
            return true;
        }));
    std::exception_ptr error;
    std::thread caller([&, &reference = *client] {
        try {
            HttpRequest request(HttpMethod::PUT, silent_.url(), {});
            request.setRequestBody("body");
            reference.makeRequest(std::move(request));
        } catch (...) {
            error = std::current_exception();
        }
    });
    ASSERT_TRUE(arrived_.waitFor(1));
    client.reset();
    caller.join();
    EXPECT_EQ(messageOf(error), "The client is being destroyed");
    EXPECT_TRUE(holds<HttpRequestFailedException>(error));
    EXPECT_EQ(silent_.requestCount(), 1);
    EXPECT_EQ(attempts, 10);
}

TEST_F(ShutdownTest, WaitsForHandlersThatRun) {
    LoopbackServer well(
        [](const ReceivedRequest&, Connection& connection) { connection.sendResponse(200, "OK"); });
    std::promise<void> inside;
    std::atomic<bool> left = false;
    (*client_)->makeAsyncRequest(HttpRequest(HttpMethod::GET, well.url(), {}),
                                 [&](HttpRequest, HttpResponse, std::exception_ptr) {
                                     inside.set_value();
                                     // Starts and ends while the client is going.
                                     (*client_).get(silent_.url());
                                     left = true;
                                 });
    inside.get_future().wait();
    client_.reset();
    EXPECT_TRUE(left);
}

TEST_F(ShutdownTest, EndsSynchronousRequests) {
    auto client = std::make_unique<CurlHttpClient>();
    CurlHttpClient& reference = *client;
    std::exception_ptr error;
    std::thread caller([&] {
        try {
            reference.makeRequest(HttpRequest(HttpMethod::GET, silent_.url(), {}));
        } catch (...) {
            error = std::current_exception();
        }
    });
    ASSERT_TRUE(arrived_.waitFor(1));
    client.reset();
    caller.join();
    EXPECT_TRUE(holds<HttpRequestCancelledException>(error)) << messageOf(error);
}

TEST_F(ShutdownTest, MayHappenInsideAHandler) {
    LoopbackServer well(
        [](const ReceivedRequest&, Connection& connection) { connection.sendResponse(200, "OK"); });
    auto owner =
        std::make_shared<std::unique_ptr<CurlHttpClient>>(std::make_unique<CurlHttpClient>());
    CurlHttpClient& client = **owner;
    Counter others;
    for (int i = 0; i < 5; ++i) {
        client.makeAsyncRequest(
            HttpRequest(HttpMethod::GET, silent_.url(), {}),
            [&](HttpRequest, HttpResponse, std::exception_ptr) { others.add(); });
    }
    ASSERT_TRUE(arrived_.waitFor(5));
    std::promise<int> endedBefore;
    client.makeAsyncRequest(HttpRequest(HttpMethod::GET, well.url(), {}),
                            [&, owner](HttpRequest, HttpResponse, std::exception_ptr) {
                                owner->reset();
                                endedBefore.set_value(others.value());
                            });
    EXPECT_EQ(endedBefore.get_future().get(), 5);
}

TEST_F(ShutdownTest, RoundsOfCreationAndDestructionCallEveryHandlerOnce) {
    LoopbackServer well([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(200, "OK", {}, "x");
    });
    for (int round = 0; round < 30; ++round) {
        const int before = ended_.value();
        client_.emplace();
        start(10, round % 2 == 0 ? well.url() : silent_.url());
        if (round % 3 == 0) {
            (*client_)->cancelAllRequests();
        }
        client_.reset();
        ASSERT_EQ(ended_.value(), before + 10);
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
