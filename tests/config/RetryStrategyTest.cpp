#include "config/BackoffArithmetic.h"
#include "config/JitterSources.h"
#include "tests/config/KnownJitterSources.h"
#include "tests/config/WaitRecorder.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/RetryStrategy.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using std::chrono::seconds;
using testing::coreRecord;
using testing::KnownJitterSources;
using testing::LogCapture;
using testing::LogRecord;
using testing::throwsExactly;
using testing::WaitRecorder;

using Waits = std::vector<std::int64_t>;
using Records = std::vector<LogRecord>;

constexpr std::int32_t int32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t int64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t int64Min = std::numeric_limits<std::int64_t>::min();

HttpRequest requestWith(HttpMethod method) {
    return {method, "http://example.com:81/a?b=c", {}};
}

HttpResponse responseOf(int code, HttpHeaders headers = {}) {
    HttpResponse response;
    response.setResponseCode(static_cast<HttpResponseCode>(code));
    response.setHeaders(std::move(headers));
    return response;
}

const IsRetriable always = [](HttpMethod, bool, HttpResponseCode) { return true; };

// One decision of a strategy, and what could be seen of it.
struct Decision {
    bool retry = false;
    Waits waits;
    Records records;
};

Decision decide(const RetryStrategy& strategy,
                const HttpRequest& request,
                const HttpResponse& response,
                const std::exception_ptr& error,
                int total,
                int consecutive) {
    WaitRecorder waits;
    LogCapture log;
    Decision decision;
    decision.retry = strategy(request, response, error, total, consecutive);
    decision.waits = waits.take();
    decision.records = log.records();
    return decision;
}

// The wait before the next attempt; 0 for none.
std::int64_t waitOf(const RetryStrategy& strategy, const HttpResponse& response, int consecutive) {
    const Decision decision =
        decide(strategy, requestWith(HttpMethod::GET), response, nullptr, 1, consecutive);
    EXPECT_TRUE(decision.retry);
    EXPECT_TRUE(decision.records.empty());
    EXPECT_LE(decision.waits.size(), 1U);
    return decision.waits.empty() ? 0 : decision.waits.front();
}

RetryStrategy withOptions(const RetryBackoffOptions& options) {
    return defaultRetryStrategy(int32Max, always, int32Max, options);
}

TEST(RetryStrategyTest, RetriesAFailedDownloadUntilItsLimit) {
    const RetryStrategy strategy = defaultRetryStrategy(5, 0, seconds(120), defaultIsRetriable());
    const HttpRequest request = requestWith(HttpMethod::GET);
    const HttpResponse unavailable = responseOf(503);
    for (int attempt = 1; attempt <= 4; ++attempt) {
        const Decision decision = decide(strategy, request, unavailable, nullptr, attempt, attempt);
        EXPECT_TRUE(decision.retry);
        EXPECT_TRUE(decision.waits.empty());
        EXPECT_TRUE(decision.records.empty());
    }
    const Decision last = decide(strategy, request, unavailable, nullptr, 5, 5);
    EXPECT_FALSE(last.retry);
    EXPECT_EQ(last.records, (Records{coreRecord(4, "Max total attempts = 5 reached.")}));
}

struct RetriableRow {
    const char* label;
    HttpMethod method;
    bool timedOut;
    int code;
    bool expected;
    friend std::ostream& operator<<(std::ostream& os, const RetriableRow& row) {
        return os << row.label;
    }
};

class RetryStrategyRetriableTest : public ::testing::TestWithParam<RetriableRow> {};

