#include "retry/RetryClock.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>
#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <ostream>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl {

std::ostream& operator<<(std::ostream& os, WaitSource source) {
    return os << static_cast<int>(source);
}

namespace {

using namespace httpclient_core;
using namespace std::chrono_literals;
using std::chrono::milliseconds;

// What the strategy takes for the present; moved by its waits.
std::chrono::steady_clock::time_point now;
std::chrono::system_clock::time_point date;

std::chrono::steady_clock::time_point readNow() {
    return now;
}

std::chrono::system_clock::time_point readDate() {
    return date;
}

// Always the longest wait that is possible.
std::int64_t most(std::int64_t limit) {
    return limit;
}

class ResumingRetryStrategyTest : public ::testing::Test {
protected:
    ResumingRetryStrategyTest()
        : backoff_([this](milliseconds wait) {
              waits_.push_back(wait);
              now += wait;
              date += wait;
              return true;
          }) {
        now = {};
        date = std::chrono::system_clock::time_point(784111777s);  // Sun, 06 Nov 1994 08:49:37 GMT
        setRetryClock({.now = &readNow, .date = &readDate, .randomUpTo = &most});
    }
    ~ResumingRetryStrategyTest() override { setRetryClock(systemRetryClock()); }
    ResumingRetryStrategyTest(const ResumingRetryStrategyTest&) = delete;
    ResumingRetryStrategyTest& operator=(const ResumingRetryStrategyTest&) = delete;

    static HttpResponse answer(int code, const HttpHeaders& headers = {}) {
        HttpResponse response;
        response.setResponseCodeAndReason(HttpResponseCode{code}, "");
        response.setHeaders(headers);
        return response;
    }

    template <class Exception = HttpRequestFailedException>
    static std::exception_ptr failure(const std::string& text = "broke (libcurl 56)") {
        return std::make_exception_ptr(Exception(text));
    }

    bool retries(HttpMethod method,
                 const HttpResponse& response,
                 const std::exception_ptr& error = nullptr,
                 int attempt = 1) {
        return resumingRetryStrategy(options_)(HttpRequest(method, "http://h/", {}), response,
                                               error, attempt, attempt);
    }

    bool retriesCode(int code, const std::exception_ptr& error = nullptr) {
        return retries(HttpMethod::GET, answer(code), error);
    }

    // The only wait of a strategy made anew.
    milliseconds waitAfter(const HttpResponse& response) {
        waits_.clear();
        EXPECT_TRUE(retries(HttpMethod::GET, response));
        return waits_.empty() ? 0ms : waits_.back();
    }

