#include "support/Int32Parsing.h"
#include "tests/support/ThrowsExactly.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ostream>
#include <stdexcept>
#include <string>

namespace foundation::httpclient_core::support {
namespace {

using testing::throwsExactly;

TEST(Int32ParsingTest, ReadsTheNumberAtTheStart) {
    EXPECT_EQ(parseInt32(" 42abc", "stol"), 42);
}

struct Row {
    const char* label;
    const char* text;
    Int32ParseStatus status;
    std::int32_t value;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class Int32ParsingTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(Int32ParsingTableTest, GivesStatusAndValue) {
    const Int32ParseResult result = tryParseInt32(GetParam().text);
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_EQ(result.value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    Int32ParsingTableTest,
    ::testing::Values(Row{"Zero", "0", Int32ParseStatus::Ok, 0},
                      Row{"Signed", "-7", Int32ParseStatus::Ok, -7},
                      Row{"Plus", "+7", Int32ParseStatus::Ok, 7},
                      Row{"AllWhitespace", "\t\n\v\f\r 7", Int32ParseStatus::Ok, 7},
                      Row{"TrailingText", "8080x", Int32ParseStatus::Ok, 8080},
                      Row{"HexadecimalStopsAtX", "0x10", Int32ParseStatus::Ok, 0},
                      Row{"Largest", "2147483647", Int32ParseStatus::Ok, 2147483647},
                      Row{"Smallest", "-2147483648", Int32ParseStatus::Ok, -2147483647 - 1},
                      Row{"TooLarge", "2147483648", Int32ParseStatus::OutOfRange, 0},
                      Row{"TooSmall", "-2147483649", Int32ParseStatus::OutOfRange, 0},
                      Row{"BeyondSixtyFourBits", "99999999999999999999",
                          Int32ParseStatus::OutOfRange, 0},
                      Row{"Empty", "", Int32ParseStatus::NoDigits, 0},
                      Row{"OnlySign", "-", Int32ParseStatus::NoDigits, 0},
                      Row{"Letters", "abc", Int32ParseStatus::NoDigits, 0}),
    [](const auto& row) { return row.param.label; });

TEST(Int32ParsingTest, NamesTheFunctionInItsErrors) {
    EXPECT_TRUE(throwsExactly<std::invalid_argument>([] { parseInt32("x", "stoi"); },
                                                     "invalid stoi argument"));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([] { parseInt32("2147483648", "stol"); },
                                                 "stol argument out of range"));
}

TEST(Int32ParsingTest, LeavesErrnoAlone) {
    errno = EINTR;
    tryParseInt32("99999999999999999999");
    EXPECT_EQ(errno, EINTR);
}

}  // namespace
}  // namespace foundation::httpclient_core::support
