#include "support/TestClient.h"

#include <atomic>
#include <limits>
#include <ostream>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace std::chrono_literals;

/// Answers nobody before it is told to, and counts who waits.
class GatedServer {
public:
    GatedServer()
        : server_([this](const ReceivedRequest&, Connection& connection) {
              const int now = ++atOnce_;
              for (int most = most_; now > most && !most_.compare_exchange_weak(most, now);) {
              }
              arrived_.add();
              opened_.waitFor(1);
              --atOnce_;
              connection.sendResponse(200, "OK", {}, "x");
          }) {}

    std::string url() const { return server_.url(); }
    bool awaitArrivals(int count) const { return arrived_.waitFor(count); }
    int arrivals() const { return arrived_.value(); }
    int mostAtOnce() const { return most_; }
    void open() { opened_.add(); }
    LoopbackServer* operator->() { return &server_; }

private:
    std::atomic<int> atOnce_ = 0;
    std::atomic<int> most_ = 0;
    Counter arrived_;
    Counter opened_;
    LoopbackServer server_;
};

class QueueTest : public ::testing::Test {
protected:
    void setLimits(std::int32_t threads, std::int32_t perThread) {
        client_->setClientConfiguration(
            plainConfiguration().withMaxThreads(threads).withMaxRequestsPerThread(perThread));
    }
    void start(const std::string& url, int count = 1) {
        for (int i = 0; i < count; ++i) {
            start(HttpRequest(HttpMethod::GET, url, {}));
        }
    }
    void start(HttpRequest request) {
        client_->makeAsyncRequest(std::move(request),
                                  [this](HttpRequest, HttpResponse response, std::exception_ptr) {
                                      good_ += response.getResponseBodyString() == "x" ? 1 : 0;
                                      ended_.add();
                                  });
    }
    void expectGood(int count) {
        EXPECT_TRUE(ended_.waitFor(count));
        EXPECT_EQ(good_, count);
    }

    std::atomic<int> good_ = 0;
    Counter ended_;
    TestClient client_;
};

struct Limits {
    std::int32_t threads;
    std::int32_t perThread;
    int underWay;

    friend std::ostream& operator<<(std::ostream& os, const Limits& limits) {
        return os << limits.threads << " x " << limits.perThread;
    }
};

class QueueLimitsTest : public QueueTest, public ::testing::WithParamInterface<Limits> {};
INSTANTIATE_TEST_SUITE_P(Limits,
                         QueueLimitsTest,
                         ::testing::Values(Limits{2, 3, 6},
                                           Limits{1, 8, 8},
                                           Limits{0, 0, 1},
                                           Limits{-7, 3, 3},
                                           Limits{2, std::numeric_limits<std::int32_t>::min(), 2},
                                           Limits{1000, 1, 64},
                                           Limits{1, 1000, 256}),
                         [](const auto& row) { return "Row" + std::to_string(row.index); });

TEST_P(QueueLimitsTest, SoManyRequestsAreUnderWayAtOnce) {
    const auto& [threads, perThread, underWay] = GetParam();
    GatedServer server;
    setLimits(threads, perThread);
    start(server.url(), underWay + 4);
    EXPECT_TRUE(server.awaitArrivals(underWay));
    std::this_thread::sleep_for(50ms);  // For one that should not come.
    EXPECT_EQ(server.arrivals(), underWay);
    server.open();
    expectGood(underWay + 4);
    EXPECT_EQ(server.mostAtOnce(), underWay);
}

TEST_F(QueueTest, LimitsOfARequestCountForNothing) {
    GatedServer server;
    for (int i = 0; i < 4; ++i) {
        HttpRequest request(HttpMethod::GET, server.url(), {});
        request.setClientConfiguration(
            plainConfiguration().withMaxThreads(1).withMaxRequestsPerThread(1));
        start(std::move(request));
    }
    EXPECT_TRUE(server.awaitArrivals(4));
    server.open();
    expectGood(4);
}

TEST_F(QueueTest, HigherLimitsStartWhatWaits) {
    GatedServer server;
    setLimits(1, 1);
    start(server.url(), 4);
    EXPECT_TRUE(server.awaitArrivals(1));
    setLimits(2, 2);
    EXPECT_TRUE(server.awaitArrivals(4));
    server.open();
    expectGood(4);
}

TEST_F(QueueTest, LowerLimitsCountOnceTransfersEnd) {
    GatedServer before;
    GatedServer after;
    after.open();
    setLimits(2, 2);
    start(before.url(), 4);
    EXPECT_TRUE(before.awaitArrivals(4));
    start(after.url(), 6);
    setLimits(1, 1);
    before.open();
    expectGood(10);
    EXPECT_EQ(before.mostAtOnce(), 4);
    EXPECT_EQ(after.mostAtOnce(), 1);
}

// The first one was there before the others.
TEST_F(QueueTest, ARetryGoesBeforeRequestsThatCameLater) {
    Counter retries;
    LoopbackServer server([&](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 1) {
            // Meanwhile the retry of the first one is queued.
            EXPECT_TRUE(retries.waitFor(1));
            connection.pause(300ms);
        }
        connection.sendResponse(request.number == 0 ? 503 : 200, "R", {}, "x");
    });
    client_->setClientConfiguration(
        ClientConfiguration().withMaxThreads(1).withMaxRequestsPerThread(1).withRetryStrategy(
            [&retries](const HttpRequest&, const HttpResponse& response, const std::exception_ptr&,
                       int, int) {
                const bool again = isServerError(response.getResponseCode());
                if (again) {
                    retries.add();
                }
                return again;
            }));
    for (const char* path : {"/first", "/second", "/third", "/fourth"}) {
        start(server.url(path));
    }
    expectGood(4);
    std::vector<std::string> targets;
    for (const ReceivedRequest& request : server.requests()) {
        targets.push_back(request.target);
    }
    EXPECT_EQ(targets,
              (std::vector<std::string>{"/first", "/second", "/first", "/third", "/fourth"}));
}

TEST_F(QueueTest, NoTimeLimitRunsInTheQueue) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 0) {
            connection.pause(900ms);
        }
        connection.sendResponse(200, "OK", {}, "x");
    });
    setLimits(1, 1);
    start(server.url());
    ClientConfiguration impatient = plainConfiguration();
    Access::setConnectTimeoutMs(impatient, 300);
    Access::setResponseTimeoutMs(impatient, 300);
    Access::setIdleTimeoutMs(impatient, 300);
    HttpRequest request(HttpMethod::GET, server.url(), {});
    request.setClientConfiguration(impatient);
    start(std::move(request));
    expectGood(2);
}

TEST_F(QueueTest, BurstsUseTheConnectionsOfEarlierBursts) {
    constexpr int burst = 32;
    setLimits(1, burst);
    std::atomic<int> waiting = 0;
    std::atomic<bool> isBurst = true;
    LoopbackServer server([&](const ReceivedRequest&, Connection& connection) {
        // All of a burst are under way at once.
        for (++waiting; isBurst && waiting % burst != 0;) {
            std::this_thread::yield();
        }
        connection.sendResponse(200, "OK", {}, "x");
    });
    start(server.url(), burst);
    expectGood(burst);
    isBurst = false;
    for (int i = 0; i < 5; ++i) {
        start(server.url());
        expectGood(burst + i + 1);
    }
    waiting = 0;
    isBurst = true;
    start(server.url(), burst);
    expectGood(2 * burst + 5);
    EXPECT_EQ(server.connectionCount(), burst);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