    ResumingRetryOptions options_;
    std::vector<milliseconds> waits_;
    const httpclient_core::detail::BackoffScope backoff_;
};

TEST_F(ResumingRetryStrategyTest, WaitsDoubleUpToTheLongest) {
    options_.maxRetries = 9;
    options_.maxWait = 5s;
    const RetryStrategy strategy = resumingRetryStrategy(options_);
    const HttpRequest request(HttpMethod::GET, "http://h/", {});
    int attempts = 1;
    while (strategy(request, answer(503), nullptr, attempts, attempts)) {
        ++attempts;
    }
    EXPECT_EQ(attempts, 10);
    EXPECT_EQ(waits_, (std::vector<milliseconds>{200ms, 400ms, 800ms, 1600ms, 3200ms, 5000ms,
                                                 5000ms, 5000ms, 5000ms}));
}

TEST_F(ResumingRetryStrategyTest, RetriesWhatAnotherAttemptMayMend) {
    for (const int code : {408, 416, 426, 429, 500, 502, 503, 504, 506, 507, 508, 599}) {
        EXPECT_TRUE(retriesCode(code)) << code;
        EXPECT_TRUE(retriesCode(code, failure())) << code;
    }
    for (const int code : {-1, 0, 200, 206}) {
        EXPECT_TRUE(retriesCode(code, failure())) << code;
    }
    EXPECT_TRUE(retries(HttpMethod::GET, answer(404),
                        std::make_exception_ptr(HttpRequestTimeoutException())));
}

TEST_F(ResumingRetryStrategyTest, LeavesTheRestAlone) {
    for (const int code : {200, 204, 206, 301, 304, 400, 401, 403, 404, 407, 409, 410, 412, 501,
                           505, 510, 511, 600}) {
        EXPECT_FALSE(retriesCode(code)) << code;
    }
    for (const int code : {301, 401, 404, 501}) {
        EXPECT_FALSE(retriesCode(code, failure())) << code;
    }
    const auto cancelled = std::make_exception_ptr(HttpRequestCancelledException());
    EXPECT_FALSE(retriesCode(503, cancelled));
    EXPECT_FALSE(retriesCode(-1, failure<std::runtime_error>()));
    EXPECT_FALSE(retriesCode(-1, std::make_exception_ptr(1)));
    for (const char* text : {"(libcurl 1)", "x (libcurl 3)", "x (libcurl 60)", "x (libcurl 77)",
                             "x (libcurl 83)", "x (libcurl 91)"}) {
        EXPECT_FALSE(retriesCode(-1, failure(text))) << text;
    }
    EXPECT_TRUE(retriesCode(-1, failure("x (libcurl 61)")));
    EXPECT_TRUE(waits_.size() == 1) << "only the last one may wait";
}

TEST_F(ResumingRetryStrategyTest, OnlyIdempotentMethods) {
    for (const HttpMethod method :
         {HttpMethod::GET, HttpMethod::HEAD, HttpMethod::PUT, HttpMethod::DELETE}) {
        EXPECT_TRUE(retries(method, answer(503))) << method;
        EXPECT_TRUE(retries(method, answer(-1), failure())) << method;
    }
    for (const HttpMethod method : {HttpMethod::POST, HttpMethod::PATCH, HttpMethod{17}}) {
        EXPECT_FALSE(retries(method, answer(503))) << method;
        EXPECT_FALSE(retries(method, answer(-1), failure())) << method;
    }
}

TEST_F(ResumingRetryStrategyTest, StopsAfterTheLastRetry) {
    options_.maxRetries = 2;
    EXPECT_TRUE(retries(HttpMethod::GET, answer(503), nullptr, 2));
    EXPECT_FALSE(retries(HttpMethod::GET, answer(503), nullptr, 3));
    options_.maxRetries = 0;
    EXPECT_FALSE(retries(HttpMethod::GET, answer(503), nullptr, 1));
    options_.maxRetries = -1;
    EXPECT_FALSE(retries(HttpMethod::GET, answer(503), nullptr, 1));
}

TEST_F(ResumingRetryStrategyTest, WaitsAsLongAsTheServerAsks) {
    EXPECT_EQ(waitAfter(answer(503, {{"Retry-After", "7"}})), 7s);
    EXPECT_EQ(waitAfter(answer(429, {{"Retry-After", " 7 "}})), 7s);
    EXPECT_EQ(waitAfter(answer(500, {{"retry-after", "7"}})), 7s);
    EXPECT_EQ(waitAfter(answer(503, {{"Retry-After", "Sun, 06 Nov 1994 08:49:42 GMT"}})), 200ms)
        << "the clock has moved on by 21 s";
    date = std::chrono::system_clock::time_point(784111777s);
    EXPECT_EQ(waitAfter(answer(503, {{"Retry-After", "Sunday, 06-Nov-94 08:49:42 GMT"}})), 5s);
}

TEST_F(ResumingRetryStrategyTest, DateCountsFromTheServersClock) {
    date = std::chrono::system_clock::time_point(0s);
    EXPECT_EQ(waitAfter(answer(503, {{"Date", "Sun Nov  6 08:49:37 1994"},
                                     {"Retry-After", "Sun, 06 Nov 1994 08:49:47 GMT"}})),
              10s);
}

// Beyond what the system's clock can say in nanoseconds.
TEST_F(ResumingRetryStrategyTest, DateOfTheFarFutureOrPastIsOneLikeAnyOther) {
    const char* const future = "Fri, 31 Dec 9999 23:59:59 GMT";
    const char* const past = "Mon, 01 Jan 0001 00:00:00 GMT";
    EXPECT_EQ(waitAfter(answer(503, {{"Retry-After", future}})), options_.maxWait);
    EXPECT_EQ(waitAfter(answer(503, {{"Retry-After", past}})), 200ms);
    EXPECT_EQ(waitAfter(answer(503, {{"Date", future}, {"Retry-After", future}})), 200ms);
    EXPECT_EQ(waitAfter(answer(503, {{"Date", past}, {"Retry-After", future}})), options_.maxWait);
    EXPECT_EQ(waitAfter(answer(503, {{"Date", future}, {"Retry-After", past}})), 200ms);
}

TEST_F(ResumingRetryStrategyTest, SenselessRetryAfterCountsAsAbsent) {
    for (const char* value :
         {"", "-5", "+5", "5.5", "5s", "soon", "0", "0x10", "Sun, 06 Nov 1994 08:00:00 GMT"}) {
        EXPECT_EQ(waitAfter(answer(503, {{"Retry-After", value}})), 200ms) << value;
    }
}

TEST_F(ResumingRetryStrategyTest, NothingWaitsLongerThanTheLongest) {
    options_.maxWait = 3s;
    for (const char* value : {"4", "2147484", "99999999999999999999999999"}) {
        EXPECT_EQ(waitAfter(answer(503, {{"Retry-After", value}})), 3s) << value;
    }
    options_.firstWait = 10s;
    EXPECT_EQ(waitAfter(answer(503)), 3s);
    options_.maxWait = -1s;
    EXPECT_EQ(waitAfter(answer(503)), 0s);
    options_.maxWait = milliseconds(std::numeric_limits<milliseconds::rep>::max());
    options_.maxRetries = 100;
    EXPECT_TRUE(retries(HttpMethod::GET, answer(503), nullptr, 100));
    EXPECT_EQ(waits_.back(), std::chrono::hours(24 * 365 * 100)) << "more overflows the clocks";
}

TEST_F(ResumingRetryStrategyTest, DoesNotBeginAWaitThatPassesTheDeadline) {
    options_.deadline = 1s;
    const RetryStrategy strategy = resumingRetryStrategy(options_);
    const HttpRequest request(HttpMethod::GET, "http://h/", {});
    EXPECT_TRUE(strategy(request, answer(503), nullptr, 1, 1));
    EXPECT_TRUE(strategy(request, answer(503), nullptr, 2, 2));
    EXPECT_FALSE(strategy(request, answer(503), nullptr, 3, 3)) << "600 ms gone, 800 ms to come";
    EXPECT_EQ(waits_, (std::vector<milliseconds>{200ms, 400ms}));
    // The next request has all the time again.
    EXPECT_TRUE(strategy(request, answer(503), nullptr, 1, 1));
    now += 2s;
    EXPECT_FALSE(strategy(request, answer(-1), failure(), 2, 2));
}

TEST_F(ResumingRetryStrategyTest, LongRetryAfterDoesNotPassTheDeadline) {
    options_.deadline = 5s;
    EXPECT_FALSE(retries(HttpMethod::GET, answer(503, {{"Retry-After", "6"}})));
    EXPECT_TRUE(retries(HttpMethod::GET, answer(503, {{"Retry-After", "4"}})));
    EXPECT_EQ(waits_, (std::vector<milliseconds>{4s}));
}

TEST_F(ResumingRetryStrategyTest, RequestsToOtherUrlsHaveDeadlinesOfTheirOwn) {
    options_.deadline = 1s;
    const RetryStrategy strategy = resumingRetryStrategy(options_);
    const HttpRequest first(HttpMethod::GET, "http://h/1", {});
    const HttpRequest second(HttpMethod::GET, "http://h/2", {});
    EXPECT_TRUE(strategy(first, answer(503), nullptr, 1, 1));
    now += 700ms;
    EXPECT_TRUE(strategy(second, answer(503), nullptr, 1, 1));
    EXPECT_FALSE(strategy(first, answer(503), nullptr, 2, 2));
    EXPECT_TRUE(strategy(second, answer(503), nullptr, 2, 2));
}

TEST_F(ResumingRetryStrategyTest, TellsOfEachRetryBeforeItWaits) {
    std::vector<RetryNotice> notices;
    std::vector<std::size_t> waitsBefore;
    options_.onRetry = [&](const RetryNotice& notice) {
        notices.push_back(notice);
        waitsBefore.push_back(waits_.size());
    };
    EXPECT_TRUE(retries(HttpMethod::GET, answer(503, {{"Retry-After", "2"}})));
    EXPECT_TRUE(retries(HttpMethod::GET, answer(0), failure("gone"), 2));
    EXPECT_TRUE(retries(HttpMethod::GET,
                        answer(429, {{"Date", "Sun, 06 Nov 1994 08:49:37 GMT"},
                                     {"Retry-After", "Sun, 06 Nov 1994 08:49:40 GMT"}}),
                        nullptr, 3));
    EXPECT_FALSE(retries(HttpMethod::GET, answer(404)));
    ASSERT_EQ(notices.size(), 3U);
    EXPECT_EQ(waitsBefore, (std::vector<std::size_t>{0, 1, 2}));
    EXPECT_EQ(notices[0].retry, 1);
    EXPECT_EQ(notices[0].wait, 2s);
    EXPECT_EQ(notices[0].source, WaitSource::RetryAfterSeconds);
    EXPECT_EQ(notices[0].reason, "HTTP status 503");
    EXPECT_EQ(notices[1].retry, 2);
    EXPECT_EQ(notices[1].wait, 400ms);
    EXPECT_EQ(notices[1].source, WaitSource::Backoff);
    EXPECT_EQ(notices[1].reason, "gone");
    EXPECT_EQ(notices[2].wait, 3s);
    EXPECT_EQ(notices[2].source, WaitSource::RetryAfterDate);
}

TEST_F(ResumingRetryStrategyTest, WhatTheNoticeThrowsLeavesTheStrategy) {
    options_.onRetry = [](const RetryNotice&) { throw std::runtime_error("no more"); };
    EXPECT_THROW(retries(HttpMethod::GET, answer(503)), std::runtime_error);
    EXPECT_TRUE(waits_.empty());
}

TEST_F(ResumingRetryStrategyTest, WaitIsRandomBelowItsLimit) {
    setRetryClock(systemRetryClock());
    options_.firstWait = 1000s;
    options_.maxWait = 1000s;
    milliseconds least = 1000s;
    milliseconds longest = 0s;
    for (int i = 0; i < 400; ++i) {
        const milliseconds wait = waitAfter(answer(503));
        EXPECT_GE(wait, 0s);
        EXPECT_LE(wait, 1000s);
        least = std::min(least, wait);
        longest = std::max(longest, wait);
    }
    // A chance of 10^-12 that 400 draws leave the lowest or the highest fifteenth empty.
    EXPECT_LT(least, 67s);
    EXPECT_GT(longest, 933s);
}

TEST_F(ResumingRetryStrategyTest, OneObjectServesManyThreads) {
    setRetryClock(systemRetryClock());
    options_.maxWait = 0ms;
    options_.deadline = 1h;
    options_.maxRetries = 200;
    const RetryStrategy strategy = resumingRetryStrategy(options_);
    std::vector<std::thread> threads;
    std::vector<int> retried(4);
    for (std::size_t i = 0; i < retried.size(); ++i) {
        threads.emplace_back([&strategy, &count = retried[i], i] {
            const RetryStrategy copy = strategy;
            const HttpRequest request(HttpMethod::GET, "http://h/" + std::to_string(i), {});
            int attempt = 1;
            while (copy(request, answer(503), nullptr, attempt, attempt)) {
                ++attempt;
            }
            count = attempt;
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(retried, (std::vector<int>{201, 201, 201, 201}));
}

}  // namespace
}  // namespace foundation::httpclient_curl
