#include "report/FailureText.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <gtest/gtest.h>

#include <ostream>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;

Outcome failed(const std::string& text) {
    return {{}, std::make_exception_ptr(HttpRequestFailedException(text))};
}

Outcome answered(int code, const std::string& reason = "", const HttpHeaders& headers = {}) {
    Outcome outcome;
    outcome.response.setResponseCodeAndReason(HttpResponseCode{code}, reason);
    outcome.response.setHeaders(headers);
    return outcome;
}

TEST(FailureTextTest, SaysWhatWhereAndWhatToTry) {
    const Failure failure = failureFor(answered(404, "Not Found"), {.url = "http://h/f"});
    EXPECT_EQ(failure.code(), ExitCode::ClientError);
    EXPECT_STREQ(failure.what(), "http://h/f: HTTP status 404 Not Found; check the URL");
}

TEST(FailureTextTest, NamesTheUrlOnce) {
    EXPECT_STREQ(
        failureFor(failed("GET http://h/f: broken (libcurl 6)"), {.url = "http://h/f"}).what(),
        "GET http://h/f: broken (libcurl 6); check the host name and the network");
    EXPECT_STREQ(failureFor(failed("The server sent no answer"), {.url = "http://h/f"}).what(),
                 "http://h/f: The server sent no answer; try again later, or with more --retries");
}

TEST(FailureTextTest, AdvisesWhatHelps) {
    const auto advice = [](const Outcome& outcome, const RequestFacts& facts) {
        const std::string text = failureFor(outcome, facts).what();
        return text.substr(text.find("; ") + 2);
    };
    const RequestFacts get{.url = "http://h/f"};
    const RequestFacts post{.url = "http://h/f", .isRepeated = false};
    const RequestFacts local{.url = "http://h/f", .usesSocket = true};
    const char* const later = "try again later";
    const char* const retries = "try again later, or with more --retries";
    EXPECT_EQ(advice(answered(503), get), retries);
    EXPECT_EQ(advice(answered(503), post), later);
    EXPECT_EQ(advice(answered(429), post), later);
    EXPECT_EQ(advice(failed("GET http://h/f: reset (libcurl 56)"), post), later);
    EXPECT_EQ(advice(answered(501), get), "the server cannot do that; check the request");
    EXPECT_EQ(advice(answered(505), get), "the server cannot do that; check the request");
    EXPECT_EQ(advice(answered(510), get), "the server cannot do that; check the request");
    EXPECT_EQ(advice(answered(511), get), "log in to the network first");
    EXPECT_EQ(advice(answered(404), get), "check the URL");
    EXPECT_EQ(advice(answered(408), post), later);
    EXPECT_EQ(advice(failed("GET http://h/f: unsupported (libcurl 1)"), get), "check the URL");
    EXPECT_EQ(advice(failed("GET http://h/f: malformed (libcurl 3)"), get), "check the URL");
    EXPECT_EQ(advice(failed("GET http://h/f: no such proxy (libcurl 5)"), get),
              "check the proxy's host name");
    EXPECT_EQ(advice(answered(304), get),
              "to get it all the same, leave out If-None-Match and If-Modified-Since");
    EXPECT_EQ(advice(answered(301), get), "it names no other URL; check the URL");
    EXPECT_EQ(advice(answered(301, "", {{"Location", "/"}}), get),
              "ask for the URL it names, or allow more --max-redirects");
    EXPECT_EQ(advice(failed("GET http://h/f: refused (libcurl 7)"), local),
              "check the path of --unix-socket");
    EXPECT_EQ(advice(failed("GET https://h/f: TLS verification: x (libcurl 60)"), get),
              "check the host name, or name the right certificates with --cacert");
    EXPECT_EQ(advice(failed("GET https://h/f: reset (libcurl 35)"), get),
              "check that the server speaks TLS 1.2 or later at that port, or try again later");
    EXPECT_EQ(advice(failed("GET https://h/f: no certificate file (libcurl 77)"), get),
              "name a file of certificates in PEM form with --cacert");
    EXPECT_EQ(advice(failed("Protocol \"ftp\" is neither http nor https"), get),
              "the server sends elsewhere; check the URL");
    EXPECT_EQ(advice(failed("The redirect names no usable URL: Bad hostname"), get),
              "check the URL");
    EXPECT_EQ(advice(failed("The URL of the proxy is malformed"), get),
              "check --proxy, or the proxy that the environment names");
    EXPECT_EQ(advice(failed("Request body ended after 1 of 5 bytes"), get),
              "check the body and the header Content-Length");
    EXPECT_EQ(advice(failed("Content-Length of the request is no length"), get),
              "check the header Content-Length");
}

TEST(FailureTextTest, OnlyA2xxWithoutAnErrorIsASuccess) {
    EXPECT_TRUE(isSuccessful(answered(200)));
    EXPECT_TRUE(isSuccessful(answered(206)));
    EXPECT_FALSE(isSuccessful(answered(304)));
    Outcome broken = answered(200);
    broken.error = failed("transfer closed").error;
    EXPECT_FALSE(isSuccessful(broken));
}

