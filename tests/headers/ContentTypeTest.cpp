#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/ContentType.h>

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

Entries entriesOf(const NameValueCollection& collection) {
    return {collection.begin(), collection.end()};
}

TEST(ContentTypeTest, ParsesAndPrintsATypeWithAParameter) {
    const ContentType html = ContentType::parse("text/html; charset=utf-8");
    EXPECT_EQ(html.getType(), "text/html");
    EXPECT_THAT(html.getParameters(), ElementsAre(Pair("charset", "utf-8")));
    EXPECT_EQ(html.getParameters().get("Charset"), "utf-8");
    EXPECT_EQ(html.toString(), "text/html; charset=utf-8");
}

TEST(ContentTypeTest, ConstructorStoresTypeAndParametersUnchecked) {
    const ContentType odd(" no type; ", {{"", ""}, {"a", "="}});
    EXPECT_EQ(odd.getType(), " no type; ");
    EXPECT_EQ(entriesOf(odd.getParameters()), (Entries{{"", ""}, {"a", "="}}));
    EXPECT_EQ(odd.toString(), " no type; ; =;a==");
}

TEST(ContentTypeTest, GettersReturnCopies) {
    const ContentType type("a/b", {{"q", "1"}});
    type.getParameters().set("q", "2");
    type.getType() += "x";
    EXPECT_EQ(type.toString(), "a/b; q=1");
}

struct ParseRow {
    const char* label;
    std::string text;
    std::string type;
    Entries parameters;
    std::string printed;
    friend std::ostream& operator<<(std::ostream& os, const ParseRow& row) {
        return os << row.label;
    }
};

class ContentTypeParseTest : public ::testing::TestWithParam<ParseRow> {};

TEST_P(ContentTypeParseTest, GivesTypeParametersAndText) {
    const LogCapture log;
    const ContentType type = ContentType::parse(GetParam().text);
    EXPECT_EQ(type.getType(), GetParam().type);
    EXPECT_EQ(entriesOf(type.getParameters()), GetParam().parameters);
    EXPECT_EQ(type.toString(), GetParam().printed);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    ContentTypeParseTest,
    ::testing::Values(
        ParseRow{"OneParameter",
                 "text/html; charset=utf-8",
                 "text/html",
                 {{"charset", "utf-8"}},
                 "text/html; charset=utf-8"},
        ParseRow{"TypeKeepsItsTrailingBlank",
                 "text/html ;charset=utf-8",
                 "text/html ",
                 {{"charset", "utf-8"}},
                 "text/html ; charset=utf-8"},
        ParseRow{"NoParameters", "text/plain", "text/plain", {}, "text/plain"},
        ParseRow{"TwoParametersPrintABlankOnlyBeforeTheFirst",
                 "text/html; charset=utf-8; level=1",
                 "text/html",
                 {{"charset", "utf-8"}, {"level", "1"}},
                 "text/html; charset=utf-8;level=1"},
        ParseRow{"Empty", "", "", {}, ""},
        ParseRow{"LeadingSemicolonLeavesTheTypeToTheNext", ";a=1", "a=1", {}, "a=1"},
        ParseRow{"OnlySemicolon", ";", "", {}, ""},
        ParseRow{"BlankType", " ;a=1", " ", {{"a", "1"}}, " ; a=1"},
        ParseRow{"CaseOfTypeKept", "Text/HTML", "Text/HTML", {}, "Text/HTML"},
        ParseRow{"DuplicateParametersKept",
                 "a/b;q=1;Q=2",
                 "a/b",
                 {{"q", "1"}, {"Q", "2"}},
                 "a/b; q=1;Q=2"},
        ParseRow{"SecondEqualsSignBelongsToTheValue",
                 "a/b;q==1",
                 "a/b",
                 {{"q", "=1"}},
                 "a/b; q==1"},
        ParseRow{"QuotesKept", "a/b;q=\"x\"", "a/b", {{"q", "\"x\""}}, "a/b; q=\"x\""},
        ParseRow{"EmptyNameWithValue", "a/b;=1", "a/b", {{"", "1"}}, "a/b; =1"}),
    [](const auto& row) { return row.param.label; });

struct FailureRow {
    const char* label;
    std::string text;
    std::string message;
    friend std::ostream& operator<<(std::ostream& os, const FailureRow& row) {
        return os << row.label;
    }
};

class ContentTypeFailureTest : public ::testing::TestWithParam<FailureRow> {};

TEST_P(ContentTypeFailureTest, LogsAndThrows) {
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::runtime_error>([] { ContentType::parse(GetParam().text); },
                                                  GetParam().message));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(4, GetParam().message)));
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    ContentTypeFailureTest,
    ::testing::Values(
        FailureRow{"TrailingSemicolon", "text/plain;", "Missing parameter value for <>"},
        FailureRow{"NoEqualsSign", "a/b; q", "Missing delimiter <=> when parsing : < q>"},
        FailureRow{"EmptyValue", "a/b;a=", "Missing parameter value for <a>"},
        FailureRow{"BlankValue", "a/b; a = ", "Missing parameter value for <a>"},
        FailureRow{"EmptyNameAndValue", "a/b;=", "Missing parameter value for <>"},
        FailureRow{"FirstOffenderIsNamed", "a/b;c=1;d=;e=", "Missing parameter value for <d>"},
        FailureRow{"EveryElementIsSplitBeforeValuesAreChecked", "a/b;a=;q",
                   "Missing delimiter <=> when parsing : <q>"}),
    [](const auto& row) { return row.param.label; });

struct EqualityRow {
    const char* label;
    ContentType a;
    ContentType b;
    bool equal;
    friend std::ostream& operator<<(std::ostream& os, const EqualityRow& row) {
        return os << row.label;
    }
};

class ContentTypeEqualityTest : public ::testing::TestWithParam<EqualityRow> {};

TEST_P(ContentTypeEqualityTest, HeedsCaseAndOrder) {
    EXPECT_EQ(GetParam().a == GetParam().b, GetParam().equal);
    EXPECT_EQ(GetParam().b == GetParam().a, GetParam().equal);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    ContentTypeEqualityTest,
    ::testing::Values(
        EqualityRow{"Same", {"a/b", {{"q", "1"}}}, {"a/b", {{"q", "1"}}}, true},
        EqualityRow{"CaseOfType", {"a/b", {}}, {"A/b", {}}, false},
        EqualityRow{"CaseOfParameterName", {"a/b", {{"q", "1"}}}, {"a/b", {{"Q", "1"}}}, false},
        EqualityRow{"OtherValue", {"a/b", {{"q", "1"}}}, {"a/b", {{"q", "2"}}}, false},
        EqualityRow{"OrderOfParameters",
                    {"a/b", {{"q", "1"}, {"r", "2"}}},
                    {"a/b", {{"r", "2"}, {"q", "1"}}},
                    false},
        EqualityRow{"MissingParameter", {"a/b", {{"q", "1"}}}, {"a/b", {}}, false}),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_core
