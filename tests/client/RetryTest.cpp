// Retries as a caller sees them, on both roads.
#include "tests/client/Roads.h"
#include "tests/client/ScriptedTransport.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::answer;
using testing::answerFrom;
using testing::Attempt;
using testing::coreRecord;
using testing::failure;
using testing::getRequest;
using testing::LogRecord;
using testing::postRequest;
using testing::retrying;
using testing::retryUpTo;
using testing::Road;
using testing::roadName;
using testing::RoadTest;
using testing::ScriptedTransport;
using testing::Seen;
using testing::throwsExactly;

class RetryTest : public RoadTest {
protected:
    static std::vector<std::string> urls(const ScriptedTransport& client) {
        std::vector<std::string> result;
        for (const Seen& seen : client.seen()) {
            result.push_back(seen.url);
        }
        return result;
    }

    /// The records with those left out that only makeRequest writes.
    std::vector<LogRecord> progressRecords() const {
        std::vector<LogRecord> result = log.records();
        std::erase_if(result, [](const LogRecord& record) { return record.severity != 4; });
        return result;
    }
};

INSTANTIATE_TEST_SUITE_P(Roads,
                         RetryTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

/// A download that breaks off after these bytes.
Attempt brokenOff(HttpResponseCode code, std::string body) {
    Attempt attempt = answer(code, std::move(body), {{"Accept-Ranges", "bytes"}});
    attempt.error = std::make_exception_ptr(HttpRequestFailedException("connection lost"));
    return attempt;
}

TEST_P(RetryTest, ADownloadThatBreaksOffIsContinued) {
    ScriptedTransport client({brokenOff(HttpResponseCode::OK, "The quick "),
                              brokenOff(HttpResponseCode::PartialContent, "brown "),
                              answer(HttpResponseCode::PartialContent, "fox")});
    client.setClientConfiguration(retrying(retryUpTo(3)).withResumeOnRetry(true));
    HttpResponse response = run(client, getRequest());
    EXPECT_EQ(response.getResponseBodyString(), "The quick brown fox");
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::PartialContent);
    EXPECT_EQ(client.seenHeader("Range"),
              (std::vector<std::string>{"-", "bytes=10-", "bytes=16-"}));
    EXPECT_EQ(client.seen()[2].bodyPosition, 16);
}

TEST_P(RetryTest, TheFirstAttemptCanBeTheLast) {
    ScriptedTransport client({answer(HttpResponseCode::OK, "Hello")});
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "Hello");
    EXPECT_EQ(log.records(), std::vector<LogRecord>{coreRecord(
                                 4, "Request to http://host/file was successful on attempt 1")});
}

TEST_P(RetryTest, TheDefaultStrategyMakesFiveAttempts) {
    ScriptedTransport client({5, answer(HttpResponseCode::ServiceUnavailable)});
    EXPECT_EQ(run(client, getRequest()).getResponseCode(), HttpResponseCode::ServiceUnavailable);
    EXPECT_EQ(client.seen().size(), 5U);
    EXPECT_EQ(log.records(),
              std::vector<LogRecord>{coreRecord(4, "Max total attempts = 5 reached.")});
}

TEST_P(RetryTest, ATimeoutIsRepeatedByTheDefaultStrategy) {
    ScriptedTransport client({failure(std::make_exception_ptr(HttpRequestTimeoutException())),
                              answer(HttpResponseCode::OK, "Hello")});
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "Hello");
    EXPECT_EQ(progressRecords(),
              (std::vector<LogRecord>{
                  coreRecord(4, "Request not made."),
                  coreRecord(4, "Request to http://host/file was successful on attempt 2")}));
}

TEST_P(RetryTest, ARequestThatWasNotMadeIsMadeAgainAsItWas) {
    ScriptedTransport client({failure("no connection"), answer(HttpResponseCode::OK, "Hello")});
    client.setClientConfiguration(retrying(retryUpTo(2)).withResumeOnRetry(true));
    EXPECT_EQ(run(client, postRequest("abc")).getResponseBodyString(), "Hello");
    EXPECT_EQ(client.seen()[1].body, "abc");
    EXPECT_EQ(client.seen()[1].headers, client.seen()[0].headers);
    EXPECT_EQ(progressRecords(), std::vector<LogRecord>{coreRecord(4, "Request not made.")});
}

