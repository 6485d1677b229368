#include "tests/config/KnownJitterSources.h"
#include "tests/config/WaitRecorder.h"
#include "tests/properties/Property.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/RetryBackoffOptions.h>
#include <foundation/httpclient_core/RetryStrategy.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

// What the waits of the default strategy keep to for any settings. That they are the documented numbers is
// for the tests of the arithmetic.
namespace foundation::httpclient_core {
namespace {

using testing::CaseRandom;
using testing::forAllCases;
using testing::KnownJitterSources;
using testing::WaitRecorder;

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

std::string shown(const RetryBackoffOptions& options) {
    std::ostringstream text;
    text << "base " << options.backoffBase << " ms, cap " << options.maxBackoff
         << " s, jitter from " << options.minJitter << " to " << options.maxJitter << " ms";
    return text.str();
}

class RetryWaitPropertyTest : public ::testing::Test {
protected:
    /// The wait before attempt `consecutive` + 1, 0 for none.
    static std::int64_t waitOf(const RetryBackoffOptions& options,
                               int consecutive,
                               const std::string& retryAfter = "") {
        WaitRecorder waits;
        const RetryStrategy strategy =
            defaultRetryStrategy(1000, defaultIsRetriable(), 1000, options);
        static const HttpRequest request(HttpMethod::GET, URL("http://host/"), HttpHeaders());
        HttpResponse response;
        response.setResponseCodeAndReason(HttpResponseCode::ServiceUnavailable, "");
        if (!retryAfter.empty()) {
            response.setHeaders({{"Retry-After", retryAfter}});
        }
        EXPECT_TRUE(strategy(request, response, nullptr, consecutive, consecutive));
        const std::vector<std::int64_t> taken = waits.take();
        EXPECT_LE(taken.size(), 1U);
        return taken.empty() ? 0 : taken.front();
    }
    /// Settings whose doubled base stays within 32 bits for `consecutive` attempts.
    static RetryBackoffOptions anyOptions(CaseRandom& random, int consecutive) {
        RetryBackoffOptions options;
        const int bits = std::max(1, 31 - std::max(0, consecutive - 1));
        options.backoffBase = static_cast<std::int32_t>(
            random.below(std::size_t{1} << random.below(static_cast<std::size_t>(bits))));
        options.maxBackoff = static_cast<std::int64_t>(random.bits() >> (1 + random.below(63)));
        return options;
    }
    static std::int64_t capOf(const RetryBackoffOptions& options) {
        if (options.maxBackoff > largest / 1000) {
            return largest;
        }
        return std::max<std::int64_t>(options.maxBackoff, 0) * 1000;
    }
    static std::int64_t doubled(const RetryBackoffOptions& options, int consecutive) {
        return consecutive <= 1 ? 0 : std::int64_t{options.backoffBase} << (consecutive - 1);
    }

    testing::LogCapture log;
};

TEST_F(RetryWaitPropertyTest, WithoutJitterTheWaitDoublesUpToTheCap) {
    forAllCases([](CaseRandom& random) {
        const int consecutive = 1 + static_cast<int>(random.below(30));
        const RetryBackoffOptions options = anyOptions(random, consecutive + 1);
        const std::int64_t wait = waitOf(options, consecutive);
        const std::int64_t next = waitOf(options, consecutive + 1);
        ASSERT_EQ(wait, std::min(doubled(options, consecutive), capOf(options))) << shown(options);
        ASSERT_LE(wait, next) << shown(options) << ", consecutive " << consecutive;
        if (consecutive > 1 && next < capOf(options)) {
            ASSERT_EQ(next, 2 * wait) << shown(options) << ", consecutive " << consecutive;
        }
    });
}

TEST_F(RetryWaitPropertyTest, JitterAddsSomethingOfItsRange) {
    forAllCases([](CaseRandom& random) {
        const KnownJitterSources sources(static_cast<std::uint32_t>(random.bits()),
                                         static_cast<std::uint32_t>(random.bits()));
        const int consecutive = 1 + static_cast<int>(random.below(25));
        RetryBackoffOptions options = anyOptions(random, consecutive);
        options.minJitter = random.number<std::int64_t>();
        options.maxJitter = random.number<std::int64_t>();
        const std::int64_t low =
            std::max<std::int64_t>(0, std::min(options.minJitter, options.maxJitter));
        const std::int64_t high =
            std::max<std::int64_t>(0, std::max(options.minJitter, options.maxJitter));
        const std::int64_t base = doubled(options, consecutive);
        const auto sum = [base](std::int64_t more) {
            return more > largest - base ? largest : base + more;
        };
        const std::int64_t wait = waitOf(options, consecutive);
        ASSERT_GE(wait, std::min(sum(low), capOf(options))) << shown(options);
        ASSERT_LE(wait, std::min(sum(high), capOf(options))) << shown(options);
        ASSERT_EQ(wait, waitOf(options, consecutive)) << "the same sources, another number";
        // The order of the bounds is no matter.
        std::swap(options.minJitter, options.maxJitter);
        ASSERT_EQ(wait, waitOf(options, consecutive)) << shown(options);
    });
}

TEST_F(RetryWaitPropertyTest, RetryAfterLengthensTheWaitAndTheCapBoundsIt) {
    forAllCases([](CaseRandom& random) {
        const int consecutive = 1 + static_cast<int>(random.below(20));
        RetryBackoffOptions options = anyOptions(random, consecutive);
        const auto seconds = static_cast<std::int64_t>(random.below(2147483));
        const std::int64_t without = waitOf(options, consecutive);
        const std::int64_t with = waitOf(options, consecutive, std::to_string(seconds));
        ASSERT_EQ(with,
                  std::min(std::max(doubled(options, consecutive), seconds * 1000), capOf(options)))
            << shown(options) << ", Retry-After " << seconds;
        ASSERT_GE(with, without);
        options.useRetryAfter = false;
        ASSERT_EQ(waitOf(options, consecutive, std::to_string(seconds)), without);
    });
}

TEST_F(RetryWaitPropertyTest, NoSettingsGiveAWaitAboveTheCapOrBelowNothing) {
    forAllCases([](CaseRandom& random) {
        RetryBackoffOptions options;
        options.backoffBase = random.number<std::int32_t>();
        options.maxBackoff = random.number<std::int64_t>();
        options.minJitter = random.oneIn(4) ? largest : random.number<std::int64_t>();
        options.maxJitter = random.oneIn(4) ? largest : random.number<std::int64_t>();
        const int consecutive = static_cast<int>(random.below(80));
        const std::string retryAfter = random.bytes("0123456789 +-", 12);
        const std::int64_t wait = waitOf(options, consecutive, retryAfter);
        ASSERT_GE(wait, 0) << shown(options) << ", Retry-After " << retryAfter;
        ASSERT_LE(wait, capOf(options)) << shown(options) << ", Retry-After " << retryAfter;
    });
}

}  // namespace
}  // namespace foundation::httpclient_core
