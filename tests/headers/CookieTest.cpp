#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/Cookie.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogCapture;
using ::testing::Pair;
using testing::throwsExactly;

using Entries = std::vector<std::pair<std::string, std::string>>;

TEST(CookieTest, ParsesAndPrintsPairs) {
    const NameValueCollection cookies = Cookie::parse("a=1; b=2;;c=3 ");
    EXPECT_THAT(cookies, ElementsAre(Pair("a", "1"), Pair("b", "2"), Pair("c", "3")));
    EXPECT_EQ(Cookie::toString(cookies), "a=1; b=2; c=3");
}

struct ParseRow {
    const char* label;
    std::string text;
    Entries expected;
    friend std::ostream& operator<<(std::ostream& os, const ParseRow& row) {
        return os << row.label;
    }
};

class CookieParseTest : public ::testing::TestWithParam<ParseRow> {};

TEST_P(CookieParseTest, GivesThePairsInOrder) {
    const LogCapture log;
    const NameValueCollection cookies = Cookie::parse(GetParam().text);
    EXPECT_EQ(Entries(cookies.begin(), cookies.end()), GetParam().expected);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    CookieParseTest,
    ::testing::Values(
        ParseRow{"Empty", "", {}},
        ParseRow{"OnlySeparatorsAndBlanks", " ; \t;", {}},
        ParseRow{"OnePair", "a=1", {{"a", "1"}}},
        ParseRow{"BlanksTrimmed", "\ta = 1 ;\r\nb= 2", {{"a", "1"}, {"b", "2"}}},
        ParseRow{"EmptyValue", "a=", {{"a", ""}}},
        ParseRow{"EmptyName", "=1", {{"", "1"}}},
        ParseRow{"OnlyEqualsSign", "=", {{"", ""}}},
        ParseRow{"SecondEqualsSignBelongsToTheValue", "a=b=c", {{"a", "b=c"}}},
        ParseRow{"DuplicatesKept", "a=1;A=2;a=1", {{"a", "1"}, {"A", "2"}, {"a", "1"}}},
        ParseRow{"CommaDoesNotSeparate", "a=1,b=2", {{"a", "1,b=2"}}},
        ParseRow{"QuotesKept", "a=\"1\"", {{"a", "\"1\""}}}),
    [](const auto& row) { return row.param.label; });

TEST(CookieTest, ElementWithoutEqualsSignThrows) {
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::runtime_error>([] { Cookie::parse("flag"); },
                                                  "Missing delimiter <=> when parsing : <flag>"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>([] { Cookie::parse("a=1;  flag ;b"); },
                                                  "Missing delimiter <=> when parsing : <flag>"));
    EXPECT_THAT(log.records(),
                ElementsAre(coreRecord(4, "Missing delimiter <=> when parsing : <flag>"),
                            coreRecord(4, "Missing delimiter <=> when parsing : <flag>")));
}

TEST(CookieTest, PrintsPairsAsTheyAre) {
    EXPECT_EQ(Cookie::toString({}), "");
    EXPECT_EQ(Cookie::toString({{"a", "1"}}), "a=1");
    EXPECT_EQ(Cookie::toString({{"", ""}, {"a b", "\"1;2\" %"}}), "=; a b=\"1;2\" %");
}

}  // namespace
}  // namespace foundation::httpclient_core
