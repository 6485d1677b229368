#include "support/GeneratedBody.h"
#include "support/HangingResolver.h"
#include "support/SilentPeer.h"
#include "support/TestClient.h"

#include <algorithm>
#include <sstream>
#include <thread>

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
    const SilentPeer peer(SilentPeer::Queue::Full);
    ClientConfiguration configuration;
    Access::setConnectTimeoutMs(configuration, 100);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, "http://" + peer.authority() + "/", {}),
                            configuration),
              HttpResponseCode::RequestNotMade);
}

TEST_P(TimeoutTest, EndsALookUpThatHangs) {
    HangingResolver resolver;
    ClientConfiguration configuration;
    Access::setConnectTimeoutMs(configuration, 100);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, "http://" + resolver.host() + "/", {}),
                            configuration),
              HttpResponseCode::RequestNotMade);
}

TEST_P(TimeoutTest, EndsATlsHandshakeThatIsNotAnswered) {
    const SilentPeer peer;
    ClientConfiguration configuration;
    Access::setConnectTimeoutMs(configuration, 100);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, "https://" + peer.authority() + "/", {}),
                            configuration),
              HttpResponseCode::RequestNotMade);
}

TEST_P(TimeoutTest, EndsATunnelThatIsNotGranted) {
    const SilentPeer proxy;
    ClientConfiguration configuration;
    Access::setConnectTimeoutMs(configuration, 100);
    Access::setProxyUrl(configuration, "http://" + proxy.authority());
    EXPECT_EQ(
        expectTimeout(HttpRequest(HttpMethod::GET, "https://origin.test/", {}), configuration),
        HttpResponseCode::RequestNotMade);
}

TEST_P(TimeoutTest, EndsAnUploadThatStalls) {
    const SilentPeer peer;
    ClientConfiguration configuration;
    Access::setIdleTimeoutMs(configuration, 100);
    constexpr std::int64_t size = std::int64_t{1} << 30;
    HttpRequest request(HttpMethod::PUT, "http://" + peer.authority() + "/", {});
    request.setRequestBody(std::make_unique<StreamOver<GeneratedBuffer>>(size));
    request.setHeaderValue("Content-Length", std::to_string(size));
    EXPECT_EQ(expectTimeout(std::move(request), configuration),
              HttpResponseCode::ResponseNotReceived);
}

TEST_P(TimeoutTest, EndsAStatusLineThatDrips) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 ");
        while (connection.send("K") && connection.pause(std::chrono::milliseconds(20))) {
        }
    });
    ClientConfiguration configuration;
    Access::setResponseTimeoutMs(configuration, 100);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, server.url(), {}), configuration),
              HttpResponseCode::ResponseNotReceived);
}

TEST_P(TimeoutTest, EndsHeadersThatDrip) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\n");
        while (connection.send("X-Drip: 1\r\n") &&
               connection.pause(std::chrono::milliseconds(20))) {
        }
    });
    ClientConfiguration configuration;
    Access::setIdleTimeoutMs(configuration, 100);
    configuration.setIdleSpeed(100000);
    EXPECT_EQ(expectTimeout(HttpRequest(HttpMethod::GET, server.url(), {}), configuration),
              HttpResponseCode::ResponseNotReceived);
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

/// A stream that takes its time for each piece, both ways.
class DawdlingBuffer : public std::stringbuf {
public:
    using std::stringbuf::stringbuf;

protected:
    std::streamsize xsgetn(char* data, std::streamsize size) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        return std::stringbuf::xsgetn(data, std::min<std::streamsize>(size, 4));
    }
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        return std::stringbuf::xsputn(data, size);
    }
};

TEST_P(TimeoutTest, TimeOfTheCallersStreamsDoesNotCount) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(200, "OK", {}, request.body);
    });
    ClientConfiguration configuration = plainConfiguration();
    Access::setIdleTimeoutMs(configuration, 200);
    Access::setResponseTimeoutMs(configuration, 200);
    client_->setClientConfiguration(configuration);
    DawdlingBuffer source("12345678");
    HttpRequest request(HttpMethod::PUT, server.url(), {{"Content-Length", "8"}});
    request.setRequestBody(std::make_unique<std::istream>(&source));
    request.setResponseStreamFactory([](HttpResponseCode, const std::string, const HttpHeaders&) {
        return std::make_unique<StreamOver<DawdlingBuffer>>(std::ios::in | std::ios::out);
    });
    const Outcome outcome = client_.run(std::move(request), GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "12345678");
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