TEST_P(RetryTest, EveryAttemptSendsTheWholeRequestBody) {
    ScriptedTransport client({answer(HttpResponseCode::BadGateway), failure("lost"),
                              answer(HttpResponseCode::RangeNotSatisfiable),
                              answer(HttpResponseCode::OK)});
    client.setClientConfiguration(retrying(retryUpTo(4)));
    run(client, postRequest("abc"));
    ASSERT_EQ(client.seen().size(), 4U);
    for (const Seen& seen : client.seen()) {
        EXPECT_EQ(seen.body, "abc");
    }
}

TEST_P(RetryTest, ARequestBodyThatCannotBeRewoundFailsTheNextAttempt) {
    struct OneWay : std::stringbuf {
        using std::stringbuf::stringbuf;
        pos_type seekoff(off_type, std::ios::seekdir, std::ios::openmode) override { return -1; }
        pos_type seekpos(pos_type, std::ios::openmode) override { return -1; }
    };
    OneWay buffer("abc");
    ScriptedTransport client({answer(HttpResponseCode::BadGateway)});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    HttpRequest request(HttpMethod::POST, URL("http://host/form"), {{"Content-Length", "3"}});
    request.setRequestBody(std::make_unique<std::istream>(&buffer));
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>([&] { run(client, std::move(request)); },
                                                          "The request body cannot be read."));
    EXPECT_EQ(client.seen()[0].body, "abc");
}

TEST_P(RetryTest, AnAnswerToARangeWithTheWholeTextReplacesTheBody) {
    ScriptedTransport client(
        {brokenOff(HttpResponseCode::OK, "old half"), answer(HttpResponseCode::OK, "new")});
    client.setClientConfiguration(retrying(retryUpTo(2)).withResumeOnRetry(true));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "new");
    EXPECT_EQ(client.seenHeader("Range"), (std::vector<std::string>{"-", "bytes=8-"}));
}

TEST_P(RetryTest, ARefusedRangeStartsOver) {
    ScriptedTransport client({brokenOff(HttpResponseCode::OK, "half"),
                              answer(HttpResponseCode::RangeNotSatisfiable, "", {}),
                              answer(HttpResponseCode::OK, "whole")});
    client.setClientConfiguration(retrying(retryUpTo(3)).withResumeOnRetry(true));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "whole");
    EXPECT_EQ(client.seenHeader("Range"), (std::vector<std::string>{"-", "bytes=4-", "-"}));
    EXPECT_EQ(client.seen()[2].bodyPosition, 0);
    EXPECT_EQ(progressRecords(),
              (std::vector<LogRecord>{
                  coreRecord(4,
                             "Requesting a byte range starting from where last request left off "
                             "up to the end: bytes=4-"),
                  coreRecord(4,
                             "Server responded with Range not satisfiable for http://host/file "
                             "for request with Range: bytes=4-")}));
}

TEST_P(RetryTest, WithoutResumeOnRetryTheDownloadStartsOver) {
    ScriptedTransport client(
        {brokenOff(HttpResponseCode::OK, "half"), answer(HttpResponseCode::OK, "whole")});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "whole");
    EXPECT_EQ(client.seenHeader("Range"), (std::vector<std::string>{"-", "-"}));
    EXPECT_TRUE(progressRecords().empty());
}

TEST_P(RetryTest, AnotherRangeUnitStartsOver) {
    Attempt capital = answer(HttpResponseCode::BadGateway, "half", {{"Accept-Ranges", "Bytes"}});
    Attempt none = answer(HttpResponseCode::BadGateway, "half", {{"Accept-Ranges", "none"}});
    ScriptedTransport client({capital, none, answer(HttpResponseCode::OK, "whole")});
    client.setClientConfiguration(retrying(retryUpTo(3)).withResumeOnRetry(true));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "whole");
    EXPECT_EQ(client.seenHeader("Range"), (std::vector<std::string>{"-", "-", "-"}));
}

