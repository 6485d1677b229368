// What one attempt owes to the core, on both roads.
#include "tests/contract/TransportContract.h"

#include <istream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {
namespace {

PeerAnswer part(std::string body, const std::string& contentRange) {
    return {HttpResponseCode::PartialContent, "Partial Content",
            HttpHeaders({{"Content-Range", contentRange}}), std::move(body)};
}

TEST_P(TransportContract, FillsTheResponse) {
    answerAlways(
        {HttpResponseCode::NotFound, "Gone Fishing", HttpHeaders({{"X-Answer", "yes"}}), "abc"});
    onBothRoads([this](ContractRoad road) {
        const Ended ended = attempt(road, get("/path"));
        EXPECT_EQ(ended.error, nullptr) << ended.message();
        EXPECT_EQ(ended.code(), HttpResponseCode::NotFound);
        EXPECT_EQ(ended.response.getResponseCodeReason(), "Gone Fishing");
        EXPECT_EQ(ended.response.getHeaderValue("X-Answer"), "yes");
        EXPECT_EQ(ended.body(), "abc");
        EXPECT_EQ(lastReceived().path, "/path");
        EXPECT_EQ(lastReceived().method, "GET");
    });
}

TEST_P(TransportContract, SendsHeadersAndBody) {
    answerAlways({});
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = post("the body");
        request.setHeaderValue("X-Question", "why");
        EXPECT_EQ(attempt(road, std::move(request)).error, nullptr);
        EXPECT_EQ(lastReceived().method, "POST");
        EXPECT_EQ(lastReceived().headers.getHeaderValue("X-Question"), "why");
        EXPECT_EQ(lastReceived().body, "the body");
    });
}

TEST_P(TransportContract, ReportsTheUrlThatAnswered) {
    answerAlways({});
    onBothRoads([this](ContractRoad road) {
        const TransactionReport report =
            attempt(road, get("/here")).response.getTransactionReport();
        EXPECT_EQ(report.redirectCount(), 0);
        EXPECT_EQ(report.effectiveURL(), URL(subject().url("/here")));
    });
}

TEST_P(TransportContract, SetsCodeAndHeadersBeforeTheBody) {
    answerAlways({HttpResponseCode::OK, "Fine", HttpHeaders({{"X-Answer", "yes"}}), "abc"});
    onBothRoads([this](ContractRoad road) {
        std::vector<std::string> events;
        HttpRequest request = get();
        request.setPreRespCodeAndHeadersCallback([&events] { events.emplace_back("change"); });
        request.setResponseStreamFactory([&events](HttpResponseCode code, const std::string& reason,
                                                   const HttpHeaders& headers) {
            EXPECT_EQ(code, HttpResponseCode::OK);
            EXPECT_EQ(reason, "Fine");
            EXPECT_EQ(headers.getHeaderValue("X-Answer"), "yes");
            events.emplace_back("body");
            return std::make_unique<std::stringstream>();
        });
        EXPECT_EQ(attempt(road, std::move(request)).body(), "abc");
        // Code with reason, then headers, each once; and nothing changes behind the body's back.
        EXPECT_EQ(events, (std::vector<std::string>{"change", "change", "body"}));
    });
}

TEST_P(TransportContract, AppendsToABodyThatIsContinued) {
    answerAlways(part("def", "bytes 3-5/6"));
    onBothRoads([this](ContractRoad road) {
        const Ended ended = attemptAfter("abc", road);
        EXPECT_EQ(ended.error, nullptr) << ended.message();
        EXPECT_EQ(ended.body(), "abcdef");
        EXPECT_EQ(lastReceived().headers.getHeaderValue("Range"), "bytes=3-");
    });
}

TEST_P(TransportContract, AppendsAlsoAfterTheBodyWasReadToItsEnd) {
    answerAlways(part("def", "bytes 3-5/6"));
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = get();
        request.setHeaderValue("Range", "bytes=3-");
        HttpResponse response = holdingResponse(request, "abc");
        std::string word;
        response.getResponseBody() >> word;
        EXPECT_TRUE(response.getResponseBody().eof());
        const Ended ended = attempt(road, std::move(request), std::move(response));
        EXPECT_EQ(word + ended.body(), "abcdef");
    });
}

TEST_P(TransportContract, ReplacesTheBodyWhereARangeIsAnsweredWithAll) {
    answerAlways({HttpResponseCode::OK, "OK", {}, "ABCDEF"});
    onBothRoads(
        [this](ContractRoad road) { EXPECT_EQ(attemptAfter("abc", road).body(), "ABCDEF"); });
}

TEST_P(TransportContract, RefusesAPartThatDoesNotContinueTheBody) {
    answerAlways(part("bcdef", "bytes 1-5/6"));
    onBothRoads([this](ContractRoad road) {
        const Ended ended = attemptAfter("abc", road);
        EXPECT_TRUE(ended.failedWith<HttpRequestFailedException>()) << ended.message();
        EXPECT_EQ(ended.body(), "abc");
    });
}

