#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpHeaders.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <type_traits>
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

using Strings = std::vector<std::string>;
using Entries = std::vector<std::pair<std::string, std::string>>;

Entries entriesOf(const NameValueCollection& collection) {
    return {collection.begin(), collection.end()};
}

TEST(HttpHeadersTest, HoldsFieldsUnderCaseInsensitiveNames) {
    HttpHeaders headers{{"Host", "example.com"}};
    headers.addHeader("Content-Type: text/html");
    headers.setHeaderValue("content-type", "text/plain");

    EXPECT_TRUE(headers.hasHeader("CONTENT-TYPE"));
    EXPECT_EQ(headers.getHeaderValue(HttpHeaders::CONTENT_TYPE), "text/plain");
    EXPECT_EQ(headers.getHeaderValueOr(HttpHeaders::ACCEPT, "*/*"), "*/*");
    headers.removeHeader("host");
    EXPECT_THAT(headers, ElementsAre(Pair("Content-Type", "text/plain")));
}

TEST(HttpHeadersTest, NamesItsConstants) {
    EXPECT_EQ(HttpHeaders::ACCEPT, "Accept");
    EXPECT_EQ(HttpHeaders::CONTENT_TYPE, "Content-Type");
    EXPECT_EQ(HttpHeaders::CONTENT_LENGTH, "Content-Length");
    EXPECT_EQ(HttpHeaders::COOKIE, "Cookie");
    EXPECT_EQ(HttpHeaders::TRANSFER_ENCODING, "Transfer-Encoding");
}

// Initialised before main, in a file that names the constants.
const HttpHeaders madeByAStaticInitialiser{{HttpHeaders::ACCEPT, "1"},
                                           {HttpHeaders::CONTENT_TYPE, "2"},
                                           {HttpHeaders::CONTENT_LENGTH, "3"},
                                           {HttpHeaders::COOKIE, "4"},
                                           {HttpHeaders::TRANSFER_ENCODING, "5"}};

TEST(HttpHeadersTest, ConstantsAreReadyForStaticInitialisers) {
    EXPECT_THAT(
        madeByAStaticInitialiser,
        ElementsAre(Pair("Accept", "1"), Pair("Content-Type", "2"), Pair("Content-Length", "3"),
                    Pair("Cookie", "4"), Pair("Transfer-Encoding", "5")));
}

TEST(HttpHeadersTest, DefaultConstructedIsEmpty) {
    const HttpHeaders headers;
    EXPECT_TRUE(headers.empty());
    EXPECT_EQ(headers.size(), 0U);
}

TEST(HttpHeadersTest, InitializerListKeepsOrderAndDuplicates) {
    const HttpHeaders headers{{"b", "1"}, {"A", "2"}, {"B", "3"}};
    EXPECT_EQ(entriesOf(headers), (Entries{{"b", "1"}, {"A", "2"}, {"B", "3"}}));
    EXPECT_EQ(headers.getAll("b"), (Strings{"1", "3"}));
}

