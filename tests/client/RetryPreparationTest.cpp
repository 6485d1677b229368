#include "client/RetryPreparation.h"
#include "tests/client/Roads.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/LoggingChannels.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <limits>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using testing::getRequest;
using testing::LogCapture;
using testing::LogRecord;
using testing::postRequest;
using testing::throwsExactly;

const URL firstURL("http://host/file");
const char* const movedURL = "https://other:8443/file?x=1#top";

/// A response as an attempt left it.
HttpResponse received(HttpResponseCode code, const std::string& body, HttpHeaders headers = {}) {
    HttpResponse response;
    response.setResponseCodeAndReason(code, getReasonStringForCode(code));
    response.setHeaders(std::move(headers));
    if (!body.empty()) {
        response.getResponseBody() << body;
    }
    response.setTransactionReport(TransactionReport(0, firstURL));
    return response;
}

HttpResponse redirected(const std::string& body = "") {
    HttpResponse response = received(HttpResponseCode::UpgradeRequired, body);
    response.setTransactionReport(TransactionReport(1, URL(movedURL)));
    return response;
}

void expectNotMade(const HttpResponse& response) {
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::RequestNotMade);
    EXPECT_EQ(response.getResponseCodeReason(), "Request Not Made");
    EXPECT_EQ(response.getHeaders(), HttpHeaders());
}

/// What a response stream factory was asked for, in order, with the changes announced in between.
class StreamLog {
public:
    ResponseStreamFactory factory(std::ios::openmode mode = std::ios::openmode(),
                                  std::string text = "") {
        return [this, mode, text](HttpResponseCode code, const std::string& reason,
                                  const HttpHeaders& headers) {
            events.push_back("stream for " + to_string(code) + " " + reason + " with " +
                             std::to_string(headers.size()) + " headers");
            return std::make_unique<std::stringstream>(text, std::ios::in | std::ios::out | mode);
        };
    }
    PreRespCodeAndHeadersCallback callback() {
        return [this] { events.emplace_back("change"); };
    }

    std::vector<std::string> events;
};

class RetryPreparationTest : public ::testing::Test {
protected:
    void prepare(HttpRequest& request, HttpResponse& response, bool resumeOnRetry = false) {
        prepareForRetry(request, response, resumeOnRetry, firstURL, freshRequestMade);
    }

    /// The record of a resume from this offset.
    static LogRecord resumeRecord(const std::string& offset) {
        return coreRecord(
            4,
            "Requesting a byte range starting from where last request left off up to the end: "
            "bytes=" +
                offset + "-");
    }

    LogCapture log;
    bool freshRequestMade = false;
};

TEST_F(RetryPreparationTest, StartsOver) {
    HttpRequest request = postRequest("abc");
    HttpResponse response = received(HttpResponseCode::BadGateway, "half", {{"A", "b"}});
    std::string text;
    std::getline(request.getRequestBody(), text);
    prepare(request, response);
    expectNotMade(response);
    EXPECT_EQ(response.getResponseBodyString(), "");
    EXPECT_EQ(request.getRequestBodyString(), "abc");
    EXPECT_FALSE(request.hasHeader("Range"));
    EXPECT_FALSE(freshRequestMade);
    EXPECT_TRUE(log.records().empty());
}

// --- The request body ---

TEST_F(RetryPreparationTest, RewindsARequestBodyThatWasReadToItsEnd) {
    HttpRequest request = postRequest("abc");
    char buffer[16];
    request.getRequestBody().read(buffer, sizeof buffer);
    ASSERT_TRUE(request.getRequestBody().fail());
    HttpResponse response = received(HttpResponseCode::BadGateway, "");
    prepare(request, response);
    EXPECT_TRUE(request.getRequestBody().good());
    EXPECT_EQ(request.getRequestBody().tellg(), 0);
}

TEST_F(RetryPreparationTest, ARequestBodyThatCannotSeekStaysFailed) {
    struct Unseekable : std::streambuf {};
    Unseekable buffer;
    HttpRequest request(HttpMethod::POST, firstURL, HttpHeaders());
    request.setRequestBody(std::make_unique<std::istream>(&buffer));
    HttpResponse response = received(HttpResponseCode::BadGateway, "");
    EXPECT_NO_THROW(prepare(request, response));
    EXPECT_TRUE(request.getRequestBody().fail());
    expectNotMade(response);
}

