#include "support/SaturatingArithmetic.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <ostream>

namespace foundation::httpclient_core::support {
namespace {

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();

TEST(SaturatingArithmeticTest, ComputesAtCompileTime) {
    static_assert(addSaturating(largest, 1) == largest);
    static_assert(multiplySaturating(30, 1000) == 30'000);
}

struct Row {
    const char* label;
    std::int64_t a;
    std::int64_t b;
    std::int64_t sum;
    std::int64_t product;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class SaturatingArithmeticTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(SaturatingArithmeticTableTest, AddsAndMultipliesInEitherOrder) {
    const Row& row = GetParam();
    EXPECT_EQ(addSaturating(row.a, row.b), row.sum);
    EXPECT_EQ(addSaturating(row.b, row.a), row.sum);
    EXPECT_EQ(multiplySaturating(row.a, row.b), row.product);
    EXPECT_EQ(multiplySaturating(row.b, row.a), row.product);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    SaturatingArithmeticTableTest,
    ::testing::Values(Row{"Small", 6, 7, 13, 42},
                      Row{"Mixed", -6, 7, 1, -42},
                      Row{"Negative", -6, -7, -13, 42},
                      Row{"ZeroAndZero", 0, 0, 0, 0},
                      Row{"ZeroAndLargest", 0, largest, largest, 0},
                      Row{"ZeroAndSmallest", 0, smallest, smallest, 0},
                      Row{"OneAndLargest", 1, largest, largest, largest},
                      Row{"OneAndSmallest", 1, smallest, smallest + 1, smallest},
                      Row{"MinusOneAndLargest", -1, largest, largest - 1, -largest},
                      Row{"MinusOneAndSmallest", -1, smallest, smallest, largest},
                      Row{"LargestTwice", largest, largest, largest, largest},
                      Row{"SmallestTwice", smallest, smallest, smallest, largest},
                      Row{"BothEnds", largest, smallest, -1, smallest},
                      Row{"JustFits", largest / 2, 2, largest / 2 + 2, largest - 1},
                      Row{"JustTooLarge", largest / 2 + 1, 2, largest / 2 + 3, largest},
                      Row{"JustFitsBelow", smallest / 2, 2, smallest / 2 + 2, smallest},
                      Row{"JustTooSmall", smallest / 2 - 1, 2, smallest / 2 + 1, smallest}),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_core::support
