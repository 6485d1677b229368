#include "tools/httpclient/LogOutput.h"
#include "tools/httpclient/RetryPolicy.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <new>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;
using std::chrono::milliseconds;

std::exception_ptr failed(const std::string& text) {
    return std::make_exception_ptr(HttpRequestFailedException(text));
}

class RetryPolicyTest : public ::testing::Test {
protected:
    RetryStrategy strategy(int retries) {
        RetryPolicy policy;
        policy.retries = retries;
        policy.bodySize = [this] { return bodySize_; };
        policy.isHopeless = [this] { return hopeless_; };
        policy.onRetry = [this](int retry, const std::string& reason) {
            retries_.push_back(std::to_string(retry) + ": " + reason);
        };
        return downloadRetryStrategy(std::move(policy));
    }

    bool asks(const RetryStrategy& strategy,
              int code,
              const std::exception_ptr& error,
              int total = 1,
              HttpMethod method = HttpMethod::GET) {
        HttpResponse response;
        response.setResponseCode(HttpResponseCode{code});
        response.setHeaders(headers_);
        return strategy(HttpRequest(method, URL("http://h/"), {}), response, error, total, 1);
    }

    std::int64_t bodySize_ = 0;
    bool hopeless_ = false;
    HttpHeaders headers_;
    std::vector<std::string> retries_;
    std::vector<milliseconds> waits_;
    detail::BackoffScope clock_{[this](milliseconds delay) {
        waits_.push_back(delay);
        return true;
    }};
    std::ostringstream stream_;
    ErrorOutput output_{stream_, false};
    LogOutput log_{output_, false};
};

TEST_F(RetryPolicyTest, RetriesABrokenDownloadUntilTheLimit) {
    const RetryStrategy retry = strategy(2);
    EXPECT_TRUE(asks(retry, 200, failed("transfer closed"), 1));
    EXPECT_TRUE(asks(retry, -1, failed("refused"), 2));
    EXPECT_FALSE(asks(retry, 200, failed("transfer closed"), 3));
    EXPECT_THAT(retries_, ::testing::ElementsAre("1: transfer closed", "2: refused"));
}

TEST_F(RetryPolicyTest, StopsAfterSuccess) {
    EXPECT_FALSE(asks(strategy(5), 200, nullptr));
    EXPECT_FALSE(asks(strategy(5), 206, nullptr));
    EXPECT_TRUE(waits_.empty());
    EXPECT_TRUE(retries_.empty());
}

TEST_F(RetryPolicyTest, WithoutRetriesTheFirstFailureIsTheLast) {
    EXPECT_FALSE(asks(strategy(0), -1, failed("refused")));
}

TEST_F(RetryPolicyTest, NeverRetriesWhatIsHopeless) {
    const RetryStrategy retry = strategy(5);
    hopeless_ = true;
    EXPECT_FALSE(asks(retry, 200, failed("The response body stream refused data")));
    EXPECT_FALSE(asks(retry, 503, nullptr));
    EXPECT_TRUE(waits_.empty());
}

TEST_F(RetryPolicyTest, WaitsTwiceAsLongAfterEachAttemptWithoutProgress) {
    const RetryStrategy retry = strategy(10);
    for (int total = 1; total <= 5; ++total) {
        EXPECT_TRUE(asks(retry, -1, failed("refused"), total));
    }
    ASSERT_EQ(waits_.size(), 5U);
    milliseconds base(400);
    // The first failure brought nothing either.
    for (const milliseconds wait : waits_) {
        EXPECT_GE(wait, base);
        EXPECT_LE(wait, base + milliseconds(100));
        base *= 2;
    }
}

TEST_F(RetryPolicyTest, ProgressSetsTheWaitBack) {
    const RetryStrategy retry = strategy(10);
    bodySize_ = 100;
    EXPECT_TRUE(asks(retry, 200, failed("transfer closed"), 1));
    EXPECT_TRUE(asks(retry, 206, failed("transfer closed"), 2));
    EXPECT_TRUE(asks(retry, 206, failed("transfer closed"), 3));
    bodySize_ = 101;
    EXPECT_TRUE(asks(retry, 206, failed("transfer closed"), 4));
    ASSERT_EQ(waits_.size(), 4U);
    EXPECT_LE(waits_[0], milliseconds(300));
    EXPECT_GE(waits_[1], milliseconds(400));
    EXPECT_GE(waits_[2], milliseconds(800));
    EXPECT_LE(waits_[3], milliseconds(300));
}

TEST_F(RetryPolicyTest, AnErrorPageIsNoProgress) {
    const RetryStrategy retry = strategy(10);
    bodySize_ = 100;
    EXPECT_TRUE(asks(retry, 503, nullptr, 1));
    bodySize_ = 200;
    EXPECT_TRUE(asks(retry, 503, nullptr, 2));
    ASSERT_EQ(waits_.size(), 2U);
    EXPECT_GE(waits_[1], milliseconds(800));
}