TEST_P(RetryTest, TheRangeOfAResumeStaysWhenALaterAttemptStartsOver) {
    ScriptedTransport client({brokenOff(HttpResponseCode::OK, "half"),
                              answer(HttpResponseCode::ServiceUnavailable, "busy"),
                              answer(HttpResponseCode::OK, "whole")});
    client.setClientConfiguration(retrying(retryUpTo(3)).withResumeOnRetry(true));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "whole");
    EXPECT_EQ(client.seenHeader("Range"), (std::vector<std::string>{"-", "bytes=4-", "bytes=4-"}));
}

TEST_P(RetryTest, ProgressOfResumedAttemptsCountsEveryOffset) {
    ScriptedTransport client({brokenOff(HttpResponseCode::OK, "1234"),
                              brokenOff(HttpResponseCode::PartialContent, "56"),
                              answer(HttpResponseCode::PartialContent, "7")});
    client.setClientConfiguration(retrying(retryUpTo(3)).withResumeOnRetry(true));
    std::vector<std::int64_t> downloaded;
    std::vector<std::int64_t> uploaded;
    HttpRequest request = getRequest();
    request.setProgressCallback([&](const Progress& progress) {
        EXPECT_EQ(progress.downloadTotal, progress.downloaded);
        downloaded.push_back(progress.downloaded);
        uploaded.push_back(progress.uploaded);
        return ProgressResult::Continue;
    });
    EXPECT_EQ(run(client, std::move(request)).getResponseBodyString(), "1234567");
    EXPECT_EQ(downloaded, (std::vector<std::int64_t>{4, 4 + 2, 6 + 4 + 1}));
    EXPECT_EQ(uploaded, (std::vector<std::int64_t>{5, 5, 5}));
}

TEST_P(RetryTest, AnAbortedDownloadIsCancelled) {
    ScriptedTransport client({answer(HttpResponseCode::ServiceUnavailable, "half")});
    HttpRequest request = getRequest();
    request.setProgressCallback([](const Progress&) { return ProgressResult::Abort; });
    EXPECT_TRUE(throwsExactly<HttpRequestCancelledException>(
        [&] { run(client, std::move(request)); }, HttpRequestCancelledException().what()));
    EXPECT_EQ(client.seen().size(), 1U);  // Code -1 is not retried by the default strategy.
}

TEST_P(RetryTest, AnUpgradeAfterARedirectGoesToTheURLThatAnswered) {
    ScriptedTransport client({answerFrom("http://moved/file", HttpResponseCode::UpgradeRequired),
                              answer(HttpResponseCode::OK, "Hello")});
    HttpRequest request(HttpMethod::GET, URL("http://host/file"), {{"X-Own", "1"}});
    request.setQueryParameters(QueryParameters("?q=1"));
    EXPECT_EQ(run(client, std::move(request)).getResponseBodyString(), "Hello");
    EXPECT_EQ(urls(client), (std::vector<std::string>{"http://host/file", "http://moved/file"}));
    EXPECT_EQ(client.seenHeader("X-Own"), (std::vector<std::string>{"1", "1"}));
    EXPECT_NE(client.seen()[0].queryParameters, "");
    EXPECT_EQ(client.seen()[1].queryParameters, "");
    EXPECT_EQ(client.seen()[1].codeAtEntry, HttpResponseCode::RequestNotMade);
    EXPECT_EQ(log.records(),
              (std::vector<LogRecord>{
                  coreRecord(4,
                             "Got 426 Upgrade Required after redirect to http://moved/file. "
                             "Retrying with a fresh request."),
                  coreRecord(4, "Request to http://moved/file was successful on attempt 2")}));
}

TEST_P(RetryTest, AnUpgradeDropsTheBodyAndKeepsItsFraming) {
    ScriptedTransport client({answerFrom("http://moved/form", HttpResponseCode::UpgradeRequired),
                              answer(HttpResponseCode::OK)});
    client.setClientConfiguration(retrying(retryUpTo(1)));
    HttpRequest request = postRequest("abc");
    request.setClientConfiguration(retrying(retryUpTo(2)));
    run(client, std::move(request));
    ASSERT_EQ(client.seen().size(), 2U);
    EXPECT_EQ(client.seen()[1].body, std::nullopt);
    EXPECT_EQ(client.seen()[1].headers.getHeaderValue("Content-Length"), "3");
    EXPECT_TRUE(client.seen()[1].ownConfiguration);
    EXPECT_EQ(client.seen()[1].method, HttpMethod::POST);
}

