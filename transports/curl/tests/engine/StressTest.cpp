#include "support/SilentPeer.h"
#include "support/TestClient.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <random>
#include <thread>
#include <vector>

// Random schedules. Few by default; the environment asks for more:
//   FOUNDATION_STRESS_ROUNDS   rounds of create, send, cancel, destroy
//   FOUNDATION_STRESS_CANCELS  random cancellations
//   FOUNDATION_STRESS_SEED     the seed of a run to repeat

namespace foundation::httpclient_curl::testing {
namespace {

unsigned long fromEnvironment(const char* name, unsigned long otherwise) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing changes the environment
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoul(text, nullptr, 10) : otherwise;
}

/// The servers of the schedules, and what came of the requests.
class StressTest : public ::testing::Test {
protected:
    StressTest()
        : seed_(static_cast<unsigned int>(
              fromEnvironment("FOUNDATION_STRESS_SEED", std::random_device()()))),
          random_(seed_) {
        boost::log::core::get()->set_logging_enabled(false);
        RecordProperty("seed", std::to_string(seed_));
        std::cout << "seed " << seed_ << '\n';
    }

    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }
    bool chance(int percent) { return below(100) < percent; }

    std::string anyTarget() {
        constexpr std::array targets{"/well",  "/well",   "/silent",  "/busy",
                                     "/moved", "/broken", "/stalled", "/refused"};
        return targets.at(static_cast<std::size_t>(below(static_cast<int>(targets.size()))));
    }

    unsigned int seed_;
    std::mt19937 random_;
};

// Answers in different ways, by the target.
void answer(const ReceivedRequest& request, Connection& connection) {
    if (request.target == "/silent") {
        connection.waitForPeerToClose();
    } else if (request.target == "/busy") {
        connection.sendResponse(503, "Busy", {{"Retry-After", "0"}});
    } else if (request.target == "/broken") {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\nabc");
        connection.close();
    } else if (request.target == "/stalled") {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\nabc");
        connection.waitForPeerToClose();
    } else if (request.target == "/moved") {
        connection.sendResponse(302, "Found", {{"Location", "/well"}});
    } else {
        connection.sendResponse(200, "OK", {}, std::string(1000, 'x'));
    }
}

/// One client with its requests; all of them have ended when it is destroyed.
class Round {
public:
    Round(LoopbackServer& server, const SilentPeer& refusing)
        : server_(server), refusing_(refusing), owner_(std::make_shared<Owner>()) {
        owner_->client = new CurlHttpClient();
    }

    CurlHttpClient& client() { return *owner_->client; }

    void configure(int threads, int perThread) {
        client().setClientConfiguration(
            ClientConfiguration()
                .withMaxThreads(threads)
                .withMaxRequestsPerThread(perThread)
                .withRetryStrategy(defaultRetryStrategy(2, defaultIsRetriable(), 2,
                                                        {.backoffBase = 0,
                                                         .maxBackoff = 1,
                                                         .minJitter = 0,
                                                         .maxJitter = 3,
                                                         .useRetryAfter = false})));
    }

    // What else a handler does.
    enum class Extra { Nothing, Nested, Destroy, Throw };

    void send(const std::string& target, Extra extra) {
        calls_.push_back(std::make_unique<std::atomic<int>>(0));
        std::atomic<int>& calls = *calls_.back();
        ids_.push_back(client().makeAsyncRequest(
            request(target), [&calls, extra, nested = server_.url("/well"), owner = owner_](
                                 HttpRequest, HttpResponse, std::exception_ptr) {
                ++calls;
                if (extra == Extra::Nested) {
                    try {
                        owner->client->makeRequest(HttpRequest(HttpMethod::GET, nested, {}));
                    } catch (const HttpRequestFailedException&) {
                    }
                }
                if (extra == Extra::Throw) {
                    throw std::runtime_error("from a handler");
                }
                if (extra == Extra::Destroy) {
                    owner->destroy();
                }
            }));
    }

    std::thread sendSynchronously(const std::string& target) {
        ++synchronous_;
        return std::thread([this, target, &client = client()] {
            try {
                client.makeRequest(request(target));
            } catch (const HttpRequestFailedException&) {
            }
            --synchronous_;
        });
    }

    void cancel(std::size_t index) { client().cancelRequest(ids_[index % ids_.size()]); }

