#include "support/TestClient.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

/// Handlers that take their time must hold nothing up.
class SlowHandlerTest : public ::testing::Test {
protected:
    SlowHandlerTest()
        : server_([](const ReceivedRequest&, Connection& connection) {
              connection.sendResponse(200, "OK", {}, "well");
          }) {
        client_.emplace();
        (*client_)->setClientConfiguration(
            plainConfiguration().withMaxThreads(1).withMaxRequestsPerThread(4));
    }

    HttpRequest request() const { return HttpRequest(HttpMethod::GET, server_.url(), {}); }

    // Chains of requests, each sent by the handler of the one before. `inHandler` is called in each.
    void flow(int chains, int requests, const std::function<void(int)>& inHandler) {
        toStart_ = requests;
        const std::function<void()> next = [&] {
            const int number = --toStart_;
            if (number < 0) {
                return;
            }
            (*client_)->makeAsyncRequest(
                request(), [&, number](HttpRequest, HttpResponse response, std::exception_ptr) {
                    EXPECT_EQ(response.getResponseBodyString(), "well");
                    inHandler(number);
                    next();
                    ended_.add();
                });
        };
        for (int i = 0; i < chains; ++i) {
            next();
        }
        EXPECT_TRUE(ended_.waitFor(requests));
    }

    LoopbackServer server_;
    std::atomic<int> toStart_ = 0;
    Counter ended_;
    std::optional<TestClient> client_;
};

TEST_F(SlowHandlerTest, NoHandlerRunsOnAThreadThatMovesBytes) {
    std::mutex mutex;
    std::set<std::thread::id> transferring;
    std::set<std::thread::id> handling;
    Counter ended;
    std::atomic<int> toStart = 300;
    const std::function<void()> next = [&] {
        if (--toStart < 0) {
            return;
        }
        HttpRequest watched = request();
        watched.setResponseStreamFactory(
            [&](HttpResponseCode, const std::string&, const HttpHeaders&) {
                const std::lock_guard lock(mutex);
                transferring.insert(std::this_thread::get_id());
                return std::make_unique<std::stringstream>();
            });
        (*client_)->makeAsyncRequest(std::move(watched),
                                     [&](HttpRequest, HttpResponse, std::exception_ptr) {
                                         {
                                             const std::lock_guard lock(mutex);
                                             handling.insert(std::this_thread::get_id());
                                         }
                                         next();
                                         ended.add();
                                     });
    };
    for (int i = 0; i < 4; ++i) {
        next();
    }
    EXPECT_TRUE(ended.waitFor(300));
    const std::lock_guard lock(mutex);
    EXPECT_EQ(transferring.size(), 1);
    for (const std::thread::id thread : handling) {
        EXPECT_FALSE(transferring.contains(thread));
    }
}

TEST_F(SlowHandlerTest, SendsAndAwaitsNestedRequestsOfBothRoads) {
    flow(4, 400, [this](int number) {
        if (number % 40 == 0) {
            EXPECT_EQ((*client_)->makeRequest(request()).getResponseBodyString(), "well");
            auto [response, id] = (*client_)->makeAsyncRequest(request());
            EXPECT_EQ(response.get().getResponseBodyString(), "well");
        }
    });
}

TEST_F(SlowHandlerTest, LetsOthersGoOn) {
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    std::atomic<int> after = 0;
    std::atomic<bool> isBlocked = false;
    flow(4, 600, [&](int number) {
        if (number == 300) {
            isBlocked = true;
            // It is the other chains of the one thread that end the wait.
            released.wait();
        } else if (isBlocked && ++after == 100) {
            release.set_value();
        }
    });
    EXPECT_GE(after, 100);
}

TEST_F(SlowHandlerTest, LetsCancellationThrough) {
    LoopbackServer silent(
        [](const ReceivedRequest&, Connection& connection) { connection.waitForPeerToClose(); });
    flow(3, 300, [&](int number) {
        if (number != 100) {
            return;
        }
        // On the thread that would have to end it.
        std::promise<std::exception_ptr> ending;
        const unsigned long id = (*client_)->makeAsyncRequest(
            HttpRequest(HttpMethod::GET, silent.url(), {}),
            [&ending](HttpRequest, HttpResponse, std::exception_ptr error) {
                ending.set_value(std::move(error));
            });
        EXPECT_TRUE((*client_)->cancelRequest(id));
        EXPECT_TRUE(holds<HttpRequestCancelledException>(ending.get_future().get()));
    });
}

TEST_F(SlowHandlerTest, DestroysTheClientUnderSteadyTraffic) {
    for (int round = 0; round < 20; ++round) {
        auto owner =
            std::make_shared<std::unique_ptr<CurlHttpClient>>(std::make_unique<CurlHttpClient>());
        CurlHttpClient& client = **owner;
        client.setClientConfiguration(
            plainConfiguration().withMaxThreads(1 + round % 2).withMaxRequestsPerThread(4));
        auto begun = std::make_shared<Counter>();
        auto left = std::make_shared<std::atomic<int>>(200);
        auto isDestroyed = std::make_shared<std::promise<void>>();
        const auto next = std::make_shared<std::function<void()>>();
        *next = [&client, owner, begun, left, isDestroyed, url = server_.url(), self = next.get()] {
            client.makeAsyncRequest(HttpRequest(HttpMethod::GET, url, {}),
                                    [=](HttpRequest, HttpResponse, std::exception_ptr error) {
                                        const int number = --*left;
                                        if (number == 0) {
                                            owner->reset();
                                            isDestroyed->set_value();
                                        } else if (error == nullptr && number > 0) {
                                            (*self)();
                                        }
                                        begun->add();
                                    });
        };
        for (int i = 0; i < 4; ++i) {
            (*next)();
        }
        isDestroyed->get_future().wait();
        // Those that were on their way and the one that destroyed the client.
        EXPECT_TRUE(begun->waitFor(200));
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
