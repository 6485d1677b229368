#include "config/BackoffArithmetic.h"
#include "support/SaturatingArithmetic.h"
#include "tests/config/ReferenceBackoff.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <ostream>
#include <random>
#include <string>

namespace foundation::httpclient_core {
namespace {

using testing::holdIn64;
using testing::Int128;
using testing::int32Max;
using testing::int32Min;
using testing::int64Max;
using testing::int64Min;
using testing::MinimalStandard;
using testing::referenceBackoff;
using testing::wrapTo32;

constexpr std::uint64_t defaultSeed = 20240229;

struct BackoffRow {
    const char* label;
    std::int32_t consecutive;
    std::int32_t base;
    std::int64_t expected;
    friend std::ostream& operator<<(std::ostream& os, const BackoffRow& row) {
        return os << row.label;
    }
};

class BackoffArithmeticExponentialTest : public ::testing::TestWithParam<BackoffRow> {};

TEST_P(BackoffArithmeticExponentialTest, DoublesAndWraps) {
    EXPECT_EQ(config::exponentialBackoff(GetParam().consecutive, GetParam().base),
              GetParam().expected);
    EXPECT_EQ(referenceBackoff(GetParam().consecutive, GetParam().base), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Table,
                         BackoffArithmeticExponentialTest,
                         ::testing::Values(BackoffRow{"First", 1, 100, 0},
                                           BackoffRow{"Second", 2, 100, 200},
                                           BackoffRow{"Third", 3, 100, 400},
                                           BackoffRow{"Fourth", 4, 100, 800},
                                           BackoffRow{"Zeroth", 0, 100, 0},
                                           BackoffRow{"Negative", -5, 100, 0},
                                           BackoffRow{"Smallest", int32Min, 100, 0},
                                           BackoffRow{"NoBase", 10, 0, 0},
                                           BackoffRow{"NegativeBase", 3, -100, -400},
                                           BackoffRow{"LastThatFits", 31, 1, 1073741824},
                                           BackoffRow{"WrapsBelowZero", 32, 1, int32Min},
                                           BackoffRow{"WrapsToZero", 33, 1, 0},
                                           BackoffRow{"WrapsToPositive", 31, 5, 1073741824},
                                           BackoffRow{"WrapsInTheMiddle", 26, 100, -939524096},
                                           BackoffRow{"LargestBase", 2, int32Max, -2},
                                           BackoffRow{"SmallestBase", 2, int32Min, 0},
                                           BackoffRow{"FarBeyond", 1000, 12345, 0},
                                           BackoffRow{"Largest", int32Max, 100, 0}),
                         [](const auto& row) { return row.param.label; });

TEST(BackoffArithmeticTest, ExponentialBackoffAgreesWithTheReference) {
    SCOPED_TRACE("seed " + std::to_string(defaultSeed));
    std::mt19937_64 random(defaultSeed);
    std::uniform_int_distribution<std::int32_t> anyBase(int32Min, int32Max);
    std::uniform_int_distribution<std::int32_t> anyCount(-3, 70);
    for (int i = 0; i < 20000; ++i) {
        const std::int32_t base = anyBase(random);
        const std::int32_t consecutive = anyCount(random);
        ASSERT_EQ(config::exponentialBackoff(consecutive, base),
                  referenceBackoff(consecutive, base))
            << "consecutive " << consecutive << ", base " << base;
    }
}

struct RetryAfterRow {
    const char* label;
    const char* value;
    std::int64_t expected;
    friend std::ostream& operator<<(std::ostream& os, const RetryAfterRow& row) {
        return os << row.label;
    }
};

class BackoffArithmeticRetryAfterTest : public ::testing::TestWithParam<RetryAfterRow> {};

TEST_P(BackoffArithmeticRetryAfterTest, GivesMilliseconds) {
    EXPECT_EQ(config::retryAfterMilliseconds(GetParam().value), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    BackoffArithmeticRetryAfterTest,
    ::testing::Values(RetryAfterRow{"Seconds", "10", 10000},
                      RetryAfterRow{"WhiteSpaceAndTrailingText", " \t7 s", 7000},
                      RetryAfterRow{"Plus", "+3", 3000},
                      RetryAfterRow{"Fraction", "1.9", 1000},
                      RetryAfterRow{"Zero", "0", 0},
                      RetryAfterRow{"Negative", "-10", 0},
                      RetryAfterRow{"Empty", "", 0},
                      RetryAfterRow{"Garbage", "soon", 0},
                      RetryAfterRow{"Date", "Wed, 21 Oct 2015 07:28:00 GMT", 0},
                      RetryAfterRow{"DateThatBeginsWithANumber", "21 Oct 2015", 21000},
                      RetryAfterRow{"LastThatFits", "2147483", 2147483000},
                      RetryAfterRow{"WrapsBelowZero", "2147484", -2147483296},
                      RetryAfterRow{"WrapsToPositive", "4294968", 704},
                      RetryAfterRow{"Largest", "2147483647", -1000},
                      RetryAfterRow{"OutOfRange", "2147483648", 0},
                      RetryAfterRow{"BeyondSixtyFourBits", "99999999999999999999", 0}),
    [](const auto& row) { return row.param.label; });

TEST(BackoffArithmeticTest, RetryAfterAgreesWithTheReference) {
    SCOPED_TRACE("seed " + std::to_string(defaultSeed));
    std::mt19937_64 random(defaultSeed);
    std::uniform_int_distribution<std::int32_t> anyNumber(int32Min, int32Max);
    for (int i = 0; i < 20000; ++i) {
        const std::int32_t seconds = anyNumber(random);
        ASSERT_EQ(config::retryAfterMilliseconds(std::to_string(seconds)),
                  seconds > 0 ? wrapTo32(Int128(seconds) * 1000) : 0)
            << "seconds " << seconds;
    }
}

// Numbers of every magnitude, the ends of the range among them.
std::int64_t anyInt64(std::mt19937_64& random) {
    const auto bits = std::uniform_int_distribution<int>(0, 63)(random);
    const auto value = static_cast<std::int64_t>(random() >> bits);
    switch (random() % 16) {
        case 0:
            return int64Max;
        case 1:
            return int64Min;
        default:
            return random() % 2 == 0 ? value : -(value == int64Min ? 0 : value);
    }
}

TEST(BackoffArithmeticTest, SumsAndProductsAreHeldAtTheEndsOfTheRange) {
    EXPECT_EQ(support::addSaturating(int64Max, 1), int64Max);
    EXPECT_EQ(support::addSaturating(int64Min, -1), int64Min);
    EXPECT_EQ(support::multiplySaturating(int64Max / 1000 + 1, 1000), int64Max);
    EXPECT_EQ(support::multiplySaturating(int64Min / 1000 - 1, 1000), int64Min);
    EXPECT_EQ(support::multiplySaturating(int64Min, -1), int64Max);
    SCOPED_TRACE("seed " + std::to_string(defaultSeed));
    std::mt19937_64 random(defaultSeed);
    for (int i = 0; i < 50000; ++i) {
        const std::int64_t a = anyInt64(random);
        const std::int64_t b = anyInt64(random);
        ASSERT_EQ(support::addSaturating(a, b), holdIn64(Int128(a) + b)) << a << " + " << b;
        ASSERT_EQ(support::multiplySaturating(a, b), holdIn64(Int128(a) * b)) << a << " * " << b;
    }
}

TEST(BackoffArithmeticTest, JitterComesFromTheMinimalStandardGenerator) {
    SCOPED_TRACE("seed " + std::to_string(defaultSeed));
    std::mt19937_64 random(defaultSeed);
    for (int i = 0; i < 5000; ++i) {
        const auto consecutive = static_cast<std::int32_t>(random() % 100);
        const auto seed = static_cast<std::uint32_t>(random());
        const auto clock = static_cast<std::uint32_t>(random());
        const auto low = static_cast<std::int64_t>(random() % 1000);
        const auto high = low + 1 + static_cast<std::int64_t>(random() % 100000);
        MinimalStandard engine((static_cast<std::uint32_t>(consecutive) ^ seed ^ clock) %
                               2147483647U);
        ASSERT_EQ(config::jitter(consecutive, low, high, seed, clock),
                  std::uniform_int_distribution<std::int64_t>(low, high)(engine))
            << "consecutive " << consecutive << ", seed " << seed << ", clock " << clock;
    }
}

TEST(BackoffArithmeticTest, JitterTakesMultiplesOfTheModulusAsSeedOne) {
    const auto withSeed = [](std::uint32_t seed) { return config::jitter(0, 0, 1000000, seed, 0); };
    EXPECT_EQ(withSeed(0), withSeed(1));
    EXPECT_EQ(withSeed(2147483647U), withSeed(1));
    EXPECT_EQ(withSeed(4294967294U), withSeed(1));
    EXPECT_EQ(withSeed(2147483649U), withSeed(2));
    EXPECT_NE(withSeed(2), withSeed(1));
}

TEST(BackoffArithmeticTest, JitterMixesCountSeedAndClockByExclusiveOr) {
    const std::int64_t expected = config::jitter(0, 0, 1000000, 0x5A5A, 0);
    EXPECT_EQ(config::jitter(0, 0, 1000000, 0, 0x5A5A), expected);
    EXPECT_EQ(config::jitter(0x5A5A, 0, 1000000, 0, 0), expected);
    EXPECT_EQ(config::jitter(0x0F0F, 0, 1000000, 0xF0F0 ^ 0x5A5A, 0xFFFF), expected);
}

TEST(BackoffArithmeticTest, JitterIsTheSameForTheSameArguments) {
    EXPECT_EQ(config::jitter(3, 10, 1000000, 7, 11), config::jitter(3, 10, 1000000, 7, 11));
}

TEST(BackoffArithmeticTest, JitterStaysInItsClosedRange) {
    SCOPED_TRACE("seed " + std::to_string(defaultSeed));
    std::mt19937_64 random(defaultSeed);
    for (int i = 0; i < 20000; ++i) {
        const auto low = static_cast<std::int64_t>(random() >> (1 + random() % 63));
        const auto high = static_cast<std::int64_t>(random() >> (1 + random() % 63));
        if (low >= high) {
            continue;
        }
        const std::int64_t value =
            config::jitter(2, low, high, static_cast<std::uint32_t>(random()),
                           static_cast<std::uint32_t>(random()));
        ASSERT_GE(value, low);
        ASSERT_LE(value, high);
    }
    EXPECT_GE(config::jitter(1, 0, int64Max, 1, 2), 0);
}

TEST(BackoffArithmeticTest, JitterReachesBothEndsOfItsRange) {
    std::array<int, 3> counts{};
    for (std::uint32_t clock = 0; clock < 3000; ++clock) {
        const std::int64_t value = config::jitter(1, 5, 7, 12345, clock * 1000003U);
        ASSERT_GE(value, 5);
        ASSERT_LE(value, 7);
        ++counts.at(static_cast<std::size_t>(value - 5));
    }
    for (const int count : counts) {
        EXPECT_NEAR(count, 1000, 100);
    }
}

TEST(BackoffArithmeticTest, JitterIsUniform) {
    // Chi-squared over 20 cells, 19 degrees of freedom: above 43.8 in one of a thousand samples of a
    // uniform source. The sample is fixed, so the result is always the same.
    constexpr int cells = 20;
    constexpr int draws = 40000;
    SCOPED_TRACE("seed " + std::to_string(defaultSeed));
    for (const std::int64_t width : {std::int64_t{20}, std::int64_t{1000000000000}}) {
        std::mt19937_64 random(defaultSeed);
        std::array<int, cells> counts{};
        for (int i = 0; i < draws; ++i) {
            const std::int64_t value =
                config::jitter(2, 0, width - 1, static_cast<std::uint32_t>(random()),
                               static_cast<std::uint32_t>(random()));
            ++counts.at(static_cast<std::size_t>(value / (width / cells)));
        }
        double chiSquared = 0;
        for (const int count : counts) {
            const double expected = static_cast<double>(draws) / cells;
            chiSquared += (count - expected) * (count - expected) / expected;
        }
        EXPECT_LT(chiSquared, 43.8) << "width " << width;
    }
}

TEST(BackoffArithmeticTest, JitterWithoutRangeIsTheBoundOrNothing) {
    EXPECT_EQ(config::jitter(1, 0, 0, 1, 2), 0);
    EXPECT_EQ(config::jitter(1, 1, 1, 1, 2), 1);
    EXPECT_EQ(config::jitter(1, 250, 250, 1, 2), 250);
    EXPECT_EQ(config::jitter(1, int64Max, int64Max, 1, 2), int64Max);
    EXPECT_EQ(config::jitter(1, -5, -5, 1, 2), 0);
    EXPECT_EQ(config::jitter(1, 10, 5, 1, 2), 0);
}

}  // namespace
}  // namespace foundation::httpclient_core