    // Nobody may call a client that is about to be destroyed.
    void endCallers(std::vector<std::thread>& callers) {
        while (synchronous_ > 0) {
            client().cancelAllRequests();
            std::this_thread::yield();
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
    }

    void destroy() { owner_->destroy(); }
    // By a handler.
    void awaitDestruction() { owner_->gone.wait(false); }

    void expectEveryHandlerCalledOnce() const {
        for (const auto& calls : calls_) {
            EXPECT_EQ(*calls, 1);
        }
        EXPECT_EQ(synchronous_, 0);
    }

private:
    // Shared with the handlers, one of which may destroy the client.
    struct Owner {
        CurlHttpClient* client = nullptr;
        std::atomic<bool> gone = false;

        void destroy() {
            delete client;
            gone = true;
            gone.notify_all();
        }
    };

    HttpRequest request(const std::string& target) const {
        return HttpRequest(
            HttpMethod::GET,
            target == "/refused" ? "http://" + refusing_.authority() + "/" : server_.url(target),
            {});
    }

    LoopbackServer& server_;
    const SilentPeer& refusing_;
    std::shared_ptr<Owner> owner_;
    std::vector<std::unique_ptr<std::atomic<int>>> calls_;
    std::vector<unsigned long> ids_;
    std::atomic<int> synchronous_ = 0;
};

TEST_F(StressTest, RoundsOfCreateSendCancelDestroyCallEveryHandlerOnce) {
    const auto rounds = static_cast<int>(fromEnvironment("FOUNDATION_STRESS_ROUNDS", 12));
    const SilentPeer refusing(SilentPeer::Queue::None);
    constexpr int roundsOfAServer = 20;
    std::unique_ptr<LoopbackServer> server;
    int sent = 0;
    for (int number = 0; number < rounds && !HasFailure(); ++number) {
        if (number % roundsOfAServer == 0) {
            // Its threads stay until its end.
            server = std::make_unique<LoopbackServer>(answer);
        }
        Round round(*server, refusing);
        round.configure(1 + below(4), 1 + below(4));
        const bool destroysInHandler = chance(25);
        const int requests = 1 + below(60);
        std::vector<std::thread> callers;
        for (int i = 0; i < requests; ++i) {
            const Round::Extra extra = chance(10)  ? Round::Extra::Nested
                                       : chance(5) ? Round::Extra::Throw
                                                   : Round::Extra::Nothing;
            round.send(anyTarget(), extra);
            ++sent;
            if (chance(20)) {
                round.cancel(static_cast<std::size_t>(below(requests)));
            }
            if (chance(3)) {
                round.client().cancelAllRequests();
            }
            if (chance(3)) {
                round.client().closeIdleConnections();
            }
            if (chance(3)) {
                round.configure(1 + below(4), 1 + below(4));
            }
            if (chance(5)) {
                callers.push_back(round.sendSynchronously(anyTarget()));
            }
        }
        for (int i = below(200); i > 0; --i) {
            std::this_thread::yield();
        }
        round.endCallers(callers);
        if (destroysInHandler) {
            // A place for it, also where servers that keep silent hold all others.
            round.configure(4, 32);
            round.send("/well", Round::Extra::Destroy);
            ++sent;
            round.awaitDestruction();
        } else {
            round.destroy();
        }
        round.expectEveryHandlerCalledOnce();
    }
    std::cout << sent << " requests in " << rounds << " rounds\n";
}

TEST_F(StressTest, RandomCancellationsCallEveryHandlerOnce) {
    const auto wanted = static_cast<int>(fromEnvironment("FOUNDATION_STRESS_CANCELS", 1500));
    const SilentPeer refusing(SilentPeer::Queue::None);
    constexpr int ofAServer = 500;
    int cancelled = 0;
    int sent = 0;
    while (cancelled < wanted && !HasFailure()) {
        LoopbackServer server(answer);
        Round round(server, refusing);
        round.configure(1 + below(4), 1 + below(4));
        for (int i = 0; i < ofAServer && cancelled < wanted; ++i) {
            round.send(anyTarget(), Round::Extra::Nothing);
            ++sent;
            // Mostly of a request that was sent a moment ago, so that all states are met.
            for (int count = below(4); count > 0; --count) {
                const int back = below(chance(90) ? 12 : 400);
                round.cancel(static_cast<std::size_t>(std::max(i - back, 0)));
                ++cancelled;
            }
            for (int pause = below(20); pause > 0; --pause) {
                std::this_thread::yield();
            }
        }
        round.destroy();
        round.expectEveryHandlerCalledOnce();
    }
    std::cout << cancelled << " cancellations of " << sent << " requests\n";
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