TEST(HttpHeadersTest, IsANameValueCollectionWithoutDataOfItsOwn) {
    static_assert(std::is_base_of_v<NameValueCollection, HttpHeaders>);
    static_assert(sizeof(HttpHeaders) == sizeof(NameValueCollection));
    static_assert(std::is_nothrow_move_constructible_v<HttpHeaders>);
    static_assert(std::is_nothrow_move_assignable_v<HttpHeaders>);
    const HttpHeaders headers{{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(headers.find("B"), std::next(headers.begin()));
    EXPECT_EQ(headers.find("c"), headers.end());
    EXPECT_EQ(headers.cbegin(), headers.begin());
    EXPECT_EQ(headers.cend(), headers.end());
    EXPECT_EQ(headers.size(), 2U);
    EXPECT_FALSE(headers.empty());
    EXPECT_EQ(headers, (HttpHeaders{{"a", "1"}, {"b", "2"}}));
    EXPECT_EQ(headers, (NameValueCollection{{"a", "1"}, {"b", "2"}}));
}

TEST(HttpHeadersTest, CopiesAndMovesAreThoseOfTheBase) {
    HttpHeaders source{{"a", "1"}, {"A", "2"}};
    HttpHeaders copy(source);
    copy.setHeaderValue("a", "changed");
    EXPECT_EQ(source.getAll("a"), (Strings{"1", "2"}));
    HttpHeaders moved(std::move(source));
    EXPECT_TRUE(source.empty());
    source.addHeaderValue("b", "3");
    EXPECT_EQ(source.getHeaderValue("B"), "3");
    EXPECT_EQ(moved.getAll("A"), (Strings{"1", "2"}));
    moved = copy;
    EXPECT_EQ(moved, copy);
    moved = std::move(copy);
    EXPECT_TRUE(copy.empty());
    EXPECT_EQ(moved.getHeaderValue("a"), "changed");
}

// Member operations.

TEST(HttpHeadersTest, AddHeaderValueAppendsAndTheFirstFieldAnswers) {
    HttpHeaders headers;
    headers.addHeaderValue("Set-Cookie", "a");
    headers.addHeaderValue("set-cookie", "b");
    EXPECT_EQ(headers.getHeaderValue("SET-COOKIE"), "a");
    EXPECT_EQ(headers.size(), 2U);
}

TEST(HttpHeadersTest, SetHeaderValueReplacesTheFirstFieldElseAppends) {
    HttpHeaders headers{{"A", "1"}, {"a", "2"}};
    headers.setHeaderValue("a", "3");
    headers.setHeaderValue("B", "4");
    EXPECT_THAT(headers, ElementsAre(Pair("A", "3"), Pair("a", "2"), Pair("B", "4")));
}

TEST(HttpHeadersTest, GetOfAbsentNameThrowsOutOfRange) {
    const HttpHeaders headers{{"a", "1"}};
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { headers.getHeaderValue("Content-Type"); },
                                                 "Content-Type not found."));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { headers.getHeaderValue("Missing"); },
                                                 "Missing not found."));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, "Content-Type not found."),
                                           coreRecord(512, "Missing not found.")));
}

TEST(HttpHeadersTest, GetHeaderValueOrGivesTheDefaultAndNoRecordForAnAbsentName) {
    const HttpHeaders headers{{"There", "1"}, {"Empty", ""}, {"there", "2"}};
    const LogCapture log;
    EXPECT_EQ(headers.getHeaderValueOr("Missing", "d"), "d");
    EXPECT_EQ(headers.getHeaderValueOr("THERE", "d"), "1");
    EXPECT_EQ(headers.getHeaderValueOr("Empty", "d"), "");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(HttpHeadersTest, HasHeaderIgnoresCase) {
    const HttpHeaders headers{{"Accept", "1"}};
    EXPECT_TRUE(headers.hasHeader("aCCEPT"));
    EXPECT_FALSE(headers.hasHeader("Accept "));
}

TEST(HttpHeadersTest, RemoveHeaderRemovesEveryFieldOfTheName) {
    HttpHeaders headers{{"A", "1"}, {"b", "2"}, {"a", "3"}};
    headers.removeHeader("A");
    EXPECT_THAT(headers, ElementsAre(Pair("b", "2")));
    headers.removeHeader("A");
    EXPECT_EQ(headers.size(), 1U);
}

// Header lines.

struct LineRow {
    const char* label;
    std::string line;
    Entries expected;
    friend std::ostream& operator<<(std::ostream& os, const LineRow& row) {
        return os << row.label;
    }
};

class HttpHeadersLineTest : public ::testing::TestWithParam<LineRow> {};

TEST_P(HttpHeadersLineTest, AddsTheFieldOfTheLine) {
    HttpHeaders headers;
    const LogCapture log;
    headers.addHeader(GetParam().line);
    EXPECT_EQ(entriesOf(headers), GetParam().expected);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpHeadersLineTest,
    ::testing::Values(LineRow{"Plain", "Content-Type: text/html", {{"Content-Type", "text/html"}}},
                      LineRow{"BlanksAround", "  X-A :  1 ", {{"X-A", "1"}}},
                      LineRow{"OnlyBlanks", "   ", {}},
                      LineRow{"Empty", "", {}},
                      LineRow{"OnlyLineEnd", "\r\n", {}},
                      LineRow{"SecondColonBelongsToTheValue", "Host: a:b", {{"Host", "a:b"}}},
                      LineRow{"NoValue", "X-Empty:", {{"X-Empty", ""}}},
                      LineRow{"BlankValue", "X-Empty: \t", {{"X-Empty", ""}}},
                      LineRow{"NoName", ":v", {}},
                      LineRow{"BlankName", "  : v", {}},
                      LineRow{"LineEndIsTrimmed", "A: 1\r\n", {{"A", "1"}}},
                      LineRow{"InnerBlanksStay", "A b: 1 2", {{"A b", "1 2"}}},
                      LineRow{"OtherWhiteSpaceStays", "A\v:\f1", {{"A\v", "\f1"}}},
                      LineRow{"NulStays", std::string("A:1\0", 4), {{"A", std::string("1\0", 2)}}}),
    [](const auto& row) { return row.param.label; });

TEST(HttpHeadersTest, AddHeaderAppendsToFieldsOfTheSameName) {
    HttpHeaders headers{{"a", "1"}};
    headers.addHeader("A: 2");
    EXPECT_EQ(headers.getAll("a"), (Strings{"1", "2"}));
}

TEST(HttpHeadersTest, AddHeaderOfALineWithoutColonThrowsAndAddsNothing) {
    HttpHeaders headers{{"a", "1"}};
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] { headers.addHeader("NoColon"); }, "Missing delimiter <:> when parsing : <NoColon>"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] { headers.addHeader(" x \r\n"); }, "Missing delimiter <:> when parsing : < x \r\n>"));
    EXPECT_THAT(headers, ElementsAre(Pair("a", "1")));
    EXPECT_THAT(log.records(),
                ElementsAre(coreRecord(4, "Missing delimiter <:> when parsing : <NoColon>"),
                            coreRecord(4, "Missing delimiter <:> when parsing : < x \r\n>")));
}

