#include "retry/RetryClock.h"
#include "support/TestClient.h"

#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include <mutex>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

// The longest possible wait is known to the notice and never waited for.
std::int64_t most(std::int64_t limit) {
    return limit;
}

// Moved on by the servers of the tests.
std::atomic<std::int64_t> passed{0};

std::chrono::steady_clock::time_point readNow() {
    return std::chrono::steady_clock::now() + milliseconds(passed.load());
}

/// The strategy at work in a client, with limits in hours and waits of no time.
class RetryRoadTest : public BothRoads {
protected:
    RetryRoadTest() {
        passed = 0;
        setRetryClock(
            {.now = &readNow, .date = &std::chrono::system_clock::now, .randomUpTo = &most});
        // In milliseconds, so that waiting for them takes none.
        options_.firstWait = 1ms;
        options_.maxWait = 8ms;
        options_.onRetry = [this](const RetryNotice& notice) {
            const std::lock_guard lock(mutex_);
            waits_.push_back(notice.wait);
        };
    }
    ~RetryRoadTest() override { setRetryClock(systemRetryClock()); }
    RetryRoadTest(const RetryRoadTest&) = delete;
    RetryRoadTest& operator=(const RetryRoadTest&) = delete;

    Outcome run(HttpRequest request) {
        client_->setClientConfiguration(
            ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
                resumingRetryStrategy(options_)));
        return client_.run(std::move(request), GetParam());
    }
    Outcome get(const std::string& url) { return run(HttpRequest(HttpMethod::GET, url, {})); }

    ResumingRetryOptions options_;
    TestClient client_;
    std::mutex mutex_;
    std::vector<milliseconds> waits_;
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         RetryRoadTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(RetryRoadTest, NewBytesMakeTheWaitShortAgain) {
    const std::string content(1000, 'x');
    // Bytes sent by each answer; every body breaks off but the last.
    const std::vector<std::size_t> sent{0, 0, 300, 0, 0, 0, 200, 500};
    LoopbackServer server([&](const ReceivedRequest& request, Connection& connection) {
        const auto number = static_cast<std::size_t>(request.number);
        const std::size_t offset =
            request.hasHeader("Range") ? std::stoul(request.header("Range").substr(6)) : 0;
        connection.send("HTTP/1.1 " + std::string(offset > 0 ? "206 Part" : "200 OK") +
                        "\r\nAccept-Ranges: bytes\r\nETag: \"a\"\r\nContent-Range: bytes " +
                        std::to_string(offset) +
                        "-999/1000\r\nContent-Length: " + std::to_string(1000 - offset) +
                        "\r\n\r\n" + content.substr(0, sent.at(number)));
        connection.close();
    });
    const Outcome outcome = get(server.url());
    EXPECT_EQ(outcome.message(), "");
    EXPECT_EQ(outcome.body(), content);
    EXPECT_EQ(waits_, (std::vector<milliseconds>{1ms, 2ms, 1ms, 2ms, 4ms, 8ms, 1ms}));
}

TEST_P(RetryRoadTest, DeadlineCountsFromTheFirstAttempt) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        passed += 60000;
        connection.sendResponse(503, "Busy");
    });
    options_.deadline = 150s;
    // The first attempt takes 60 s already.
    EXPECT_EQ(get(server.url()).code(), HttpResponseCode::ServiceUnavailable);
    EXPECT_EQ(server.requestCount(), 3);
}

TEST_P(RetryRoadTest, DeadlinesOfRequestsToTheSameUrlAreTheirOwn) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        passed += 100000;
        connection.sendResponse(request.number % 2 == 0 ? 503 : 200, "Page");
    });
    options_.deadline = 150s;
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(get(server.url()).code(), HttpResponseCode::OK) << i;
    }
}

TEST_P(RetryRoadTest, NothingIsRetriedThatWouldFailAgain) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target == "/loop") {
            connection.sendResponse(302, "There", {{"Location", "/loop"}});
        } else {
            connection.sendResponse(200, "OK", {}, "Hello");
        }
    });
    HttpRequest badHeader(HttpMethod::GET, server.url(), {});
    badHeader.setHeaderValue("X", "a\nb");
    EXPECT_NE(run(std::move(badHeader)).error, nullptr);
    EXPECT_NE(get("ftp://127.0.0.1/").error, nullptr);
    EXPECT_NE(get(server.url("/loop")).error, nullptr);
    HttpRequest refusing(HttpMethod::GET, server.url(), {});
    refusing.setResponseStreamFactory([](HttpResponseCode, const std::string&, const HttpHeaders&) {
        auto stream = std::make_unique<std::stringstream>();
        stream->setstate(std::ios::badbit);
        return stream;
    });
    EXPECT_EQ(run(std::move(refusing)).message(), "The response body stream refused data");
    HttpRequest shortBody(HttpMethod::PUT, server.url(), {{"Content-Length", "9"}});
    shortBody.setRequestBody(std::make_unique<std::istringstream>("Hello"));
    EXPECT_EQ(run(std::move(shortBody)).message(), "Request body ended after 5 of 9 bytes");
    EXPECT_TRUE(waits_.empty());
}

TEST_P(RetryRoadTest, RetriesConnectionsThatCannotBeMade) {
    EXPECT_NE(get("http://127.0.0.1:1/").error, nullptr);
    EXPECT_EQ(waits_.size(), 10U);
}

TEST_P(RetryRoadTest, SendsTheBodyOfAPutAgain) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 0) {
            connection.close();
        } else {
            connection.sendResponse(request.number == 1 ? 503 : 201, "Page");
        }
    });
    HttpRequest request(HttpMethod::PUT, server.url(), {});
    request.setRequestBody("Hello");
    EXPECT_EQ(run(std::move(request)).code(), HttpResponseCode::Created);
    ASSERT_EQ(server.requestCount(), 3);
    for (const ReceivedRequest& received : server.requests()) {
        EXPECT_EQ(received.body, "Hello");
    }
}

TEST_P(RetryRoadTest, NeverSendsAPostAgain) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(503, "Busy");
    });
    HttpRequest request(HttpMethod::POST, server.url(), {});
    request.setRequestBody("Hello");
    EXPECT_EQ(run(std::move(request)).code(), HttpResponseCode::ServiceUnavailable);
    EXPECT_EQ(server.requestCount(), 1);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