TEST_F(RetryPolicyTest, CountsProgressAcrossCopies) {
    const RetryStrategy retry = strategy(10);
    for (int total = 1; total <= 3; ++total) {
        const RetryStrategy copy = retry;
        EXPECT_TRUE(asks(copy, -1, failed("refused"), total));
    }
    EXPECT_GE(waits_.back(), milliseconds(1600));
}

TEST_F(RetryPolicyTest, HonoursRetryAfterUpToTwoMinutes) {
    headers_ = {{"Retry-After", "17"}};
    EXPECT_TRUE(asks(strategy(5), 503, nullptr));
    EXPECT_TRUE(asks(strategy(5), 429, nullptr));
    headers_ = {{"Retry-After", "3600"}};
    EXPECT_TRUE(asks(strategy(5), 503, nullptr));
    EXPECT_THAT(waits_, ::testing::ElementsAre(milliseconds(17000), milliseconds(17000),
                                               milliseconds(120000)));
}

TEST_F(RetryPolicyTest, NamesTheStatusAsTheReason) {
    EXPECT_TRUE(asks(strategy(5), 503, nullptr));
    EXPECT_THAT(retries_, ::testing::ElementsAre("1: HTTP status 503"));
}

TEST_F(RetryPolicyTest, OtherMethodsAreNotRetried) {
    EXPECT_FALSE(asks(strategy(5), -1, failed("refused"), 1, HttpMethod::POST));
    EXPECT_FALSE(asks(strategy(5), 503, nullptr, 1, HttpMethod::PUT));
}

struct Row {
    const char* label;
    int code;
    std::exception_ptr error;
    bool expected;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class RetryDecisionTest : public RetryPolicyTest, public ::testing::WithParamInterface<Row> {};

TEST_P(RetryDecisionTest, IsAsExpected) {
    EXPECT_EQ(asks(strategy(5), GetParam().code, GetParam().error), GetParam().expected);
    EXPECT_EQ(waits_.size(), GetParam().expected ? 1U : 0U);
}

const std::exception_ptr timeout = std::make_exception_ptr(HttpRequestTimeoutException());
const std::exception_ptr cancelled = std::make_exception_ptr(HttpRequestCancelledException());

INSTANTIATE_TEST_SUITE_P(
    Table,
    RetryDecisionTest,
    ::testing::Values(
        Row{"TimeoutBeforeAnswer", -1, timeout, true},
        Row{"TimeoutWithinBody", 200, timeout, true},
        Row{"NotConnected", -1, failed("refused (libcurl 7)"), true},
        Row{"UnknownHost", -1, failed("could not resolve h (libcurl 6)"), true},
        Row{"NoAnswer", 0, failed("Empty reply (libcurl 52)"), true},
        Row{"BodyBroke", 200, failed("transfer closed (libcurl 18)"), true},
        Row{"ResumedBodyBroke", 206, failed("transfer closed (libcurl 18)"), true},
        Row{"ErrorPageBroke", 503, failed("transfer closed (libcurl 18)"), true},
        Row{"RangeNotSatisfiable", 416, nullptr, true},
        Row{"UpgradeRequired", 426, nullptr, true},
        Row{"TooManyRequests", 429, nullptr, true},
        Row{"ServerError", 500, nullptr, true},
        Row{"LastServerError", 599, nullptr, true},
        Row{"NotFound", 404, nullptr, false},
        Row{"RequestTimeoutStatus", 408, nullptr, false},
        Row{"Redirection", 302, nullptr, false},
        Row{"TooManyRedirects", 302, failed("Maximum number of redirects (5) reached"), false},
        Row{"CancelledBeforeAnswer", -1, cancelled, false},
        Row{"CancelledWithinBody", 200, cancelled, false},
        Row{"CancelledOnServerError", 503, cancelled, false},
        Row{"UnsupportedScheme", -1, failed("unsupported (libcurl 1)"), false},
        Row{"MalformedUrl", -1, failed("malformed (libcurl 3)"), false},
        Row{"CertificateNotVerified", -1, failed("TLS verification (libcurl 60)"), false},
        Row{"CertificateFileUnreadable", -1, failed("TLS verification (libcurl 77)"), false},
        Row{"WrongIssuer", -1, failed("TLS verification (libcurl 83)"), false},
        Row{"BadCertificateStatus", -1, failed("TLS verification (libcurl 91)"), false},
        Row{"NumberElsewhereInTheText", -1, failed("(libcurl 60) said the proxy"), true},
        Row{"OutOfMemory", 200, std::make_exception_ptr(std::bad_alloc()), false},
        Row{"OtherError", -1, std::make_exception_ptr(std::runtime_error("x")), false},
        Row{"NoStandardError", -1, std::make_exception_ptr(7), false}),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_tool