// splitElements.

struct ElementsRow {
    const char* label;
    std::string text;
    std::string separators;
    bool skipEmpty;
    Strings expected;
    friend std::ostream& operator<<(std::ostream& os, const ElementsRow& row) {
        return os << row.label;
    }
};

class HttpHeadersElementsTest : public ::testing::TestWithParam<ElementsRow> {};

TEST_P(HttpHeadersElementsTest, CallsBackWithEachElement) {
    Strings elements;
    HttpHeaders::splitElements(
        GetParam().text, [&](const std::string& element) { elements.push_back(element); },
        GetParam().separators, GetParam().skipEmpty);
    EXPECT_EQ(elements, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpHeadersElementsTest,
    ::testing::Values(
        ElementsRow{"EmptyElementSkipped", "a, ,b", ",", true, {"a", "b"}},
        ElementsRow{"EmptyElementKept", "a, ,b", ",", false, {"a", "", "b"}},
        ElementsRow{"EmptyTextIsOneElement", "", ",", false, {""}},
        ElementsRow{"EmptyTextSkipped", "", ",", true, {}},
        ElementsRow{"SeparatorAtTheEnd", "a,", ",", false, {"a", ""}},
        ElementsRow{"SeparatorAtTheStart", ",a", ",", false, {"", "a"}},
        ElementsRow{"OnlySeparators", ",,", ",", false, {"", "", ""}},
        ElementsRow{"OnlySeparatorsSkipped", ",,", ",", true, {}},
        ElementsRow{"SeparatorsAreASet", "a;b,c", ",;", false, {"a", "b", "c"}},
        ElementsRow{"NoSeparators", " a,b ", "", false, {"a,b"}},
        ElementsRow{"NoSeparatorsAndEmpty", "", "", false, {""}},
        ElementsRow{"FourKindsOfWhiteSpaceTrimmed", " \n\r\ta b\t\r\n ", ",", false, {"a b"}},
        ElementsRow{"OtherWhiteSpaceKept", "\va\f", ",", false, {"\va\f"}},
        ElementsRow{"WhiteSpaceAsSeparator", "a b", " ", false, {"a", "b"}},
        ElementsRow{"NulIsACharacter",
                    std::string("a\0b", 3),
                    std::string("\0", 1),
                    false,
                    {"a", "b"}},
        ElementsRow{"QuotesMeanNothing", "\"a,b\"", ",", false, {"\"a", "b\""}}),
    [](const auto& row) { return row.param.label; });

TEST(HttpHeadersTest, SplitElementsWithAnEmptyCallbackThrows) {
    EXPECT_TRUE(throwsExactly<std::bad_function_call>(
        [] { HttpHeaders::splitElements("a", nullptr, ",", true); },
        std::bad_function_call().what()));
    EXPECT_TRUE(throwsExactly<std::bad_function_call>(
        [] { HttpHeaders::splitElements("", HttpHeaders::ElementCallback(), ",", false); },
        std::bad_function_call().what()));
}

TEST(HttpHeadersTest, SplitElementsWithAnEmptyCallbackThatIsNotDueDoesNothing) {
    EXPECT_NO_THROW(HttpHeaders::splitElements(" , ", nullptr, ",", true));
}

TEST(HttpHeadersTest, ThrowingCallbackEndsTheWalk) {
    Strings elements;
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] {
            HttpHeaders::splitElements(
                "a,b,c",
                [&](const std::string& element) {
                    elements.push_back(element);
                    if (element == "b") {
                        throw std::runtime_error("enough");
                    }
                },
                ",", true);
        },
        "enough"));
    EXPECT_EQ(elements, (Strings{"a", "b"}));
}

