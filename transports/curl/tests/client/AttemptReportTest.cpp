#include "support/TestClient.h"

#include <foundation/httpclient_curl/AttemptReport.h>

#include <mutex>
#include <stdexcept>

namespace foundation::httpclient_curl::testing {
namespace {

class Reports {
public:
    CurlClientOptions options() {
        CurlClientOptions options;
        options.attemptObserver = [this](const AttemptReport& report) {
            const std::lock_guard lock(mutex_);
            reports_.push_back(report);
        };
        return options;
    }
    std::vector<AttemptReport> all() const {
        const std::lock_guard lock(mutex_);
        return reports_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<AttemptReport> reports_;
};

class AttemptReportTest : public BothRoads {};
INSTANTIATE_TEST_SUITE_P(Roads,
                         AttemptReportTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(AttemptReportTest, TellsOfEachAttempt) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        if (request.target.starts_with("/moved")) {
            connection.sendResponse(302, "Found", {{"Location", "/here?secret=2"}}, "gone");
        } else if (request.number == 1) {
            connection.sendResponse(503, "Busy", {}, "busy");
        } else {
            connection.sendResponse(200, "OK", {}, "Hello");
        }
    });
    Reports reports;
    TestClient client(reports.options());
    client->setClientConfiguration(retryingConfiguration());
    const Outcome outcome = client.get(server.url("/moved?secret=1"), GetParam());
    EXPECT_EQ(outcome.body(), "Hello");
    const std::vector<AttemptReport> all = reports.all();
    ASSERT_EQ(all.size(), 2U);
    for (const AttemptReport& report : all) {
        EXPECT_EQ(report.requestId.has_value(), GetParam() == Road::Asynchronous);
        EXPECT_EQ(report.method, HttpMethod::GET);
        EXPECT_EQ(report.url, server.url("/here"));
        EXPECT_EQ(report.error, nullptr);
        EXPECT_EQ(report.redirects, 1);
        EXPECT_FALSE(report.resumed);
        EXPECT_TRUE(report.connectionReused);
        EXPECT_EQ(report.remoteAddress, "127.0.0.1:" + std::to_string(server.port()));
        EXPECT_GT(report.firstByte.count(), 0);
        EXPECT_GE(report.total, report.firstByte);
        EXPECT_EQ(report.tls.count(), 0);
    }
    EXPECT_EQ(all[0].attempt, 1);
    EXPECT_EQ(all[0].code, HttpResponseCode::ServiceUnavailable);
    EXPECT_EQ(all[1].attempt, 2);
    EXPECT_EQ(all[1].code, HttpResponseCode::OK);
}

TEST_P(AttemptReportTest, TellsTheValidatorOfWhateverStrength) {
    const std::string old = "Sun, 06 Nov 1994 08:49:37 GMT";
    const std::string later = "Sun, 06 Nov 1994 09:49:37 GMT";
    const std::vector<std::pair<HeaderList, std::string>> rows{
        {{}, ""},
        {{{"ETag", "\"a\""}, {"Last-Modified", old}, {"Date", later}}, "\"a\""},
        {{{"Last-Modified", old}, {"Date", later}}, old},
        {{{"Last-Modified", old}, {"Date", old}}, old},
        {{{"ETag", "W/\"a\""}, {"Last-Modified", old}, {"Date", later}}, "W/\"a\""},
    };
    for (const auto& [fields, validator] : rows) {
        LoopbackServer server([&fields](const ReceivedRequest&, Connection& connection) {
            connection.sendResponse(200, "OK", fields, "Hello");
        });
        Reports reports;
        TestClient client(reports.options());
        client.get(server.url(), GetParam());
        ASSERT_EQ(reports.all().size(), 1U);
        EXPECT_EQ(reports.all()[0].validator, validator);
        EXPECT_EQ(reports.all()[0].bytesReceived, 5);
        EXPECT_EQ(reports.all()[0].bytesKept, 0);
        EXPECT_EQ(reports.all()[0].bytesDiscarded, 0);
    }
}

TEST_P(AttemptReportTest, TellsOfAFailureBeforeAnythingWasSent) {
    Reports reports;
    TestClient client(reports.options());
    HttpRequest request(HttpMethod::POST, "http://127.0.0.1:1/p?q=secret", {});
    request.setHeaderValue("Bad Name", "x");
    EXPECT_NE(client.run(std::move(request), GetParam()).error, nullptr);
    const std::vector<AttemptReport> all = reports.all();
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].method, HttpMethod::POST);
    EXPECT_EQ(all[0].code, HttpResponseCode::RequestNotMade);
    EXPECT_EQ(messageOf(all[0].error), "A header name of the request is no token");
    EXPECT_EQ(all[0].url, "http://127.0.0.1:1/p");
    EXPECT_EQ(all[0].remoteAddress, "");
    EXPECT_FALSE(all[0].connectionReused);
}

TEST_P(AttemptReportTest, WhatTheObserverThrowsIsDropped) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(200, "OK", {}, "Hello");
    });
    CurlClientOptions options;
    options.attemptObserver = [](const AttemptReport&) { throw std::runtime_error("observer"); };
    TestClient client(std::move(options));
    EXPECT_EQ(client.get(server.url(), GetParam()).body(), "Hello");
}

TEST(AttemptReportOfOwnAttemptTest, IsTheFirstOfItself) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(200, "OK", {}, "Hello");
    });
    Reports reports;
    TestClient client(reports.options());
    for (int i = 0; i < 2; ++i) {
        HttpRequest request(HttpMethod::GET, server.url(), {});
        HttpResponse response(request);
        client->sendRequest(request, response);
    }
    ASSERT_EQ(reports.all().size(), 2U);
    EXPECT_EQ(reports.all()[1].attempt, 1);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
