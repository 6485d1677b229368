#include "tests/diagnostics/ExceptionChecks.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/BadWebSocketException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/MaxWriteFrameSizeExceededException.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <locale>
#include <ostream>
#include <stdexcept>
#include <string>

namespace foundation::httpclient_core {
namespace {

using testing::expectCopiesKeepTheText;
using testing::expectTravelsInAnExceptionPointer;
using testing::isCaughtAs;
using testing::throwsExactly;

TEST(MaxWriteFrameSizeExceededExceptionTest, NamesThePayloadFirstAndTheLimitSecond) {
    EXPECT_TRUE(throwsExactly<MaxWriteFrameSizeExceededException>(
        [] { throw MaxWriteFrameSizeExceededException(1024, 4096); },
        "WebSocketFrame's payload is 4096 bytes, which is above the maxWriteFrameSize limit of "
        "1024 "
        "bytes. This limit can be configured in WebSocketClientConfiguration."));
}

TEST(MaxWriteFrameSizeExceededExceptionTest, IsCaughtByItsBasesOnly) {
    EXPECT_TRUE(isCaughtAs<std::runtime_error>(MaxWriteFrameSizeExceededException(1024, 4096)));
    EXPECT_TRUE(isCaughtAs<std::exception>(MaxWriteFrameSizeExceededException(1024, 4096)));
    EXPECT_FALSE(
        isCaughtAs<HttpRequestFailedException>(MaxWriteFrameSizeExceededException(1024, 4096)));
    EXPECT_FALSE(isCaughtAs<BadWebSocketException>(MaxWriteFrameSizeExceededException(1024, 4096)));
    EXPECT_FALSE(isCaughtAs<std::logic_error>(MaxWriteFrameSizeExceededException(1024, 4096)));
}

struct Row {
    const char* label;
    std::uint64_t limit;
    std::uint64_t payload;
    const char* limitText;
    const char* payloadText;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class MaxWriteFrameSizeExceededExceptionTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(MaxWriteFrameSizeExceededExceptionTableTest, WritesPlainDecimals) {
    const MaxWriteFrameSizeExceededException error(GetParam().limit, GetParam().payload);
    EXPECT_EQ(error.what(),
              std::string("WebSocketFrame's payload is ") + GetParam().payloadText +
                  " bytes, which is above the maxWriteFrameSize limit of " + GetParam().limitText +
                  " bytes. This limit can be configured in WebSocketClientConfiguration.");
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    MaxWriteFrameSizeExceededExceptionTableTest,
    ::testing::Values(Row{"Zeros", 0, 0, "0", "0"},
                      Row{"PayloadBelowTheLimit", 10, 1, "10", "1"},
                      Row{"Largest", UINT64_MAX, UINT64_MAX, "18446744073709551615",
                          "18446744073709551615"},
                      Row{"LargestPayload", 0, UINT64_MAX, "0", "18446744073709551615"},
                      Row{"BeyondSigned", 9223372036854775808U, 1, "9223372036854775808", "1"}),
    [](const auto& row) { return row.param.label; });

TEST(MaxWriteFrameSizeExceededExceptionTest, NumbersAreNotGroupedByTheGlobalLocale) {
    struct Grouping : std::numpunct<char> {
        char do_thousands_sep() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    const std::string text = MaxWriteFrameSizeExceededException(1000000, 2000000).what();
    std::locale::global(before);
    EXPECT_NE(text.find("payload is 2000000 bytes"), std::string::npos);
    EXPECT_NE(text.find("limit of 1000000 bytes"), std::string::npos);
}

TEST(MaxWriteFrameSizeExceededExceptionTest, CopiesKeepTheText) {
    expectCopiesKeepTheText(MaxWriteFrameSizeExceededException(1024, 4096),
                            MaxWriteFrameSizeExceededException(1, 2));
    expectTravelsInAnExceptionPointer(MaxWriteFrameSizeExceededException(1024, 4096));
}

}  // namespace
}  // namespace foundation::httpclient_core
