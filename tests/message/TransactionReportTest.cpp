#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/TransactionReport.h>

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <utility>

namespace foundation::httpclient_core {
namespace {

TEST(TransactionReportTest, TellsRedirectsAndTheURLThatAnswered) {
    const TransactionReport report(2, "http://example.com/moved?a=b");
    EXPECT_EQ(report.redirectCount(), 2);
    EXPECT_EQ(report.effectiveURL().toAsciiString(), "http://example.com/moved?a=b");
}

TEST(TransactionReportTest, ReturnsACopyOfTheURL) {
    const TransactionReport report(0, "http://example.com/");
    report.effectiveURL().setDomain("other");
    EXPECT_EQ(report.effectiveURL(), URL("http://example.com/"));
}

TEST(TransactionReportTest, IsCopiedAndMoved) {
    TransactionReport original(1, "http://a/");
    const TransactionReport copy(original);
    TransactionReport target(0, "");
    target = original;
    EXPECT_EQ(copy.effectiveURL(), original.effectiveURL());
    EXPECT_EQ(target.effectiveURL(), original.effectiveURL());
    const TransactionReport moved(std::move(original));
    target = TransactionReport(7, "http://b/");
    EXPECT_EQ(moved.redirectCount(), 1);
    EXPECT_EQ(moved.effectiveURL(), URL("http://a/"));
    EXPECT_EQ(target.redirectCount(), 7);
    EXPECT_EQ(target.effectiveURL(), URL("http://b/"));
}

struct CountRow {
    const char* label;
    long count;
    std::int32_t expected;
    friend std::ostream& operator<<(std::ostream& os, const CountRow& row) {
        return os << row.label;
    }
};

class TransactionReportCountTest : public ::testing::TestWithParam<CountRow> {};

TEST_P(TransactionReportCountTest, KeepsTheLowThirtyTwoBits) {
    testing::LogCapture log;
    EXPECT_EQ(TransactionReport(GetParam().count, "").redirectCount(), GetParam().expected);
    EXPECT_TRUE(log.records().empty());
}

constexpr std::int32_t int32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t int32Min = std::numeric_limits<std::int32_t>::min();

INSTANTIATE_TEST_SUITE_P(Table,
                         TransactionReportCountTest,
                         ::testing::Values(CountRow{"Zero", 0, 0},
                                           CountRow{"Negative", -3, -3},
                                           CountRow{"Largest", int32Max, int32Max},
                                           CountRow{"Smallest", int32Min, int32Min},
                                           CountRow{"OneTooLarge", 2147483648L, int32Min},
                                           CountRow{"OneTooSmall", -2147483649L, int32Max},
                                           CountRow{"AboveThirtyTwoBits", 4294967297L, 1},
                                           CountRow{"LargestLong", std::numeric_limits<long>::max(),
                                                    -1}),
                         [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_core
