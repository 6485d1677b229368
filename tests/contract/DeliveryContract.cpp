// How an asynchronous attempt is delivered: once, elsewhere, and with no lock held.
#include "tests/contract/TransportContract.h"

#include <atomic>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {
namespace {

PeerAnswer echoOfThePath(const PeerRequest& request) {
    return {HttpResponseCode::OK, "OK", {}, "to " + request.path};
}

// attempt() itself checks that the handler is called once, not inside the send, and destroyed.
TEST_P(TransportContract, DeliversManyAttemptsOneByOne) {
    start(echoOfThePath);
    for (int i = 0; i < 50; ++i) {
        const std::string path = "/" + std::to_string(i);
        EXPECT_EQ(attempt(ContractRoad::Asynchronous, get(path)).body(), "to " + path);
    }
}

TEST_P(TransportContract, SendingNeverThrows) {
    answerAlways({.kind = PeerAnswer::Kind::Refuse});
    // What cannot be sent at all ends in the handler, too.
    HttpRequest request(HttpMethod::GET, URL("nonsense://nowhere/"), HttpHeaders());
    attempt(ContractRoad::Asynchronous, std::move(request));
    attempt(ContractRoad::Asynchronous, HttpRequest(HttpMethod::GET, URL(""), HttpHeaders()));
    EXPECT_NE(attempt(ContractRoad::Asynchronous, get()).error, nullptr);
}

TEST_P(TransportContract, HandlerIsNotCalledInsideANestedSend) {
    start(echoOfThePath);
    struct State {
        std::atomic<bool> sending = false;
        std::atomic<bool> inside = false;
        Signal ended;
    };
    // Shared: the outer handler may return after the inner one.
    const auto state = std::make_shared<State>();
    client().makeAsyncRequest(
        get("/1"), [this, state](HttpRequest, HttpResponse, std::exception_ptr) {
            const std::thread::id outer = std::this_thread::get_id();
            state->sending = true;
            client().makeAsyncRequest(
                get("/2"), [state, outer](HttpRequest, HttpResponse, std::exception_ptr) {
                    state->inside = state->sending && std::this_thread::get_id() == outer;
                    state->ended.give();
                });
            state->sending = false;
            state->ended.give();
        });
    ASSERT_TRUE(state->ended.wait(2));
    EXPECT_FALSE(state->inside);
}

// Every public operation, from where a lock of the transport could be held.
void callEverything(HttpClient& client, HttpRequest nested) {
    const ClientConfiguration configuration = client.getClientConfiguration();
    client.setClientConfiguration(configuration);
    client.closeIdleConnections();
    EXPECT_FALSE(client.transportName().empty());
    client.cancelRequest(4000000000);
    client.proxyCredentialStore();
    EXPECT_EQ(client.makeRequest(std::move(nested)).getResponseBodyString(), "to /nested");
}

TEST_P(TransportContract, HandlerMayCallEverything) {
    start(echoOfThePath);
    Signal nested;
    client().makeAsyncRequest(get("/first"), [&](HttpRequest, HttpResponse, std::exception_ptr) {
        client().cancelAllRequests();
        callEverything(client(), get("/nested"));
        client().makeAsyncRequest(
            get("/second"), [&](HttpRequest, HttpResponse response, std::exception_ptr error) {
                EXPECT_EQ(error, nullptr);
                EXPECT_EQ(response.getResponseBodyString(), "to /second");
                nested.give();
            });
    });
    EXPECT_TRUE(nested.wait());
}

TEST_P(TransportContract, StrategyMayCallEverything) {
    start(echoOfThePath);
    onBothRoads([this](ContractRoad road) {
        int asked = 0;
        HttpRequest request = get("/outer");
        request.setClientConfiguration(ClientConfiguration().withRetryStrategy(
            [&](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int, int) {
                callEverything(client(), get("/nested"));
                return ++asked < 3;
            }));
        EXPECT_EQ(run(road, std::move(request)).body(), "to /outer");
        EXPECT_EQ(asked, 3);
    });
}

TEST_P(TransportContract, ExceptionOfAHandlerHarmsNobody) {
    start(echoOfThePath);
    Signal called;
    client().makeAsyncRequest(get(), [&](HttpRequest, HttpResponse, std::exception_ptr) {
        called.give();
        throw std::runtime_error("of the user");
    });
    EXPECT_TRUE(called.wait());
    EXPECT_EQ(run(ContractRoad::Asynchronous, get("/next")).body(), "to /next");
}

TEST_P(TransportContract, EachOfManyThreadsGetsItsOwnAnswers) {
    start(echoOfThePath);
    std::vector<std::thread> threads;
    std::atomic<int> right = 0;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([this, &right, thread] {
            for (int i = 0; i < 10; ++i) {
                const std::string path = "/" + std::to_string(thread) + "-" + std::to_string(i);
                auto future = client().makeAsyncRequest(get(path + "a")).first;
                right += client().makeRequest(get(path)).getResponseBodyString() == "to " + path;
                right += future.get().getResponseBodyString() == "to " + path + "a";
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(right, 80);
}

TEST_P(TransportContract, DestructionCallsEveryHandler) {
    start(echoOfThePath);
    constexpr int count = 40;
    std::atomic<int> answered = 0;
    std::atomic<int> cancelled = 0;
    for (int i = 0; i < count; ++i) {
        client().makeAsyncRequest(
            get(), [&](HttpRequest, HttpResponse response, std::exception_ptr error) {
                const Ended ended{std::move(response), std::move(error)};
                answered += ended.error == nullptr ? 1 : 0;
                cancelled += ended.failedWith<HttpRequestCancelledException>() ? 1 : 0;
            });
    }
    subject().destroyClient();
    EXPECT_EQ(answered + cancelled, count);
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
