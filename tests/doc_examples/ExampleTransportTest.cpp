#include "tests/doc_examples/Prelude.h"
#include "tests/support/ThrowsExactly.h"

namespace foundation::httpclient_core::testing {
namespace {

HttpRequest getRequest() {
    return {HttpMethod::GET, URL("web://server.test/greeting"), HttpHeaders()};
}

TEST(ExampleTransportTest, AnswersEveryRequest) {
    ExampleTransport client;
    const HttpResponse response = client.makeRequest(getRequest());
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::OK);
    EXPECT_EQ(response.getResponseCodeReason(), "OK");
    EXPECT_EQ(response.getHeaders(), HttpHeaders({{"Content-Type", "text/plain"}}));
    EXPECT_EQ(response.getResponseBodyString(), "Hello");
    EXPECT_EQ(response.getTransactionReport().effectiveURL(), URL("web://server.test/greeting"));
}

TEST(ExampleTransportTest, AnswersAsynchronouslyOnAnotherThread) {
    ExampleTransport client;
    std::promise<std::thread::id> promise;
    std::future<std::thread::id> thread = promise.get_future();
    client.makeAsyncRequest(
        getRequest(),
        [promise = std::move(promise)](HttpRequest, HttpResponse, std::exception_ptr) mutable {
            promise.set_value(std::this_thread::get_id());
        });
    EXPECT_NE(thread.get(), std::this_thread::get_id());
    auto [response, id] = client.makeAsyncRequest(getRequest());
    EXPECT_EQ(id, 1U);
    EXPECT_EQ(response.get().getResponseBodyString(), "Hello");
}

TEST(ExampleTransportTest, SendsEveryAttemptOfARetriedRequestAndAnswersWithOneBody) {
    ExampleTransport client;
    ClientConfiguration twice;
    twice.setRetryStrategy([](const HttpRequest&, const HttpResponse&, const std::exception_ptr&,
                              int total, int) { return total < 2; });
    client.setClientConfiguration(twice);
    HttpRequest request(HttpMethod::POST, URL("web://server.test/"), HttpHeaders());
    request.setRequestBody("abc");
    std::vector<std::int64_t> uploaded;
    request.setProgressCallback([&uploaded](const Progress& progress) {
        uploaded.push_back(progress.uploaded);
        return ProgressResult::Continue;
    });
    EXPECT_EQ(client.makeAsyncRequest(std::move(request)).first.get().getResponseBodyString(),
              "Hello");
    EXPECT_EQ(uploaded, (std::vector<std::int64_t>{3, 3}));
}

TEST(ExampleTransportTest, StartsOverWhenTheProxyAsksForAnotherSend) {
    ExampleTransport client;
    ClientConfiguration authenticating;
    authenticating.setProxyAuthenticationStrategy(
        [](const HttpResponse&, const std::exception_ptr&, int) { return true; });
    HttpRequest request(HttpMethod::POST, URL("web://server.test/"), HttpHeaders());
    request.setRequestBody("abc");
    request.setClientConfiguration(authenticating);
    std::vector<std::int64_t> uploaded;
    request.setProgressCallback([&uploaded](const Progress& progress) {
        uploaded.push_back(progress.uploaded);
        return ProgressResult::Continue;
    });
    EXPECT_EQ(client.makeRequest(std::move(request)).getResponseBodyString(), "Hello");
    EXPECT_EQ(uploaded, (std::vector<std::int64_t>{3, 3}));
}

TEST(ExampleTransportTest, AbortInTheProgressCallbackCancels) {
    ExampleTransport client;
    HttpRequest request = getRequest();
    request.setProgressCallback([](const Progress&) { return ProgressResult::Abort; });
    EXPECT_TRUE(throwsExactly<HttpRequestCancelledException>(
        [&] { client.makeRequest(std::move(request)); }, "Request cancelled"));
}

// Keeps the thread of a client busy inside the handler of a first request until it is let go.
class Occupied {
public:
    explicit Occupied(ExampleTransport& client) {
        std::promise<void> entered;
        const std::future<void> inside = entered.get_future();
        client.makeAsyncRequest(getRequest(),
                                [entered = std::move(entered), released = release_.get_future()](
                                    HttpRequest, HttpResponse, std::exception_ptr) mutable {
                                    entered.set_value();
                                    released.wait();
                                });
        inside.wait();
    }
    void letGo() { release_.set_value(); }

private:
    std::promise<void> release_;
};

TEST(ExampleTransportTest, CancelEndsAWaitingRequestOnly) {
    ExampleTransport client;
    Occupied occupied(client);
    auto [cancelled, cancelledId] = client.makeAsyncRequest(getRequest());
    auto [kept, keptId] = client.makeAsyncRequest(getRequest());
    EXPECT_TRUE(client.cancelRequest(cancelledId));
    occupied.letGo();
    EXPECT_TRUE(throwsExactly<HttpRequestCancelledException>([&] { cancelled.get(); },
                                                             "Request cancelled"));
    EXPECT_EQ(kept.get().getResponseBodyString(), "Hello");
    // A future is ready a moment before its request has left the thread; a later request comes after.
    client.makeAsyncRequest(getRequest()).first.get();
    EXPECT_FALSE(client.cancelRequest(keptId));
}

TEST(ExampleTransportTest, CancelReachesTheRetryOfARunningRequest) {
    ExampleTransport client;
    std::promise<unsigned long> id;
    ClientConfiguration again;
    again.setRetryStrategy(
        [&](const HttpRequest&, const HttpResponse&, const std::exception_ptr& error, int, int) {
            if (error == nullptr) {
                EXPECT_TRUE(client.cancelRequest(id.get_future().get()));
            }
            return error == nullptr;
        });
    client.setClientConfiguration(again);
    auto [response, requestId] = client.makeAsyncRequest(getRequest());
    id.set_value(requestId);
    EXPECT_TRUE(
        throwsExactly<HttpRequestCancelledException>([&] { response.get(); }, "Request cancelled"));
}

TEST(ExampleTransportTest, DestructionEndsWaitingRequests) {
    std::future<HttpResponse> waiting;
    {
        ExampleTransport client;
        Occupied occupied(client);
        waiting = client.makeAsyncRequest(getRequest()).first;
        client.cancelAllRequests();
        occupied.letGo();
    }
    EXPECT_TRUE(
        throwsExactly<HttpRequestCancelledException>([&] { waiting.get(); }, "Request cancelled"));
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
