#include "TestClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

using Clock = std::chrono::steady_clock;

class TimeoutTest : public BothRoads {
protected:
    // Runs a request that must end by the time limit, and promptly.
    HttpResponseCode expectTimeout(HttpRequest request, ClientConfiguration configuration) {
        std::vector<Attempt> attempts;
        client_->setClientConfiguration(configuration.withRetryStrategy(
            recordingStrategy(attempts, [](const Attempt&, int) { return false; })));
        const Clock::time_point begin = Clock::now();
        const Outcome outcome = client_.run(std::move(request), GetParam());
        const Clock::duration taken = Clock::now() - begin;
        EXPECT_TRUE(holds<HttpRequestTimeoutException>(outcome.error)) << outcome.message();
        EXPECT_GE(taken, std::chrono::milliseconds(90));
        EXPECT_LT(taken, std::chrono::seconds(2));
        return attempts.empty() ? HttpResponseCode{-2} : attempts.front().code;
    }

    TestClient client_;
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         TimeoutTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(TimeoutTest, EndsASilenceBeforeTheAnswer) {
    LoopbackServer server(
        [](const ReceivedRequest&, Connection& connection) { connection.waitForPeerToClose(); });
    ClientConfiguration configuration;
    Access::setResponseTimeoutMs(configuration, 100);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, server.url(), {}), configuration),
              HttpResponseCode::ResponseNotReceived);
}

TEST_P(TimeoutTest, EndsASilenceAfterAnUpload) {
    LoopbackServer server(
        [](const ReceivedRequest&, Connection& connection) { connection.waitForPeerToClose(); });
    ClientConfiguration configuration;
    Access::setResponseTimeoutMs(configuration, 100);
    HttpRequest request(HttpMethod::POST, server.url(), {});
    request.setRequestBody(std::string(100000, 'x'));
    EXPECT_EQ(expectTimeout(std::move(request), configuration),
              HttpResponseCode::ResponseNotReceived);
}

TEST_P(TimeoutTest, EndsABodyThatStops) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
        connection.waitForPeerToClose();
    });
    ClientConfiguration configuration;
    Access::setIdleTimeoutMs(configuration, 100);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, server.url(), {}), configuration),
              HttpResponseCode::OK);
}

TEST_P(TimeoutTest, EndsABodyThatTrickles) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\n");
        while (connection.pause(std::chrono::milliseconds(20)) && connection.send("x")) {
        }
    });
    ClientConfiguration configuration;
    Access::setIdleTimeoutMs(configuration, 100);
    configuration.setIdleSpeed(1000);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, server.url(), {}), configuration),
              HttpResponseCode::OK);
}

TEST_P(TimeoutTest, EndsAConnectionThatIsNotAnswered) {
    // A listener whose queue is full leaves further connections unanswered.
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    ASSERT_EQ(::bind(listener, generic, size), 0);
    ASSERT_EQ(::listen(listener, 0), 0);
    ASSERT_EQ(::getsockname(listener, generic, &size), 0);
    std::vector<int> fillers;
    for (int i = 0; i < 3; ++i) {
        fillers.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0));
        ::connect(fillers.back(), generic, size);
    }
    ClientConfiguration configuration;
    Access::setConnectTimeoutMs(configuration, 100);
    const std::string url = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port)) + "/";
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, url, {}), configuration),
              HttpResponseCode::RequestNotMade);
    for (const int filler : fillers) {
        ::close(filler);
    }
    ::close(listener);
}

TEST_P(TimeoutTest, LeavesSlowButSteadyTransfersAlone) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n");
        for (int i = 0; i < 10 && connection.pause(std::chrono::milliseconds(25)); ++i) {
            connection.send("x");
        }
    });
    ClientConfiguration configuration = plainConfiguration();
    Access::setIdleTimeoutMs(configuration, 150);
    Access::setResponseTimeoutMs(configuration, 1000);
    client_->setClientConfiguration(configuration);
    EXPECT_EQ(client_.get(server.url(), GetParam()).body(), "xxxxxxxxxx");
}

TEST_P(TimeoutTest, ZeroMeansNoLimit) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.pause(std::chrono::milliseconds(50));
        connection.sendResponse(200, "OK", {}, "late");
    });
    ClientConfiguration configuration = plainConfiguration();
    Access::setConnectTimeoutMs(configuration, 0);
    Access::setResponseTimeoutMs(configuration, 0);
    Access::setIdleTimeoutMs(configuration, -1);
    client_->setClientConfiguration(configuration);
    EXPECT_EQ(client_.get(server.url(), GetParam()).body(), "late");
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