TEST(FailureTextTest, AFailureStaysAsItIs) {
    const Failure failure = failureFor(
        Outcome{{}, std::make_exception_ptr(Failure(ExitCode::ResumeRefused, "as it is"))},
        {.url = "url"});
    EXPECT_EQ(failure.code(), ExitCode::ResumeRefused);
    EXPECT_STREQ(failure.what(), "as it is");
}

TEST(FailureTextTest, ARefusingProxyIsTheProxysOnlyWhereItIsKnown) {
    EXPECT_EQ(
        failureFor(answered(407, "", {{"QZ-Internal-Proxy-Info", "p:1"}}), {.url = "u"}).code(),
        ExitCode::ProxyAuthentication);
    EXPECT_EQ(failureFor(answered(407), {.url = "u"}).code(), ExitCode::ClientError);
}

TEST(FailureTextTest, OtherErrorsNameTheUrl) {
    EXPECT_EQ(failureFor(Outcome{{}, std::make_exception_ptr(HttpRequestTimeoutException())},
                         {.url = "u"})
                  .code(),
              ExitCode::TimedOut);
    EXPECT_STREQ(failureFor(Outcome{{}, std::make_exception_ptr(HttpRequestCancelledException())},
                            {.url = "u"})
                     .what(),
                 "u: cancelled; try again");
    EXPECT_STREQ(
        failureFor(Outcome{{}, std::make_exception_ptr(std::bad_alloc())}, {.url = "u"}).what(),
        "u: std::bad_alloc; try again");
    EXPECT_STREQ(failureFor(Outcome{{}, std::make_exception_ptr(7)}, {.url = "u"}).what(),
                 "u: unknown error; try again");
}

struct Row {
    const char* label;
    const char* text;
    ExitCode expected;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class FailedRequestCodeTest : public ::testing::TestWithParam<Row> {};

TEST_P(FailedRequestCodeTest, IsReadFromTheText) {
    const Failure failure = failureFor(failed(GetParam().text), {.url = "http://h/f"});
    EXPECT_EQ(failure.code(), GetParam().expected);
    const std::string text = failure.what();
    EXPECT_NE(text.find(std::string(GetParam().text) + "; "), std::string::npos) << text;
    EXPECT_NE(text.find("://h/"), std::string::npos) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    FailedRequestCodeTest,
    ::testing::Values(
        Row{"Refused", "GET http://h/: refused (libcurl 7)", ExitCode::Failed},
        Row{"UnknownHost", "GET http://h/: could not resolve (libcurl 6)", ExitCode::Failed},
        Row{"Broken", "GET http://h/: transfer closed (libcurl 18)", ExitCode::Failed},
        Row{"Handshake", "GET https://h/: handshake (libcurl 35)", ExitCode::Tls},
        Row{"Certificate", "GET https://h/: TLS verification: x (libcurl 60)", ExitCode::Tls},
        Row{"CertificateFile", "GET https://h/: TLS verification: x (libcurl 77)", ExitCode::Tls},
        Row{"RevocationList", "x (libcurl 82)", ExitCode::Tls},
        Row{"Redirects", "GET http://h/: Maximum number of redirects (5) reached",
            ExitCode::TooManyRedirects},
        Row{"NumberElsewhere", "(libcurl 60) said the proxy", ExitCode::Failed},
        Row{"NoNumber", "GET http://h/: x (libcurl many)", ExitCode::Failed}),
    [](const auto& row) { return row.param.label; });

struct Status {
    int code;
    ExitCode expected;
    friend std::ostream& operator<<(std::ostream& os, const Status& row) { return os << row.code; }
};

class StatusCodeTest : public ::testing::TestWithParam<Status> {};

TEST_P(StatusCodeTest, HasItsExitCode) {
    EXPECT_EQ(failureFor(answered(GetParam().code), {.url = "u"}).code(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table,
                         StatusCodeTest,
                         ::testing::Values(Status{101, ExitCode::Failed},
                                           Status{300, ExitCode::Redirection},
                                           Status{304, ExitCode::Redirection},
                                           Status{399, ExitCode::Redirection},
                                           Status{400, ExitCode::ClientError},
                                           Status{401, ExitCode::ClientError},
                                           Status{403, ExitCode::ClientError},
                                           Status{410, ExitCode::ClientError},
                                           Status{416, ExitCode::ClientError},
                                           Status{429, ExitCode::ClientError},
                                           Status{499, ExitCode::ClientError},
                                           Status{500, ExitCode::ServerError},
                                           Status{599, ExitCode::ServerError}),
                         [](const auto& row) { return std::to_string(row.param.code); });

}  // namespace
}  // namespace foundation::httpclient_tool