// --- Nothing was received ---

TEST_F(RetryPreparationTest, LeavesAResponseThatWasNotMade) {
    HttpRequest request = postRequest("abc");
    std::string text;
    std::getline(request.getRequestBody(), text);
    HttpResponse response =
        received(HttpResponseCode::RequestNotMade, "kept", {{"Accept-Ranges", "bytes"}});
    response.setResponseCodeAndReason(HttpResponseCode::RequestNotMade, "own reason");
    prepare(request, response, true);
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::RequestNotMade);
    EXPECT_EQ(response.getResponseCodeReason(), "own reason");
    EXPECT_TRUE(response.hasHeader("Accept-Ranges"));
    EXPECT_EQ(response.getResponseBodyString(), "kept");
    EXPECT_FALSE(request.hasHeader("Range"));
    EXPECT_EQ(request.getRequestBody().tellg(), 0);
    EXPECT_EQ(log.records(), std::vector<LogRecord>{coreRecord(4, "Request not made.")});
}

TEST_F(RetryPreparationTest, AResponseThatWasNotMadeKeepsTheRangeOfAnEarlierResume) {
    HttpRequest request = getRequest();
    request.setHeaderValue("Range", "bytes=4-");
    HttpResponse response;
    prepare(request, response, true);
    EXPECT_EQ(request.getHeaderValue("Range"), "bytes=4-");
}

TEST_F(RetryPreparationTest, ResponseNotReceivedIsACodeLikeAnyOther) {
    HttpRequest request = getRequest();
    HttpResponse response = received(HttpResponseCode::ResponseNotReceived, "half");
    prepare(request, response);
    expectNotMade(response);
    EXPECT_EQ(response.getResponseBodyString(), "");
    EXPECT_TRUE(log.records().empty());
}

// --- 426 after a redirect ---

TEST_F(RetryPreparationTest, RebuildsARequestThatMustUpgradeAfterARedirect) {
    HttpRequest request(HttpMethod::PUT, firstURL,
                        {{"X-Own", "1"}, {"Content-Length", "3"}, {"Content-Type", "text/plain"}});
    request.setRequestBody("abc");
    request.setMultipartBody(MultipartBody().withPart(DataPart("text")));
    request.setQueryParameters(QueryParameters("?q=1"));
    request.setClientConfiguration(ClientConfiguration().withMaxRedirects(9));
    request.setProgressCallback([](const Progress&) { return ProgressResult::Continue; });
    request.setPreRespCodeAndHeadersCallback([] {});
    StreamLog streams;
    request.setResponseStreamFactory(streams.factory());
    HttpResponse response = redirected();
    prepare(request, response);
    EXPECT_TRUE(freshRequestMade);
    EXPECT_EQ(request.getHttpMethod(), HttpMethod::PUT);
    EXPECT_EQ(request.getURL().toAsciiString(), movedURL);
    EXPECT_EQ(
        request.getHeaders(),
        HttpHeaders({{"X-Own", "1"}, {"Content-Length", "3"}, {"Content-Type", "text/plain"}}));
    EXPECT_EQ(request.getClientConfiguration().maxRedirects(), 9);
    EXPECT_FALSE(request.hasRequestBody());
    EXPECT_FALSE(request.hasMultipartBody());
    EXPECT_EQ(request.getQueryParameters().toString(), "");
    EXPECT_FALSE(request.hasProgressCallback());
    EXPECT_FALSE(request.getPreRespCodeAndHeadersCallback());
    request.getResponseStreamFactory()(HttpResponseCode::OK, "OK", HttpHeaders());
    EXPECT_TRUE(streams.events.empty());
    EXPECT_EQ(log.records(),
              std::vector<LogRecord>{coreRecord(4, "Got 426 Upgrade Required after redirect to " +
                                                       std::string(movedURL) +
                                                       ". Retrying with a fresh request.")});
}

TEST_F(RetryPreparationTest, ARebuiltRequestWithoutAConfigurationHasNone) {
    HttpRequest request = getRequest();
    HttpResponse response = redirected();
    prepare(request, response);
    EXPECT_FALSE(request.hasClientConfiguration());
}