TEST_P(RetryTest, ASecondUpgradeIsAnAnswerLikeAnyOther) {
    ScriptedTransport client({answerFrom("http://moved/1", HttpResponseCode::UpgradeRequired),
                              answerFrom("http://moved/2", HttpResponseCode::UpgradeRequired),
                              answer(HttpResponseCode::OK)});
    run(client, getRequest());
    EXPECT_EQ(urls(client),
              (std::vector<std::string>{"http://host/file", "http://moved/1", "http://moved/1"}));
}

TEST_P(RetryTest, AnUpgradeAtTheFirstURLIsAnAnswerLikeAnyOther) {
    Attempt upgrade = answerFrom("http://host/file", HttpResponseCode::UpgradeRequired);
    upgrade.body = "half";
    upgrade.headers = {{"Accept-Ranges", "bytes"}};
    ScriptedTransport client({upgrade, answer(HttpResponseCode::PartialContent, " more")});
    client.setClientConfiguration(retrying(retryUpTo(2)).withResumeOnRetry(true));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "half more");
    EXPECT_EQ(client.seenHeader("Range"), (std::vector<std::string>{"-", "bytes=4-"}));
}

// A transport may hand back another request; what counts is the URL that the caller asked for.
TEST_P(RetryTest, TheFirstURLIsTheCallersAlsoIfTheTransportChangesTheRequest) {
    Attempt upgrade = answerFrom("http://host/file", HttpResponseCode::UpgradeRequired);
    ScriptedTransport client({answer(HttpResponseCode::BadGateway),
                              answer(HttpResponseCode::BadGateway), upgrade,
                              answer(HttpResponseCode::OK)});
    client.setClientConfiguration(retrying(retryUpTo(4)));
    client.onSend = [](HttpRequest& request) {
        request = HttpRequest(HttpMethod::GET, URL("http://host/changed"), request.getHeaders());
    };
    run(client, getRequest());
    EXPECT_EQ(urls(client),
              (std::vector<std::string>{"http://host/file", "http://host/changed",
                                        "http://host/changed", "http://host/changed"}));
    EXPECT_TRUE(progressRecords().empty());
}

// A rebuilt request keeps a "Range" among its headers, whose body was reset.
TEST_P(RetryTest, AnUpgradeAfterAResumeKeepsTheRange) {
    ScriptedTransport client({brokenOff(HttpResponseCode::OK, "half"),
                              answerFrom("http://moved/file", HttpResponseCode::UpgradeRequired),
                              answer(HttpResponseCode::OK, "whole")});
    client.setClientConfiguration(retrying(retryUpTo(3)).withResumeOnRetry(true));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "whole");
    EXPECT_EQ(client.seenHeader("Range"), (std::vector<std::string>{"-", "bytes=4-", "bytes=4-"}));
}

TEST_P(RetryTest, TheCallbackOfTheResponseOutlivesAnUpgrade) {
    ScriptedTransport client({answerFrom("http://moved/file", HttpResponseCode::UpgradeRequired),
                              answer(HttpResponseCode::OK)});
    int changes = 0;
    HttpRequest request = getRequest();
    request.setPreRespCodeAndHeadersCallback([&changes] { ++changes; });
    run(client, std::move(request));
    EXPECT_EQ(changes, 2 + 2 + 2);  // The first answer, its reset, the second answer.
}

TEST_P(RetryTest, TheResponseIsTheLastOneAlsoIfEveryAttemptFailed) {
    ScriptedTransport client({answer(HttpResponseCode::BadGateway, "first"),
                              answer(HttpResponseCode::GatewayTimeout, "second")});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    HttpResponse response = run(client, getRequest());
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::GatewayTimeout);
    EXPECT_EQ(response.getResponseBodyString(), "second");
}

}  // namespace
}  // namespace foundation::httpclient_core