TEST(HttpHeadersTest, SplitElementsIsReEntrant) {
    Strings leaves;
    HttpHeaders::splitElements(
        "a;b,c;d",
        [&](const std::string& element) {
            HttpHeaders::splitElements(
                element, [&](const std::string& leaf) { leaves.push_back(leaf); }, ";", true);
        },
        ",", true);
    EXPECT_EQ(leaves, (Strings{"a", "b", "c", "d"}));
}

// splitParameter.

struct ParameterRow {
    const char* label;
    std::string text;
    std::string delimiter;
    bool allowMissingDelimiter;
    std::pair<std::string, std::string> expected;
    friend std::ostream& operator<<(std::ostream& os, const ParameterRow& row) {
        return os << row.label;
    }
};

class HttpHeadersParameterTest : public ::testing::TestWithParam<ParameterRow> {};

TEST_P(HttpHeadersParameterTest, GivesNameAndValue) {
    const LogCapture log;
    EXPECT_EQ(HttpHeaders::splitParameter(GetParam().text, GetParam().delimiter,
                                          GetParam().allowMissingDelimiter),
              GetParam().expected);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpHeadersParameterTest,
    ::testing::Values(
        ParameterRow{"Plain", "a=1", "=", false, {"a", "1"}},
        ParameterRow{"Trimmed", " \t a\r = \n1 ", "=", false, {"a", "1"}},
        ParameterRow{"OnlyTheFirstDelimiterSplits", "a=b=c", "=", false, {"a", "b=c"}},
        ParameterRow{"NoValue", "a=", "=", false, {"a", ""}},
        ParameterRow{"BlankValue", "a= ", "=", false, {"a", ""}},
        ParameterRow{"NoName", "=1", "=", false, {"", "1"}},
        ParameterRow{"OnlyTheDelimiter", "=", "=", false, {"", ""}},
        ParameterRow{"EmptyText", "", "=", false, {"", ""}},
        ParameterRow{"BlankText", " \t\r\n", "=", false, {"", ""}},
        ParameterRow{"MissingDelimiterAllowed", "a", "=", true, {"a", ""}},
        ParameterRow{"MissingDelimiterAllowedAndTrimmed", "  a b ", "=", true, {"a b", ""}},
        ParameterRow{"DelimiterLongerThanTheText", "a", "==", true, {"a", ""}},
        ParameterRow{"ValueStartsInsideALongDelimiter", "a::b", "::", false, {"a", ":b"}},
        ParameterRow{"WholeDelimiterIsSought", "a:b::c", "::", false, {"a:b", ":c"}},
        ParameterRow{"LongDelimiterAtTheEnd", "a--", "--", false, {"a", "-"}},
        ParameterRow{"EmptyDelimiterIsFoundAtTheStart", "abc", "", false, {"", "bc"}},
        ParameterRow{"EmptyDelimiterInOneCharacter", "a", "", false, {"", ""}},
        ParameterRow{"BlankDelimiterIsTrimmedAway", "a ", " ", true, {"a", ""}},
        ParameterRow{"OtherWhiteSpaceKept", "\va\f=\v1\f", "=", false, {"\va\f", "\v1\f"}},
        ParameterRow{"NulKept",
                     std::string("a\0=\0b", 5),
                     "=",
                     false,
                     {std::string("a\0", 2), std::string("\0b", 2)}}),
    [](const auto& row) { return row.param.label; });

