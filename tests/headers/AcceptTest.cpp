#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/Accept.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogCapture;
using testing::throwsExactly;

using Types = std::vector<ContentType>;

Types sampleTypes() {
    return {ContentType("text/html", {}), ContentType("application/json", {{"q", "0.9"}})};
}

TEST(AcceptTest, ParsesAndPrintsAList) {
    const Accept accept = Accept::parse("text/html, application/json;q=0.9,,");
    EXPECT_EQ(accept.size(), 2U);
    EXPECT_EQ(accept.at(0).getType(), "text/html");
    EXPECT_EQ(accept[1].getParameters().get("Q"), "0.9");
    EXPECT_EQ(accept.toString(), "text/html, application/json; q=0.9");
}

TEST(AcceptTest, ConstructorStoresTheListInOrder) {
    const Accept accept(sampleTypes());
    EXPECT_EQ(accept.getTypes(), sampleTypes());
    EXPECT_EQ(accept.size(), 2U);
    EXPECT_EQ(Accept(Types{}).size(), 0U);
    static_assert(!std::is_convertible_v<Types, Accept>);
}

TEST(AcceptTest, AtReturnsAReferenceToTheType) {
    const Accept accept(sampleTypes());
    static_assert(std::is_same_v<decltype(accept.at(0)), const ContentType&>);
    EXPECT_EQ(accept.at(1), sampleTypes()[1]);
    EXPECT_EQ(&accept.at(0), &*accept.begin());
}

TEST(AcceptTest, AtOutOfRangeThrows) {
    const Accept accept(sampleTypes());
    const LogCapture log;
    for (const std::size_t index : {std::size_t{2}, std::size_t{3}, static_cast<std::size_t>(-1)}) {
        EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { accept.at(index); },
                                                     "invalid vector subscript"));
    }
    EXPECT_TRUE(throwsExactly<std::out_of_range>([] { Accept(Types{}).at(0); },
                                                 "invalid vector subscript"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(AcceptTest, SubscriptReturnsAReferenceToTheType) {
    const Accept accept(sampleTypes());
    static_assert(std::is_same_v<decltype(accept[0]), const ContentType&>);
    EXPECT_EQ(&accept[1], &accept.at(1));
}

TEST(AcceptTest, IteratesOverConstantTypesInOrder) {
    Accept accept(sampleTypes());
    static_assert(std::is_same_v<decltype(accept.begin()), Accept::const_iterator>);
    static_assert(std::random_access_iterator<Accept::const_iterator>);
    static_assert(
        std::is_same_v<std::iter_reference_t<Accept::const_iterator>, const ContentType&>);
    EXPECT_EQ(Types(accept.begin(), accept.end()), sampleTypes());
    const Accept empty(Types{});
    EXPECT_EQ(empty.begin(), empty.end());
}

TEST(AcceptTest, GetTypesReturnsACopy) {
    const Accept accept(sampleTypes());
    accept.getTypes().clear();
    EXPECT_EQ(accept.size(), 2U);
}

struct ParseRow {
    const char* label;
    std::string text;
    Types types;
    std::string printed;
    friend std::ostream& operator<<(std::ostream& os, const ParseRow& row) {
        return os << row.label;
    }
};

class AcceptParseTest : public ::testing::TestWithParam<ParseRow> {};

TEST_P(AcceptParseTest, GivesTypesAndText) {
    const LogCapture log;
    const Accept accept = Accept::parse(GetParam().text);
    EXPECT_EQ(accept.getTypes(), GetParam().types);
    EXPECT_EQ(accept.toString(), GetParam().printed);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    AcceptParseTest,
    ::testing::Values(ParseRow{"TwoTypesAndEmptyElements", "text/html, application/json;q=0.9,,",
                               sampleTypes(), "text/html, application/json; q=0.9"},
                      ParseRow{"Empty", "", {}, ""},
                      ParseRow{"OnlySeparators", " , ,", {}, ""},
                      ParseRow{"OneType", "a/b", {ContentType("a/b", {})}, "a/b"},
                      ParseRow{"ElementsTrimmed",
                               "\t a/b \r\n,c/d ;q=1 ",
                               {ContentType("a/b", {}), ContentType("c/d ", {{"q", "1"}})},
                               "a/b, c/d ; q=1"},
                      ParseRow{"DuplicatesAndOrderKept",
                               "b,a,b",
                               {ContentType("b", {}), ContentType("a", {}), ContentType("b", {})},
                               "b, a, b"},
                      ParseRow{"QuotesDoNotProtectASeparator",
                               "a;b=\"c,d\"",
                               {ContentType("a", {{"b", "\"c"}}), ContentType("d\"", {})},
                               "a; b=\"c, d\""},
                      ParseRow{"ElementWithEmptyType", ";", {ContentType("", {})}, ""}),
    [](const auto& row) { return row.param.label; });

TEST(AcceptTest, PrintsEmptyTypesAsNothingBetweenSeparators) {
    EXPECT_EQ(Accept({ContentType("", {}), ContentType("", {})}).toString(), ", ");
}

TEST(AcceptTest, FailureOfAnElementIsTheFailureOfTheList) {
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::runtime_error>([] { Accept::parse("a/b, c/d; q, e/f;"); },
                                                  "Missing delimiter <=> when parsing : < q>"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>([] { Accept::parse("a/b, c/d;q= ,e"); },
                                                  "Missing parameter value for <q>"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>([] { Accept::parse("a/b;"); },
                                                  "Missing parameter value for <>"));
    EXPECT_THAT(log.records(),
                ElementsAre(coreRecord(4, "Missing delimiter <=> when parsing : < q>"),
                            coreRecord(4, "Missing parameter value for <q>"),
                            coreRecord(4, "Missing parameter value for <>")));
}

TEST(AcceptTest, EqualityComparesPositionByPosition) {
    const Accept accept(sampleTypes());
    EXPECT_EQ(accept, Accept(sampleTypes()));
    EXPECT_NE(accept, Accept({sampleTypes()[1], sampleTypes()[0]}));
    EXPECT_NE(accept, Accept({sampleTypes()[0]}));
    EXPECT_NE(accept, Accept::parse("text/html, Application/json;q=0.9"));
    EXPECT_EQ(Accept(Types{}), Accept::parse(""));
}

}  // namespace
}  // namespace foundation::httpclient_core