TEST_P(RetryStrategyRetriableTest, DecidesByMethodTimeoutAndCode) {
    const RetriableRow& row = GetParam();
    LogCapture log;
    EXPECT_EQ(
        defaultIsRetriable()(row.method, row.timedOut, static_cast<HttpResponseCode>(row.code)),
        row.expected);
    EXPECT_TRUE(log.records().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    RetryStrategyRetriableTest,
    ::testing::Values(RetriableRow{"GetTimedOut", HttpMethod::GET, true, -1, true},
                      RetriableRow{"GetTimedOutWithSuccess", HttpMethod::GET, true, 200, true},
                      RetriableRow{"GetNotMade", HttpMethod::GET, false, -1, false},
                      RetriableRow{"GetNotReceived", HttpMethod::GET, false, 0, false},
                      RetriableRow{"Get200", HttpMethod::GET, false, 200, false},
                      RetriableRow{"Get404", HttpMethod::GET, false, 404, false},
                      RetriableRow{"Get407", HttpMethod::GET, false, 407, false},
                      RetriableRow{"Get408", HttpMethod::GET, false, 408, false},
                      RetriableRow{"Get416", HttpMethod::GET, false, 416, true},
                      RetriableRow{"Get426", HttpMethod::GET, false, 426, true},
                      RetriableRow{"Get429", HttpMethod::GET, false, 429, true},
                      RetriableRow{"Get499", HttpMethod::GET, false, 499, false},
                      RetriableRow{"Get500", HttpMethod::GET, false, 500, true},
                      RetriableRow{"Get599", HttpMethod::GET, false, 599, true},
                      RetriableRow{"Get600", HttpMethod::GET, false, 600, false},
                      RetriableRow{"Post503", HttpMethod::POST, false, 503, false},
                      RetriableRow{"PostTimedOut", HttpMethod::POST, true, -1, false},
                      RetriableRow{"Put503", HttpMethod::PUT, false, 503, false},
                      RetriableRow{"PutTimedOut", HttpMethod::PUT, true, -1, false},
                      RetriableRow{"Delete429", HttpMethod::DELETE, false, 429, false},
                      RetriableRow{"DeleteTimedOut", HttpMethod::DELETE, true, -1, false},
                      RetriableRow{"Head503", HttpMethod::HEAD, false, 503, false},
                      RetriableRow{"HeadTimedOut", HttpMethod::HEAD, true, -1, false},
                      RetriableRow{"Patch503", HttpMethod::PATCH, false, 503, false},
                      RetriableRow{"PatchTimedOut", HttpMethod::PATCH, true, -1, false}),
    [](const auto& row) { return row.param.label; });

TEST(RetryStrategyTest, PostAnswered503IsNotRetried) {
    const Decision decision =
        decide(defaultRetryStrategy(5, 100, seconds(120), defaultIsRetriable()),
               requestWith(HttpMethod::POST), responseOf(503), nullptr, 1, 2);
    EXPECT_FALSE(decision.retry);
    EXPECT_TRUE(decision.waits.empty());
    EXPECT_TRUE(decision.records.empty());
}

TEST(RetryStrategyTest, NoRetriesSaysNoWithoutWaitOrRecord) {
    for (const int code : {200, 503, -1}) {
        const Decision decision =
            decide(noRetriesStrategy(), requestWith(HttpMethod::GET), responseOf(code),
                   std::make_exception_ptr(HttpRequestTimeoutException()), 1, 1);
        EXPECT_FALSE(decision.retry);
        EXPECT_TRUE(decision.waits.empty());
        EXPECT_TRUE(decision.records.empty());
    }
}

// Each row is a decision that more than one step could end: the records tell which one did.
struct StepRow {
    const char* label;
    int code;
    std::exception_ptr error;
    int total;        // of at most 3
    int consecutive;  // of at most 2
    bool retriable;
    bool retry;
    Waits waits;
    Records records;
    friend std::ostream& operator<<(std::ostream& os, const StepRow& row) {
        return os << row.label;
    }
};

class RetryStrategyStepTest : public ::testing::TestWithParam<StepRow> {};

TEST_P(RetryStrategyStepTest, TakesTheStepsInOrder) {
    const StepRow& row = GetParam();
    const IsRetriable isRetriable = [&row](HttpMethod, bool, HttpResponseCode) {
        return row.retriable;
    };
    const Decision decision = decide(defaultRetryStrategy(3, 100, seconds(120), isRetriable, 2),
                                     requestWith(HttpMethod::GET), responseOf(row.code), row.error,
                                     row.total, row.consecutive);
    EXPECT_EQ(decision.retry, row.retry);
    EXPECT_EQ(decision.waits, row.waits);
    EXPECT_EQ(decision.records, row.records);
}

template <class Exception>
std::exception_ptr errorOf(const Exception& exception) {
    return std::make_exception_ptr(exception);
}

std::exception_ptr nestedError() {
    try {
        try {
            throw std::runtime_error("inner");
        } catch (...) {
            std::throw_with_nested(std::logic_error("outer"));
        }
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

class StrangeTimeout : public HttpRequestTimeoutException {};

const char* const successText = "Request to http://example.com:81/a?b=c was successful on attempt ";

INSTANTIATE_TEST_SUITE_P(
    Table,
    RetryStrategyStepTest,
    ::testing::Values(
        StepRow{"SuccessComesBeforeTheLimits",
                200,
                nullptr,
                3,
                2,
                true,
                false,
                {},
                {coreRecord(4, successText + std::string("3"))}},
        StepRow{"LastSuccessCode",
                299,
                nullptr,
                1,
                1,
                true,
                false,
                {},
                {coreRecord(4, successText + std::string("1"))}},
        StepRow{"SuccessCodeWithErrorIsNoSuccess",
                200,
                errorOf(HttpRequestTimeoutException()),
                1,
                1,
                true,
                true,
                {},
                {}},
        StepRow{"TotalLimitComesBeforeTheConsecutiveOne",
                503,
                nullptr,
                3,
                2,
                true,
                false,
                {},
                {coreRecord(4, "Max total attempts = 3 reached.")}},
        StepRow{"TotalLimitComesBeforeTheError",
                503,
                errorOf(std::runtime_error("x")),
                4,
                1,
                true,
                false,
                {},
                {coreRecord(4, "Max total attempts = 3 reached.")}},
        StepRow{"ConsecutiveLimitComesBeforeTheError",
                503,
                errorOf(std::runtime_error("x")),
                2,
                2,
                true,
                false,
                {},
                {coreRecord(4, "Max consecutive attempts = 2 reached.")}},
        StepRow{"ConsecutiveLimitExceeded",
                503,
                nullptr,
                2,
                9,
                true,
                false,
                {},
                {coreRecord(4, "Max consecutive attempts = 2 reached.")}},
        StepRow{"ErrorIsNotedBeforeThePredicate",
                -1,
                errorOf(std::runtime_error("x")),
                1,
                1,
                false,
                false,
                {},
                {coreRecord(16, "Exception caught: x")}},
        StepRow{"ErrorIsNotedBeforeTheRetry",
                -1,
                errorOf(std::runtime_error("x")),
                1,
                1,
                true,
                true,
                {},
                {coreRecord(16, "Exception caught: x")}},
        StepRow{"TimeoutIsNotNoted",
                -1,
                errorOf(HttpRequestTimeoutException()),
                1,
                1,
                true,
                true,
                {},
                {}},
        StepRow{"ClassDerivedFromTimeoutIsNotNoted",
                -1,
                errorOf(StrangeTimeout()),
                1,
                1,
                true,
                true,
                {},
                {}},
        StepRow{"CancellationIsNoted",
                -1,
                errorOf(HttpRequestCancelledException()),
                1,
                1,
                false,
                false,
                {},
                {coreRecord(16,
                            std::string("Exception caught: ") +
                                HttpRequestCancelledException().what())}},
        StepRow{"ChainOfCausesIsNoted",
                -1,
                nestedError(),
                1,
                1,
                false,
                false,
                {},
                {coreRecord(16, "Exception caught: outer; caused by: inner")}},
        StepRow{"StrangeErrorIsNoted",
                -1,
                errorOf(42),
                1,
                1,
                false,
                false,
                {},
                {coreRecord(16, "Exception caught: unknown exception")}},
        StepRow{"NotRetriableDoesNotWait", 503, nullptr, 1, 1, false, false, {}, {}},
        StepRow{"RetriableWithoutWait", 503, nullptr, 1, 1, true, true, {}, {}},
        StepRow{"CountsOfZeroAreBelowTheLimits", 503, nullptr, 0, 0, true, true, {}, {}}),
    [](const auto& row) { return row.param.label; });

TEST(RetryStrategyTest, WaitsOnceBeforeItSaysYes) {
    const Decision decision = decide(defaultRetryStrategy(5, 100, seconds(120), always),
                                     requestWith(HttpMethod::GET), responseOf(503), nullptr, 2, 2);
    EXPECT_TRUE(decision.retry);
    EXPECT_EQ(decision.waits, (Waits{200}));
}

TEST(RetryStrategyTest, EmptyPredicateThrowsAtItsStepOnly) {
    const RetryStrategy strategy = defaultRetryStrategy(2, 100, seconds(120), IsRetriable());
    const HttpRequest request = requestWith(HttpMethod::GET);
    const HttpResponse unavailable = responseOf(503);
    EXPECT_FALSE(decide(strategy, request, responseOf(200), nullptr, 1, 1).retry);
    EXPECT_FALSE(decide(strategy, request, unavailable, nullptr, 2, 2).retry);
    WaitRecorder waits;
    LogCapture log;
    EXPECT_TRUE(throwsExactly<std::bad_function_call>(
        [&] { strategy(request, unavailable, errorOf(std::runtime_error("x")), 1, 1); },
        std::bad_function_call().what()));
    EXPECT_TRUE(waits.take().empty());
    EXPECT_EQ(log.records(), (Records{coreRecord(16, "Exception caught: x")}));
}

TEST(RetryStrategyTest, PredicateSeesMethodTimeoutAndCode) {
    std::vector<std::string> seen;
    const RetryStrategy strategy = defaultRetryStrategy(
        5, 0, seconds(120), [&seen](HttpMethod method, bool timedOut, HttpResponseCode code) {
            seen.push_back(std::to_string(static_cast<int>(method)) +
                           (timedOut ? " timeout " : " ") + to_string(code));
            return false;
        });
    const HttpRequest request = requestWith(HttpMethod::PATCH);
    decide(strategy, request, responseOf(404), nullptr, 1, 1);
    decide(strategy, request, responseOf(-1), errorOf(HttpRequestTimeoutException()), 1, 1);
    decide(strategy, request, responseOf(500), errorOf(std::runtime_error("x")), 1, 1);
    EXPECT_EQ(seen, (std::vector<std::string>{"5 404", "5 timeout -1", "5 500"}));
}

TEST(RetryStrategyTest, WhatThePredicateThrowsPassesThrough) {
    const RetryStrategy strategy = defaultRetryStrategy(
        5, 100, seconds(120),
        [](HttpMethod, bool, HttpResponseCode) -> bool { throw std::domain_error("no"); });
    WaitRecorder waits;
    EXPECT_TRUE(throwsExactly<std::domain_error>(
        [&] { strategy(requestWith(HttpMethod::GET), responseOf(503), nullptr, 2, 2); }, "no"));
    EXPECT_TRUE(waits.take().empty());
}

TEST(RetryStrategyTest, GetThatTimedOutIsRetriedAndOneThatFailedIsNot) {
    const RetryStrategy strategy = defaultRetryStrategy(5, 0, seconds(120), defaultIsRetriable());
    const HttpRequest request = requestWith(HttpMethod::GET);
    const Decision timedOut =
        decide(strategy, request, HttpResponse(), errorOf(HttpRequestTimeoutException()), 1, 1);
    EXPECT_TRUE(timedOut.retry);
    EXPECT_TRUE(timedOut.records.empty());
    const Decision failed = decide(strategy, request, HttpResponse(),
                                   errorOf(HttpRequestFailedException("no route")), 1, 1);
    EXPECT_FALSE(failed.retry);
    EXPECT_EQ(failed.records, (Records{coreRecord(16, "Exception caught: no route")}));
}

TEST(RetryStrategyTest, FirstOverloadLimitsConsecutiveAttemptsAsTotalOnes) {
    const RetryStrategy strategy = defaultRetryStrategy(3, 0, seconds(120), always);
    const Decision decision =
        decide(strategy, requestWith(HttpMethod::GET), responseOf(503), nullptr, 2, 3);
    EXPECT_EQ(decision.records, (Records{coreRecord(4, "Max consecutive attempts = 3 reached.")}));
}

TEST(RetryStrategyTest, OptionsOverloadHasBothLimits) {
    const RetryStrategy strategy = defaultRetryStrategy(3, always, 2, RetryBackoffOptions());
    const HttpRequest request = requestWith(HttpMethod::GET);
    EXPECT_EQ(decide(strategy, request, responseOf(503), nullptr, 3, 1).records,
              (Records{coreRecord(4, "Max total attempts = 3 reached.")}));
    EXPECT_EQ(decide(strategy, request, responseOf(503), nullptr, 2, 2).records,
              (Records{coreRecord(4, "Max consecutive attempts = 2 reached.")}));
    EXPECT_TRUE(decide(strategy, request, responseOf(503), nullptr, 2, 1).retry);
}

TEST(RetryStrategyTest, LimitsThatAllowNothingStopAfterTheFirstAttempt) {
    for (const int limit : {1, 0, -1}) {
        const Decision decision =
            decide(defaultRetryStrategy(limit, 0, seconds(120), always),
                   requestWith(HttpMethod::GET), responseOf(503), nullptr, 1, 1);
        EXPECT_FALSE(decision.retry);
        EXPECT_EQ(decision.records,
                  (Records{coreRecord(
                      4, "Max total attempts = " + std::to_string(limit) + " reached.")}));
    }
}

TEST(RetryStrategyTest, NumbersInRecordsAreNotGrouped) {
    const testing::GroupingLocale grouping;
    const RetryStrategy strategy = defaultRetryStrategy(1234567, 0, seconds(120), always, 7654321);
    const HttpRequest request = requestWith(HttpMethod::GET);
    EXPECT_EQ(decide(strategy, request, responseOf(200), nullptr, 1234, 1).records,
              (Records{coreRecord(4, successText + std::string("1234"))}));
    EXPECT_EQ(decide(strategy, request, responseOf(503), nullptr, 1234567, 1).records,
              (Records{coreRecord(4, "Max total attempts = 1234567 reached.")}));
    EXPECT_EQ(decide(strategy, request, responseOf(503), nullptr, 1, 7654321).records,
              (Records{coreRecord(4, "Max consecutive attempts = 7654321 reached.")}));
}

TEST(RetryStrategyTest, DecidesTheSameWithItsRecordsDisabled) {
    const std::uint32_t mask = coreChannel().filter_mask();
    coreChannel().set_filter_mask(0);
    const RetryStrategy strategy = defaultRetryStrategy(2, 0, seconds(120), defaultIsRetriable());
    const HttpRequest request = requestWith(HttpMethod::GET);
    const Decision success = decide(strategy, request, responseOf(200), nullptr, 1, 1);
    const Decision limit = decide(strategy, request, responseOf(503), nullptr, 2, 2);
    const Decision failed =
        decide(strategy, request, responseOf(503), errorOf(std::runtime_error("x")), 1, 1);
    coreChannel().set_filter_mask(mask);
    EXPECT_FALSE(success.retry);
    EXPECT_FALSE(limit.retry);
    EXPECT_TRUE(failed.retry);
    EXPECT_TRUE(success.records.empty() && limit.records.empty() && failed.records.empty());
}

TEST(RetryStrategyTest, WaitDoublesFromTheSecondAttemptOn) {
    const RetryStrategy strategy = defaultRetryStrategy(100, 100, seconds(120), always);
    Waits waits;
    for (int consecutive = 0; consecutive <= 6; ++consecutive) {
        waits.push_back(waitOf(strategy, responseOf(503), consecutive));
    }
    EXPECT_EQ(waits, (Waits{0, 0, 200, 400, 800, 1600, 3200}));
}

struct WaitRow {
    const char* label;
    RetryBackoffOptions options;
    int consecutive;
    std::int64_t expected;
    friend std::ostream& operator<<(std::ostream& os, const WaitRow& row) {
        return os << row.label;
    }
};

class RetryStrategyWaitTest : public ::testing::TestWithParam<WaitRow> {};

TEST_P(RetryStrategyWaitTest, IsComputedFromTheOptions) {
    const WaitRow& row = GetParam();
    EXPECT_EQ(waitOf(withOptions(row.options), responseOf(503), row.consecutive), row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    RetryStrategyWaitTest,
    ::testing::Values(
        WaitRow{"NoOptions", {}, 5, 0},
        WaitRow{"BelowTheCap", {.backoffBase = 100, .maxBackoff = 1}, 3, 400},
        WaitRow{"AtTheCap", {.backoffBase = 250, .maxBackoff = 1}, 3, 1000},
        WaitRow{"Capped", {.backoffBase = 251, .maxBackoff = 1}, 3, 1000},
        WaitRow{"CapOfZeroIsNoWait", {.backoffBase = 100, .maxBackoff = 0}, 3, 0},
        WaitRow{"NegativeCapIsNoWait", {.backoffBase = 100, .maxBackoff = -5}, 3, 0},
        WaitRow{"SmallestCapIsNoWait", {.backoffBase = 100, .maxBackoff = int64Min}, 3, 0},
        WaitRow{"LargestCapDoesNotOverflow", {.backoffBase = 100, .maxBackoff = int64Max}, 3, 400},
        WaitRow{"EqualBoundsAreAdded",
                {.backoffBase = 100, .minJitter = 7, .maxJitter = 7},
                3,
                407},
        WaitRow{"JitterAppliesToTheFirstAttempt", {.minJitter = 7, .maxJitter = 7}, 1, 7},
        WaitRow{"JitterIsCapped", {.maxBackoff = 1, .minJitter = 5000, .maxJitter = 5000}, 1, 1000},
        WaitRow{"NegativeBoundsAreZero",
                {.backoffBase = 5000, .minJitter = -9000, .maxJitter = -3000},
                2,
                10000},
        WaitRow{"NegativeLowerBoundIsZero",
                {.backoffBase = 5000, .minJitter = -9000, .maxJitter = 0},
                2,
                10000},
        WaitRow{"ProductThatWrapsBelowZeroIsNoWait", {.backoffBase = 1}, 32, 0},
        WaitRow{"JitterIsAddedToAProductThatWrapped",
                {.backoffBase = -100, .minJitter = 500, .maxJitter = 500},
                2,
                300},
        WaitRow{"ProductThatWrapsToZeroIsNoWait", {.backoffBase = 100}, 40, 0},
        WaitRow{"ProductThatWrapsIsUsed",
                {.backoffBase = 5, .maxBackoff = 2000000},
                31,
                1073741824},
        WaitRow{"SumIsHeldAtItsLargest",
                {.backoffBase = 100,
                 .maxBackoff = int64Max,
                 .minJitter = int64Max,
                 .maxJitter = int64Max},
                2,
                int64Max}),
    [](const auto& row) { return row.param.label; });

TEST(RetryStrategyTest, LongBackoffBaseKeepsItsLowThirtyTwoBits) {
    const auto withBase = [](long base) {
        return waitOf(defaultRetryStrategy(100, base, seconds(120), always), responseOf(503), 2);
    };
    EXPECT_EQ(withBase(4294967296L + 50), 100);
    EXPECT_EQ(withBase(2147483648L), 0);
}

TEST(RetryStrategyTest, CapOfTheOverloadsWithoutOptionsIsInSeconds) {
    EXPECT_EQ(waitOf(defaultRetryStrategy(100, 10000, seconds(2), always), responseOf(503), 2),
              2000);
    EXPECT_EQ(
        waitOf(defaultRetryStrategy(100, 10000, seconds::max(), always, 100), responseOf(503), 2),
        20000);
}

TEST(RetryStrategyTest, ReversedBoundsAreExchangedAfterNegativeOnesBecameZero) {
    const KnownJitterSources sources(12345, 678);
    const RetryStrategy strategy = withOptions({.minJitter = 500, .maxJitter = -1});
    const RetryStrategy ordered = withOptions({.minJitter = 0, .maxJitter = 500});
    for (int consecutive = 1; consecutive <= 200; ++consecutive) {
        const std::int64_t wait = waitOf(strategy, responseOf(503), consecutive);
        EXPECT_EQ(wait, waitOf(ordered, responseOf(503), consecutive));
        EXPECT_EQ(wait, config::jitter(consecutive, 0, 500, 12345, 678));
    }
}

TEST(RetryStrategyTest, JitterIsDrawnFromSeedCountAndClockForEachWait) {
    KnownJitterSources sources(0xCAFEBABE, 0);
    const RetryStrategy strategy =
        withOptions({.backoffBase = 1000, .minJitter = 10, .maxJitter = 900});
    for (std::uint32_t i = 0; i < 100; ++i) {
        const std::uint32_t clock = i * 16777619U;
        sources.setClock(clock);
        const auto consecutive = static_cast<int>(1 + i % 3);
        EXPECT_EQ(waitOf(strategy, responseOf(503), consecutive),
                  config::exponentialBackoff(consecutive, 1000) +
                      config::jitter(consecutive, 10, 900, 0xCAFEBABE, clock));
    }
}

TEST(RetryStrategyTest, SeedIsDrawnOnceAndOnlyWithOptions) {
    const KnownJitterSources sources(1, 2);
    defaultRetryStrategy(5, 100, seconds(120), always);
    defaultRetryStrategy(5, 100, seconds(120), always, 5);
    EXPECT_EQ(sources.draws(), 0);
    const RetryStrategy strategy = withOptions({.minJitter = 1, .maxJitter = 9});
    EXPECT_EQ(sources.draws(), 1);
    const RetryStrategy copy = strategy;
    waitOf(strategy, responseOf(503), 1);
    waitOf(copy, responseOf(503), 1);
    EXPECT_EQ(sources.draws(), 1);
    withOptions({});
    EXPECT_EQ(sources.draws(), 2);
}

TEST(RetryStrategyTest, SystemSourcesGiveDifferentSeedsAndAMovingClock) {
    const config::JitterSources sources = config::systemJitterSources();
    EXPECT_TRUE(sources.drawSeed() != sources.drawSeed() ||
                sources.drawSeed() != sources.drawSeed());
    const std::uint32_t first = sources.clockNanoseconds();
    bool moved = false;
    for (int i = 0; i < 1000000 && !moved; ++i) {
        moved = sources.clockNanoseconds() != first;
    }
    EXPECT_TRUE(moved);
}

struct RetryAfterRow {
    const char* label;
    int code;
    HttpHeaders headers;
    RetryBackoffOptions options;
    int consecutive;
    std::int64_t expected;
    friend std::ostream& operator<<(std::ostream& os, const RetryAfterRow& row) {
        return os << row.label;
    }
};

class RetryStrategyRetryAfterTest : public ::testing::TestWithParam<RetryAfterRow> {};

TEST_P(RetryStrategyRetryAfterTest, MakesTheWaitLongerWithoutRecord) {
    const RetryAfterRow& row = GetParam();
    EXPECT_EQ(waitOf(withOptions(row.options), responseOf(row.code, row.headers), row.consecutive),
              row.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    RetryStrategyRetryAfterTest,
    ::testing::Values(
        RetryAfterRow{"TooManyRequests", 429, {{"Retry-After", "10"}}, {}, 1, 10000},
        RetryAfterRow{"ServiceUnavailable", 503, {{"Retry-After", "10"}}, {}, 3, 10000},
        RetryAfterRow{"AnyCase", 503, {{"retry-AFTER", "10"}}, {}, 1, 10000},
        RetryAfterRow{"OtherCode", 500, {{"Retry-After", "10"}}, {}, 1, 0},
        RetryAfterRow{"Redirection", 301, {{"Retry-After", "10"}}, {}, 1, 0},
        RetryAfterRow{"NotAskedFor", 429, {{"Retry-After", "10"}}, {.useRetryAfter = false}, 1, 0},
        RetryAfterRow{"Missing", 429, {}, {.backoffBase = 100}, 2, 200},
        RetryAfterRow{"Capped", 429, {{"Retry-After", "10"}}, {.maxBackoff = 4}, 1, 4000},
        RetryAfterRow{"LongerBackoffStays",
                      429,
                      {{"Retry-After", "1"}},
                      {.backoffBase = 1000},
                      3,
                      4000},
        RetryAfterRow{"LongerThanTheBackoff",
                      429,
                      {{"Retry-After", "5"}},
                      {.backoffBase = 1000},
                      3,
                      5000},
        RetryAfterRow{"LongerJitterStays",
                      429,
                      {{"Retry-After", "1"}},
                      {.minJitter = 1500, .maxJitter = 1500},
                      1,
                      1500},
        RetryAfterRow{"ReplacesTheJitter",
                      429,
                      {{"Retry-After", "2"}},
                      {.minJitter = 1500, .maxJitter = 1500},
                      1,
                      2000},
        RetryAfterRow{"Date",
                      503,
                      {{"Retry-After", "Wed, 21 Oct 2015 07:28:00 GMT"}},
                      {.backoffBase = 100},
                      2,
                      200},
        RetryAfterRow{"Garbage", 503, {{"Retry-After", "soon"}}, {.backoffBase = 100}, 2, 200},
        RetryAfterRow{"Empty", 503, {{"Retry-After", ""}}, {.backoffBase = 100}, 2, 200},
        RetryAfterRow{"Negative", 503, {{"Retry-After", "-5"}}, {.backoffBase = 100}, 2, 200},
        RetryAfterRow{"OutOfRange",
                      503,
                      {{"Retry-After", "2147483648"}},
                      {.backoffBase = 100},
                      2,
                      200},
        RetryAfterRow{"WrapsBelowZero",
                      503,
                      {{"Retry-After", "2147484"}},
                      {.backoffBase = 100},
                      2,
                      200},
        RetryAfterRow{"FirstOfTwo",
                      503,
                      {{"Retry-After", "1"}, {"Retry-After", "9"}},
                      {},
                      1,
                      1000}),
    [](const auto& row) { return row.param.label; });

TEST(RetryStrategyTest, OverloadsWithoutOptionsDoNotLookAtRetryAfter) {
    const HttpResponse response = responseOf(429, {{"Retry-After", "10"}});
    EXPECT_EQ(waitOf(defaultRetryStrategy(9, 100, seconds(120), always), response, 2), 200);
    EXPECT_EQ(waitOf(defaultRetryStrategy(9, 100, seconds(120), always, 9), response, 2), 200);
}

TEST(RetryStrategyTest, NegativeWaitIsGivenToNobodyAndStillAYes) {
    const Decision decision = decide(withOptions({.backoffBase = -100}),
                                     requestWith(HttpMethod::GET), responseOf(503), nullptr, 2, 2);
    EXPECT_TRUE(decision.retry);
    EXPECT_TRUE(decision.waits.empty());
}

TEST(RetryStrategyTest, ServesManyThreadsAtOnce) {
    const RetryStrategy strategy = withOptions({.minJitter = 1, .maxJitter = 50});
    const HttpRequest request = requestWith(HttpMethod::GET);
    const HttpResponse response = responseOf(503);
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            WaitRecorder waits;
            for (int attempt = 1; attempt <= 200; ++attempt) {
                EXPECT_TRUE(strategy(request, response, nullptr, attempt, attempt));
            }
            const Waits taken = waits.take();
            EXPECT_EQ(taken.size(), 200U);
            for (const std::int64_t wait : taken) {
                EXPECT_GE(wait, 1);
                EXPECT_LE(wait, 50);
            }
        });
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