struct MissingDelimiterRow {
    const char* label;
    std::string text;
    std::string delimiter;
    std::string message;
    friend std::ostream& operator<<(std::ostream& os, const MissingDelimiterRow& row) {
        return os << row.label;
    }
};

class HttpHeadersMissingDelimiterTest : public ::testing::TestWithParam<MissingDelimiterRow> {};

TEST_P(HttpHeadersMissingDelimiterTest, LogsAndThrowsWithTheTextAsGiven) {
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [] { HttpHeaders::splitParameter(GetParam().text, GetParam().delimiter, false); },
        GetParam().message));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(4, GetParam().message)));
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpHeadersMissingDelimiterTest,
    ::testing::Values(MissingDelimiterRow{"Plain", "a", "=",
                                          "Missing delimiter <=> when parsing : <a>"},
                      MissingDelimiterRow{"Untrimmed", " a\t", "=",
                                          "Missing delimiter <=> when parsing : < a\t>"},
                      MissingDelimiterRow{"LongDelimiter", "a",
                                          "::", "Missing delimiter <::> when parsing : <a>"},
                      MissingDelimiterRow{"PartOfTheDelimiter", "a:b",
                                          "::", "Missing delimiter <::> when parsing : <a:b>"}),
    [](const auto& row) { return row.param.label; });

// splitParameters.

struct ParametersRow {
    const char* label;
    std::string text;
    std::string separators;
    std::string mainValue;
    Entries parameters;
    friend std::ostream& operator<<(std::ostream& os, const ParametersRow& row) {
        return os << row.label;
    }
};

class HttpHeadersParametersTest : public ::testing::TestWithParam<ParametersRow> {};

TEST_P(HttpHeadersParametersTest, GivesMainValueAndParameters) {
    const LogCapture log;
    const auto [mainValue, parameters] =
        HttpHeaders::splitParameters(GetParam().text, GetParam().separators);
    EXPECT_EQ(mainValue, GetParam().mainValue);
    EXPECT_EQ(entriesOf(parameters), GetParam().parameters);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpHeadersParametersTest,
    ::testing::Values(
        ParametersRow{"Plain",
                      "text/html; charset=utf-8",
                      ";",
                      "text/html",
                      {{"charset", "utf-8"}}},
        ParametersRow{"TrailingSeparator",
                      "text/html ;a=1;",
                      ";",
                      "text/html ",
                      {{"a", "1"}, {"", ""}}},
        ParametersRow{"LeadingSeparator", ";a=1", ";", "a=1", {}},
        ParametersRow{"SeveralLeadingSeparators", ";;;a;b=1", ";", "a", {{"b", "1"}}},
        ParametersRow{"BlankMainValueCounts", " ;a=1", ";", " ", {{"a", "1"}}},
        ParametersRow{"OnlyMainValue", "a", ";", "a", {}},
        ParametersRow{"Empty", "", ";", "", {}},
        ParametersRow{"OnlySeparator", ";", ";", "", {}},
        ParametersRow{"EmptyAndBlankParameters", "a;; ", ";", "a", {{"", ""}, {"", ""}}},
        ParametersRow{"DuplicatesKept",
                      "a;x=1;X=2;x=1",
                      ";",
                      "a",
                      {{"x", "1"}, {"X", "2"}, {"x", "1"}}},
        ParametersRow{"ParametersTrimmed", "a; b = 1 2 ", ";", "a", {{"b", "1 2"}}},
        ParametersRow{"SeparatorsAreASet", "a,b=1;c=2", ";,", "a", {{"b", "1"}, {"c", "2"}}},
        ParametersRow{"NoSeparators", "a;b", "", "a;b", {}},
        ParametersRow{"EmptyNameAndValue", "a;=1;b=", ";", "a", {{"", "1"}, {"b", ""}}}),
    [](const auto& row) { return row.param.label; });

TEST(HttpHeadersTest, SplitParametersOfAParameterWithoutEqualsSignThrows) {
    const LogCapture log;
    EXPECT_TRUE(
        throwsExactly<std::runtime_error>([] { HttpHeaders::splitParameters("a;b=1; q ;c", ";"); },
                                          "Missing delimiter <=> when parsing : < q >"));
    EXPECT_THAT(log.records(),
                ElementsAre(coreRecord(4, "Missing delimiter <=> when parsing : < q >")));
}

}  // namespace
}  // namespace foundation::httpclient_core