// Code, then headers, then the body: the factory finds a response that was not made.
TEST_F(RetryPreparationTest, ARebuildResetsTheResponseBeforeItsBody) {
    StreamLog streams;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(streams.factory());
    request.setPreRespCodeAndHeadersCallback(streams.callback());
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::UpgradeRequired, "Upgrade");
    response.setHeaders({{"Accept-Ranges", "bytes"}});
    response.getResponseBody() << "half";
    response.setTransactionReport(TransactionReport(1, URL(movedURL)));
    streams.events.clear();
    prepare(request, response, true);
    EXPECT_EQ(streams.events,
              (std::vector<std::string>{"change", "change",
                                        "stream for -1 Request Not Made with 0 headers"}));
    expectNotMade(response);
    EXPECT_EQ(response.getResponseBodyString(), "");
    // The response keeps factory and callback; only the request loses them.
    streams.events.clear();
    response.setResponseCode(HttpResponseCode::OK);
    EXPECT_EQ(streams.events, std::vector<std::string>{"change"});
}

TEST_F(RetryPreparationTest, RebuildsOnlyOnce) {
    freshRequestMade = true;
    HttpRequest request = postRequest("abc");
    HttpResponse response = redirected("half");
    prepare(request, response);
    EXPECT_EQ(request.getURL().toAsciiString(), "http://host/form");
    EXPECT_TRUE(request.hasRequestBody());
    EXPECT_TRUE(freshRequestMade);
    expectNotMade(response);
    EXPECT_TRUE(log.records().empty());
}

struct UpgradeRow {
    const char* label;
    HttpResponseCode code;
    const char* effectiveURL;
    bool rebuilt;
    friend std::ostream& operator<<(std::ostream& os, const UpgradeRow& row) {
        return os << row.label;
    }
};

class RetryPreparationUpgradeTest : public RetryPreparationTest,
                                    public ::testing::WithParamInterface<UpgradeRow> {};