TEST_P(TransportContract, StartsOverWhereAnAnsweredRequestIsSentAgain) {
    answerAlways({HttpResponseCode::OK, "OK", HttpHeaders({{"X-New", "1"}}), "new"});
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = post("sent twice");
        HttpResponse response = holdingResponse(request, "refused");
        response.setResponseCodeAndReason(HttpResponseCode::ProxyAuthenticationRequired, "Refused");
        response.setHeaderValue("X-Old", "1");
        // As the attempt before left it: read to the end, with eofbit and failbit.
        std::istream& body = request.getRequestBody();
        body.ignore(100);
        body.get();
        EXPECT_TRUE(body.fail());
        const Ended ended = attempt(road, std::move(request), std::move(response));
        EXPECT_EQ(ended.error, nullptr) << ended.message();
        EXPECT_EQ(ended.code(), HttpResponseCode::OK);
        EXPECT_EQ(ended.body(), "new");
        EXPECT_FALSE(ended.response.hasHeader("X-Old"));
        EXPECT_TRUE(ended.response.hasHeader("X-New"));
        EXPECT_EQ(lastReceived().body, "sent twice");
    });
}

TEST_P(TransportContract, RefusesARequestBodyThatHasFailed) {
    answerAlways({});
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = post("cannot be rewound");
        request.getRequestBody().setstate(std::ios::badbit);
        const Ended ended = attempt(road, std::move(request));
        EXPECT_TRUE(ended.failedWith<HttpRequestFailedException>()) << ended.message();
        EXPECT_TRUE(received().empty()) << "it was sent with another body";
    });
}

TEST_P(TransportContract, FailsWithoutAnAnswer) {
    answerAlways({.kind = PeerAnswer::Kind::Refuse});
    onBothRoads([this](ContractRoad road) {
        const Ended ended = attempt(road, get());
        EXPECT_TRUE(ended.failedWith<HttpRequestFailedException>()) << ended.message();
        EXPECT_FALSE(ended.failedWith<HttpRequestCancelledException>());
        EXPECT_TRUE(ended.code() == HttpResponseCode::RequestNotMade ||
                    ended.code() == HttpResponseCode::ResponseNotReceived);
    });
}

TEST_P(TransportContract, AbortInTheProgressCallbackCancels) {
    answerAlways({HttpResponseCode::ServiceUnavailable, "Busy", {}, "busy"});
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = get();
        request.setProgressCallback([](const Progress&) { return ProgressResult::Abort; });
        const Ended ended = attempt(road, std::move(request));
        EXPECT_TRUE(ended.failedWith<HttpRequestCancelledException>()) << ended.message();
        // With the 503 it could be retried.
        EXPECT_EQ(ended.code(), HttpResponseCode::RequestNotMade);
    });
}

TEST_P(TransportContract, ProgressCountsTheBodies) {
    answerAlways({HttpResponseCode::OK, "OK", {}, "four"});
    onBothRoads([this](ContractRoad road) {
        Progress last;
        HttpRequest request = get();
        request.setProgressCallback([&last](const Progress& progress) {
            last = progress;
            return ProgressResult::Continue;
        });
        EXPECT_EQ(attempt(road, std::move(request)).error, nullptr);
        EXPECT_EQ(last.downloaded, 4);
    });
}

TEST_P(TransportContract, ExceptionOfTheStreamFactoryEndsTheAttempt) {
    answerAlways({HttpResponseCode::OK, "OK", {}, "abc"});
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = get();
        request.setResponseStreamFactory([](HttpResponseCode, const std::string&,
                                            const HttpHeaders&) -> std::unique_ptr<std::iostream> {
            throw std::range_error("no room");
        });
        const Ended ended = attempt(road, std::move(request));
        EXPECT_TRUE(ended.failedWith<std::range_error>()) << ended.message();
        EXPECT_EQ(ended.message(), "no room");
    });
}

TEST_P(TransportContract, RetrySendsTheBodyAgain) {
    start([first = true](const PeerRequest&) mutable -> PeerAnswer {
        if (std::exchange(first, !first)) {
            return {HttpResponseCode::ServiceUnavailable, "Busy", {}, "busy"};
        }
        return {HttpResponseCode::OK, "OK", {}, "done"};
    });
    client().setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [](const HttpRequest&, const HttpResponse& response, const std::exception_ptr&, int, int) {
            return !isSuccess(response.getResponseCode());
        }));
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = post("twice");
        const std::size_t before = received().size();
        const Ended ended = run(road, std::move(request));
        EXPECT_EQ(ended.body(), "done") << ended.message();
        ASSERT_EQ(received().size(), before + 2);
        EXPECT_EQ(received()[before].body, "twice");
        EXPECT_EQ(received()[before + 1].body, "twice");
    });
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
