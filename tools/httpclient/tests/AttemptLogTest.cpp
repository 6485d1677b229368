#include "report/AttemptLog.h"
#include "report/Report.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

namespace foundation::httpclient_tool {
namespace {

using namespace std::chrono_literals;
using httpclient_core::HttpRequestCancelledException;
using httpclient_core::HttpRequestFailedException;
using httpclient_core::HttpResponseCode;
using httpclient_curl::AttemptReport;
using httpclient_curl::RetryNotice;
using httpclient_curl::WaitSource;

AttemptReport report(unsigned long id, int attempt) {
    AttemptReport report;
    report.requestId = id;
    report.attempt = attempt;
    report.url = "http://h/f";
    report.code = HttpResponseCode::OK;
    report.bytesReceived = 700;
    report.bytesKept = 300;
    report.bytesDiscarded = 20;
    report.resumed = true;
    report.validator = "\"v\"";
    report.remoteAddress = "127.0.0.1:80";
    report.nameLookup = 100us;
    report.connect = 250us;
    report.firstByte = 12'345us;
    report.total = 50ms;
    return report;
}

TEST(AttemptLogTest, AWaitBelongsToTheAttemptBeforeIt) {
    std::ostringstream stream;
    ErrorOutput errors(stream, false);
    AttemptLog log(errors, false);
    log.attempted(report(5, 1));
    log.attempted(report(6, 1));
    log.waiting(1, {.retry = 1, .wait = 200ms, .source = WaitSource::Backoff, .reason = "of 6"});
    // A repetition for a proxy has no wait.
    log.attempted(report(5, 2));
    log.waiting(0,
                {.retry = 1, .wait = 3s, .source = WaitSource::RetryAfterDate, .reason = "of 5"});
    log.attempted(report(5, 3));
    const auto records = log.records({5}, 0);
    ASSERT_EQ(records.size(), 3U);
    EXPECT_FALSE(records[0].wait.has_value());
    ASSERT_TRUE(records[1].wait.has_value());
    EXPECT_EQ(records[1].wait->reason, "of 5");
    EXPECT_FALSE(records[2].wait.has_value());
    EXPECT_EQ(log.records({6}, 1).at(0).wait->reason, "of 6");
    EXPECT_EQ(log.records({5, 6}, 7).size(), 4U);
    EXPECT_EQ(stream.str(), "");
}

TEST(AttemptLogTest, ExplainsEachAttemptAsItHappens) {
    std::ostringstream stream;
    ErrorOutput errors(stream, false);
    AttemptLog log(errors, true);
    AttemptReport broken = report(1, 1);
    broken.error =
        std::make_exception_ptr(HttpRequestFailedException("GET http://h/f: transfer closed"));
    log.attempted(broken);
    EXPECT_EQ(
        stream.str(),
        "* attempt 1: GET http://h/f: status 200, transfer closed; 700 bytes received, 300 kept, "
        "20 thrown away, resumed, version \"v\"; 127.0.0.1:80, new connection; name 0.1 ms, "
        "connect 0.2 ms, TLS 0.0 ms, first byte 12.3 ms, total 50.0 ms\n");
    stream.str("");
    log.waiting(0, {.retry = 1,
                    .wait = 1500ms,
                    .source = WaitSource::RetryAfterSeconds,
                    .reason = "HTTP status 503"});
    EXPECT_EQ(stream.str(),
              "* waits 1.5 s (Retry-After in seconds) before attempt 2: HTTP status 503\n");
}

TEST(AttemptLogTest, SaysWhereNoAnswerCame) {
    AttemptReport none;
    none.url = "http://h/";
    EXPECT_NE(describe(none).find("GET http://h/: not sent"), std::string::npos);
    none.code = HttpResponseCode::ResponseNotReceived;
    EXPECT_NE(describe(none).find("GET http://h/: no answer"), std::string::npos);
}

TEST(AttemptLogTest, DoesNotSayOfARefusedAnswerThatNoneCame) {
    AttemptReport refused = report(1, 1);
    refused.code = HttpResponseCode::ResponseNotReceived;
    refused.error = std::make_exception_ptr(HttpRequestFailedException("The answer is malformed"));
    EXPECT_TRUE(describe(refused).starts_with(
        "attempt 1: GET http://h/f: no usable answer, The answer is malformed; 700 bytes"));
}

TEST(AttemptLogTest, DoesNotSayOfACancelledAttemptThatNothingWasSent) {
    AttemptReport cancelled = report(1, 1);
    cancelled.code = HttpResponseCode::RequestNotMade;
    cancelled.error = std::make_exception_ptr(HttpRequestCancelledException());
    EXPECT_TRUE(describe(cancelled).starts_with(
        "attempt 1: GET http://h/f: given up, Request cancelled; 700 bytes received"));
}

TEST(ReportTest, IsOneDocumentWithEverythingAboutEachUrl) {
    TransferResult result;
    result.code = ExitCode::ServerError;
    result.failure = "http://h/f?secret: HTTP status 503 Busy";
    result.method = "GET";
    result.url = "http://u:secret@h/f?secret";
    result.output = "f";
    result.status = 503;
    result.reason = "Busy\x1b";
    result.headers = {{"Retry-After", "2"}, {"Set-Cookie", "secret"}};
    result.effectiveUrl = "http://h/g?secret";
    result.redirects = 1;
    result.bytes = 1000;
    result.resumedFrom = 300;
    result.attempts = {{.report = report(1, 1),
                        .wait = RetryNotice{.retry = 1,
                                            .wait = 2s,
                                            .source = WaitSource::RetryAfterSeconds,
                                            .reason = "HTTP status 503"}}};
    const std::string text = jsonReport(ExitCode::ServerError, {result, TransferResult()});
    EXPECT_EQ(text.find("secret"), std::string::npos) << text;
    EXPECT_EQ(text.back(), '\n');
    const nlohmann::json json = nlohmann::json::parse(text);
    EXPECT_EQ(json["exit_code"], 5);
    ASSERT_EQ(json["results"].size(), 2U);
    const nlohmann::json& first = json["results"][0];
    EXPECT_EQ(first["url"], "http://...@h/f?...");
    EXPECT_EQ(first["failure"], "http://h/f?...: HTTP status 503 Busy");
    EXPECT_EQ(first["status"], 503);
    EXPECT_EQ(first["reason"], "Busy\\x1B");
    EXPECT_EQ(first["headers"], (nlohmann::json{{"Retry-After", "2"}}));
    EXPECT_EQ(first["effective_url"], "http://h/g?...");
    EXPECT_EQ(first["bytes"], 1000);
    EXPECT_EQ(first["resumed_from"], 300);
    const nlohmann::json& attempt = first["attempts"].at(0);
    EXPECT_EQ(attempt["status"], 200);
    EXPECT_EQ(attempt["bytes_kept"], 300);
    EXPECT_EQ(attempt["bytes_received"], 700);
    EXPECT_EQ(attempt["bytes_discarded"], 20);
    EXPECT_EQ(attempt["resumed"], true);
    EXPECT_EQ(attempt["validator"], "\"v\"");
    EXPECT_EQ(attempt["timings_ms"]["first_byte"], 12.345);
    EXPECT_EQ(attempt["wait"]["milliseconds"], 2000);
    EXPECT_EQ(attempt["wait"]["source"], "retry-after-seconds");
    EXPECT_EQ(attempt["wait"]["cause"], "HTTP status 503");
    EXPECT_TRUE(json["results"][1]["failure"].is_null());
    EXPECT_TRUE(json["results"][1]["attempts"].empty());
}

TEST(ReportTest, BytesThatAreNoTextDoNotBreakTheDocument) {
    TransferResult result;
    result.reason = "\xFF\xFE";
    EXPECT_TRUE(nlohmann::json::accept(jsonReport(ExitCode::Failed, {result})));
}

}  // namespace
}  // namespace foundation::httpclient_tool