TEST_P(RetryPreparationUpgradeTest, DependsOnCodeAndEffectiveURL) {
    HttpRequest request = getRequest();
    HttpResponse response = received(GetParam().code, "half");
    response.setTransactionReport(TransactionReport(0, URL(GetParam().effectiveURL)));
    prepare(request, response);
    EXPECT_EQ(freshRequestMade, GetParam().rebuilt);
    EXPECT_EQ(request.getURL().toAsciiString(),
              GetParam().rebuilt ? GetParam().effectiveURL : "http://host/file");
    EXPECT_EQ(log.records().size(), GetParam().rebuilt ? 1U : 0U);
    expectNotMade(response);
    EXPECT_EQ(response.getResponseBodyString(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    RetryPreparationUpgradeTest,
    ::testing::Values(
        UpgradeRow{"OtherURL", HttpResponseCode::UpgradeRequired, "https://host/file", true},
        UpgradeRow{"OtherFragment", HttpResponseCode::UpgradeRequired, "http://host/file#x", true},
        UpgradeRow{"OtherCase", HttpResponseCode::UpgradeRequired, "http://HOST/file", true},
        UpgradeRow{"SameURL", HttpResponseCode::UpgradeRequired, "http://host/file", false},
        UpgradeRow{"EmptyURL", HttpResponseCode::UpgradeRequired, "", false},
        UpgradeRow{"OtherCode", HttpResponseCode::BadGateway, "https://host/file", false},
        UpgradeRow{"Unauthorized", HttpResponseCode::Unauthorized, "https://host/file", false}),
    [](const auto& row) { return row.param.label; });

// What counts is the URL of the first attempt, not the one the request has.
TEST_F(RetryPreparationTest, ComparesTheEffectiveURLWithTheFirstURL) {
    HttpRequest request = getRequest("http://host/changed");
    HttpResponse response = received(HttpResponseCode::UpgradeRequired, "");
    prepare(request, response);
    EXPECT_FALSE(freshRequestMade);
    EXPECT_EQ(request.getURL().toAsciiString(), "http://host/changed");
}

TEST_F(RetryPreparationTest, AUpgradeWithoutRedirectCanResume) {
    HttpRequest request = getRequest();
    HttpResponse response =
        received(HttpResponseCode::UpgradeRequired, "half", {{"Accept-Ranges", "bytes"}});
    prepare(request, response, true);
    EXPECT_EQ(request.getHeaderValue("Range"), "bytes=4-");
}

// --- 416 ---

TEST_F(RetryPreparationTest, ARangeThatCannotBeSatisfiedIsRemoved) {
    HttpRequest request = getRequest();
    request.setHeaderValue("Range", "bytes=4-");
    request.addHeaderValue("range", "bytes=9-");
    HttpResponse response =
        received(HttpResponseCode::RangeNotSatisfiable, "half", {{"Accept-Ranges", "bytes"}});
    prepare(request, response, true);
    EXPECT_FALSE(request.hasHeader("Range"));
    expectNotMade(response);
    EXPECT_EQ(response.getResponseBodyString(), "");
    EXPECT_EQ(log.records(),
              std::vector<LogRecord>{coreRecord(
                  4,
                  "Server responded with Range not satisfiable for http://host/file for request "
                  "with Range: bytes=4-")});
}

TEST_F(RetryPreparationTest, ARangeThatWasNotAskedForIsWrittenAsNotSet) {
    HttpRequest request = getRequest();
    HttpResponse response = received(HttpResponseCode::RangeNotSatisfiable, "");
    prepare(request, response);
    EXPECT_EQ(log.records(),
              std::vector<LogRecord>{coreRecord(
                  4,
                  "Server responded with Range not satisfiable for http://host/file for request "
                  "with Range: NOT SET")});
}

TEST_F(RetryPreparationTest, ARangeIsRemovedAlsoIfNothingIsWritten) {
    HttpRequest request = getRequest();
    request.setHeaderValue("Range", "bytes=4-");
    HttpResponse response = received(HttpResponseCode::RangeNotSatisfiable, "");
    coreChannel().set_filter_mask(0);
    prepare(request, response);
    coreChannel().set_filter_mask(0x7fff);
    EXPECT_FALSE(request.hasHeader("Range"));
    EXPECT_TRUE(log.records().empty());
}

// --- Resuming ---

struct ResumeRow {
    const char* label;
    HttpResponseCode code;
    bool resumeOnRetry;
    HttpHeaders headers;
    bool resumes;
    friend std::ostream& operator<<(std::ostream& os, const ResumeRow& row) {
        return os << row.label;
    }
};

class RetryPreparationResumeTest : public RetryPreparationTest,
                                   public ::testing::WithParamInterface<ResumeRow> {};

TEST_P(RetryPreparationResumeTest, NeedsTheSettingAndTheExactWord) {
    HttpRequest request = getRequest();
    HttpResponse response = received(GetParam().code, "half", GetParam().headers);
    prepare(request, response, GetParam().resumeOnRetry);
    expectNotMade(response);
    if (GetParam().resumes) {
        EXPECT_EQ(request.getHeaderValue("Range"), "bytes=4-");
        EXPECT_EQ(response.getResponseBodyString(), "half");
        EXPECT_EQ(log.records(), std::vector<LogRecord>{resumeRecord("4")});
    } else {
        EXPECT_FALSE(request.hasHeader("Range"));
        EXPECT_EQ(response.getResponseBodyString(), "");
        EXPECT_TRUE(log.records().empty());
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    RetryPreparationResumeTest,
    ::testing::Values(
        ResumeRow{"Bytes", HttpResponseCode::OK, true, {{"Accept-Ranges", "bytes"}}, true},
        ResumeRow{"PartialContent",
                  HttpResponseCode::PartialContent,
                  true,
                  {{"Accept-Ranges", "bytes"}},
                  true},
        ResumeRow{"ErrorCode",
                  HttpResponseCode::ServiceUnavailable,
                  true,
                  {{"Accept-Ranges", "bytes"}},
                  true},
        ResumeRow{"NoCode",
                  HttpResponseCode::ResponseNotReceived,
                  true,
                  {{"Accept-Ranges", "bytes"}},
                  true},
        ResumeRow{"NameInOtherCase",
                  HttpResponseCode::OK,
                  true,
                  {{"ACCEPT-ranges", "bytes"}},
                  true},
        ResumeRow{"FirstFieldDecides",
                  HttpResponseCode::OK,
                  true,
                  {{"Accept-Ranges", "bytes"}, {"Accept-Ranges", "none"}},
                  true},
        ResumeRow{"FirstFieldDecidesAgainst",
                  HttpResponseCode::OK,
                  true,
                  {{"Accept-Ranges", "none"}, {"Accept-Ranges", "bytes"}},
                  false},
        ResumeRow{"SettingOff", HttpResponseCode::OK, false, {{"Accept-Ranges", "bytes"}}, false},
        ResumeRow{"NoHeader", HttpResponseCode::OK, true, {}, false},
        ResumeRow{"Capital", HttpResponseCode::OK, true, {{"Accept-Ranges", "Bytes"}}, false},
        ResumeRow{"UpperCase", HttpResponseCode::OK, true, {{"Accept-Ranges", "BYTES"}}, false},
        ResumeRow{"None", HttpResponseCode::OK, true, {{"Accept-Ranges", "none"}}, false},
        ResumeRow{"Empty", HttpResponseCode::OK, true, {{"Accept-Ranges", ""}}, false},
        ResumeRow{"BlankAfter", HttpResponseCode::OK, true, {{"Accept-Ranges", "bytes "}}, false},
        ResumeRow{"BlankBefore", HttpResponseCode::OK, true, {{"Accept-Ranges", " bytes"}}, false},
        ResumeRow{"List", HttpResponseCode::OK, true, {{"Accept-Ranges", "bytes, none"}}, false},
        ResumeRow{"Prefix", HttpResponseCode::OK, true, {{"Accept-Ranges", "byte"}}, false}),
    [](const auto& row) { return row.param.label; });

TEST_F(RetryPreparationTest, ResumesAfterAThousandBytes) {
    HttpRequest request = getRequest();
    HttpResponse response =
        received(HttpResponseCode::OK, std::string(1000, 'x'), {{"Accept-Ranges", "bytes"}});
    prepare(request, response, true);
    EXPECT_EQ(request.getHeaderValue("Range"), "bytes=1000-");
    EXPECT_EQ(log.records(), std::vector<LogRecord>{resumeRecord("1000")});
    response.getResponseBody() << "yz";
    EXPECT_EQ(response.getResponseBodyString(), std::string(1000, 'x') + "yz");
}

TEST_F(RetryPreparationTest, TheNewRangeReplacesTheFirstEarlierOne) {
    HttpRequest request = getRequest();
    request.setHeaderValue("range", "bytes=0-9");
    request.addHeaderValue("Range", "bytes=20-29");
    HttpResponse response = received(HttpResponseCode::OK, "half", {{"Accept-Ranges", "bytes"}});
    prepare(request, response, true);
    EXPECT_EQ(request.getHeaders(), HttpHeaders({{"range", "bytes=4-"}, {"Range", "bytes=20-29"}}));
}

TEST_F(RetryPreparationTest, TheOffsetCountsFromTheStartOfTheStream) {
    StreamLog streams;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(streams.factory(std::ios::ate, "earlier "));
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
    response.setHeaders({{"Accept-Ranges", "bytes"}});
    response.getResponseBody() << "half";
    prepare(request, response, true);
    EXPECT_EQ(request.getHeaderValue("Range"), "bytes=12-");
}

TEST_F(RetryPreparationTest, AResponseWithoutABodyResumesFromItsStart) {
    StreamLog streams;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(streams.factory());
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
    response.setHeaders({{"Accept-Ranges", "bytes"}});
    prepare(request, response, true);
    EXPECT_EQ(request.getHeaderValue("Range"), "bytes=0-");
    EXPECT_EQ(streams.events, std::vector<std::string>{"stream for 200 OK with 1 headers"});
    EXPECT_EQ(log.records(), std::vector<LogRecord>{resumeRecord("0")});
}

TEST_F(RetryPreparationTest, AReaderAtTheEndDoesNotHinderAResume) {
    HttpRequest request = getRequest();
    HttpResponse response = received(HttpResponseCode::OK, "half", {{"Accept-Ranges", "bytes"}});
    std::string text;
    std::getline(response.getResponseBody(), text);
    ASSERT_TRUE(response.getResponseBody().eof());
    prepare(request, response, true);
    EXPECT_EQ(request.getHeaderValue("Range"), "bytes=4-");
    response.getResponseBody() << "more";
    EXPECT_TRUE(response.getResponseBody().good());
}

TEST_F(RetryPreparationTest, AStreamWithoutAPositionIsReset) {
    struct Unseekable : std::streambuf {
        int overflow(int c) override { return c; }
    };
    Unseekable buffer;
    int streams = 0;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory([&](HttpResponseCode, const std::string&, const HttpHeaders&) {
        ++streams;
        return std::make_unique<std::iostream>(&buffer);
    });
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
    response.setHeaders({{"Accept-Ranges", "bytes"}});
    response.getResponseBody() << "half";
    prepare(request, response, true);
    EXPECT_FALSE(request.hasHeader("Range"));
    EXPECT_EQ(streams, 2);
    expectNotMade(response);
    EXPECT_TRUE(log.records().empty());
}

TEST_F(RetryPreparationTest, ABadStreamIsReset) {
    HttpRequest request = getRequest();
    HttpResponse response = received(HttpResponseCode::OK, "half", {{"Accept-Ranges", "bytes"}});
    response.getResponseBody().setstate(std::ios::badbit);
    prepare(request, response, true);
    EXPECT_FALSE(request.hasHeader("Range"));
    EXPECT_TRUE(response.getResponseBody().good());
    EXPECT_EQ(response.getResponseBodyString(), "");
    EXPECT_TRUE(log.records().empty());
}

TEST_F(RetryPreparationTest, FlushesTheBodyItKeeps) {
    struct Counting : std::stringbuf {
        int sync() override {
            ++flushes;
            return 0;
        }
        int flushes = 0;
    };
    Counting buffer;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(
        [&buffer](HttpResponseCode, const std::string&, const HttpHeaders&) {
            return std::make_unique<std::iostream>(&buffer);
        });
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
    response.setHeaders({{"Accept-Ranges", "bytes"}});
    response.getResponseBody() << "half";
    prepare(request, response, true);
    EXPECT_EQ(buffer.flushes, 1);
    EXPECT_EQ(buffer.str(), "half");
}

// --- The progress of a resumed download ---

class RetryPreparationProgressTest : public RetryPreparationTest {
protected:
    RetryPreparationProgressTest() {
        request.setProgressCallback([this](const Progress& progress) {
            reported = progress;
            return result;
        });
    }

    void resumeAfter(const std::string& body) {
        HttpResponse response = received(HttpResponseCode::OK, body, {{"Accept-Ranges", "bytes"}});
        prepare(request, response, true);
    }

    HttpRequest request = getRequest();
    Progress reported;
    ProgressResult result = ProgressResult::Continue;
};

TEST_F(RetryPreparationProgressTest, CountsTheBytesThatAreThere) {
    resumeAfter("half");
    const Progress progress{
        .downloadTotal = 10, .downloaded = 2, .uploadTotal = 30, .uploaded = 20};
    EXPECT_EQ(request.getProgressCallback()(progress), ProgressResult::Continue);
    EXPECT_EQ(reported.downloadTotal, 14);
    EXPECT_EQ(reported.downloaded, 6);
    EXPECT_EQ(reported.uploadTotal, 30);
    EXPECT_EQ(reported.uploaded, 20);
    EXPECT_EQ(progress.downloadTotal, 10);
}

TEST_F(RetryPreparationProgressTest, ShiftsAlsoAnUnknownTotal) {
    resumeAfter("half");
    request.getProgressCallback()(Progress());
    EXPECT_EQ(reported.downloadTotal, 4);
    EXPECT_EQ(reported.downloaded, 4);
    EXPECT_EQ(reported.uploadTotal, 0);
    EXPECT_EQ(reported.uploaded, 0);
}

TEST_F(RetryPreparationProgressTest, ReturnsTheResultOfTheCallback) {
    resumeAfter("half");
    result = ProgressResult::Abort;
    EXPECT_EQ(request.getProgressCallback()(Progress()), ProgressResult::Abort);
}

TEST_F(RetryPreparationProgressTest, WrappersOfSeveralResumesAddUp) {
    resumeAfter("half");       // 4
    resumeAfter("half more");  // 9, the whole position again
    request.getProgressCallback()({.downloadTotal = 10, .downloaded = 1});
    EXPECT_EQ(reported.downloadTotal, 23);
    EXPECT_EQ(reported.downloaded, 14);
}

TEST_F(RetryPreparationProgressTest, StopsAtTheLargestNumber) {
    resumeAfter("half");
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    request.getProgressCallback()({.downloadTotal = largest, .downloaded = largest - 3});
    EXPECT_EQ(reported.downloadTotal, largest);
    EXPECT_EQ(reported.downloaded, largest);
}

TEST_F(RetryPreparationProgressTest, IsLeftAloneWithoutAResume) {
    HttpResponse response = received(HttpResponseCode::OK, "half", {{"Accept-Ranges", "bytes"}});
    prepare(request, response, false);
    request.getProgressCallback()({.downloadTotal = 10, .downloaded = 1});
    EXPECT_EQ(reported.downloadTotal, 10);
    EXPECT_EQ(reported.downloaded, 1);
}

TEST_F(RetryPreparationTest, ARequestWithoutProgressGetsNone) {
    HttpRequest request = getRequest();
    HttpResponse response = received(HttpResponseCode::OK, "half", {{"Accept-Ranges", "bytes"}});
    prepare(request, response, true);
    EXPECT_FALSE(request.hasProgressCallback());
}

// --- The order of the changes to the response ---

// Body first, so the factory sees the code that ended the attempt; then code, then headers.
TEST_F(RetryPreparationTest, AResetMakesTheNewStreamForTheOldCode) {
    StreamLog streams;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(streams.factory());
    request.setPreRespCodeAndHeadersCallback(streams.callback());
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::BadGateway, "Bad Gateway");
    response.setHeaders({{"A", "b"}});
    response.getResponseBody() << "half";
    streams.events.clear();
    prepare(request, response);
    EXPECT_EQ(streams.events, (std::vector<std::string>{"stream for 502 Bad Gateway with 1 headers",
                                                        "change", "change"}));
}

TEST_F(RetryPreparationTest, AResumeAnnouncesTheSameTwoChanges) {
    StreamLog streams;
    HttpRequest request = getRequest();
    request.setPreRespCodeAndHeadersCallback(streams.callback());
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
    response.setHeaders({{"Accept-Ranges", "bytes"}});
    response.getResponseBody() << "half";
    streams.events.clear();
    prepare(request, response, true);
    EXPECT_EQ(streams.events, (std::vector<std::string>{"change", "change"}));
}

TEST_F(RetryPreparationTest, AStreamThatStartedLaterKeepsWhatStoodBefore) {
    StreamLog streams;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(streams.factory(std::ios::ate, "earlier "));
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::BadGateway, "Bad Gateway");
    response.getResponseBody() << "half";
    prepare(request, response);
    response.getResponseBody() << "full";
    EXPECT_EQ(response.getResponseBodyString(), "earlier full");
    EXPECT_EQ(streams.events.size(), 1U);
}

TEST_F(RetryPreparationTest, TheExceptionOfTheFactoryLeavesTheResponseAsReceived) {
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(
        [first = true](HttpResponseCode, const std::string&, const HttpHeaders&) mutable {
            if (!std::exchange(first, false)) {
                throw std::runtime_error("disk full");
            }
            return std::make_unique<std::stringstream>();
        });
    HttpResponse response(request);
    response.setResponseCodeAndReason(HttpResponseCode::BadGateway, "Bad Gateway");
    response.getResponseBody() << "half";
    EXPECT_TRUE(
        throwsExactly<std::runtime_error>([&] { prepare(request, response); }, "disk full"));
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::BadGateway);
    EXPECT_EQ(response.getResponseBodyString(), "half");
}

TEST_F(RetryPreparationTest, TheReportOfTheAttemptStays) {
    HttpRequest request = getRequest();
    HttpResponse response = redirected();
    prepare(request, response);
    EXPECT_EQ(response.getTransactionReport().redirectCount(), 1);
    EXPECT_EQ(response.getTransactionReport().effectiveURL(), URL(movedURL));
}

}  // namespace
}  // namespace foundation::httpclient_core
