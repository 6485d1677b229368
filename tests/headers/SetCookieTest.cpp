#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/SetCookie.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>
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

using Entries = std::vector<std::pair<std::string, std::string>>;

TEST(SetCookieTest, ParsesNameValueAndAttributes) {
    const SetCookie cookie = SetCookie::parse("id=42; Path=/; Secure; HttpOnly");
    EXPECT_EQ(cookie.name, "id");
    EXPECT_EQ(cookie.value, "42");
    EXPECT_THAT(cookie.attributes,
                ElementsAre(Pair("Path", "/"), Pair("Secure", ""), Pair("HttpOnly", "")));
    EXPECT_TRUE(cookie.attributes.has("secure"));
}

TEST(SetCookieTest, DefaultOneIsEmpty) {
    const SetCookie cookie;
    EXPECT_EQ(cookie.name, "");
    EXPECT_EQ(cookie.value, "");
    EXPECT_TRUE(cookie.attributes.empty());
}

TEST(SetCookieTest, IsAPlainRecord) {
    static_assert(std::is_aggregate_v<SetCookie>);
    const SetCookie cookie{"a", "1", {{"Path", "/"}}};
    const auto& [name, value, attributes] = cookie;
    EXPECT_EQ(name, "a");
    EXPECT_EQ(value, "1");
    EXPECT_EQ(attributes.get("path"), "/");
}

struct ParseRow {
    const char* label;
    std::string text;
    std::string name;
    std::string value;
    Entries attributes;
    friend std::ostream& operator<<(std::ostream& os, const ParseRow& row) {
        return os << row.label;
    }
};

class SetCookieParseTest : public ::testing::TestWithParam<ParseRow> {};

TEST_P(SetCookieParseTest, GivesTheThreeFields) {
    const LogCapture log;
    const SetCookie cookie = SetCookie::parse(GetParam().text);
    EXPECT_EQ(cookie.name, GetParam().name);
    EXPECT_EQ(cookie.value, GetParam().value);
    EXPECT_EQ(Entries(cookie.attributes.begin(), cookie.attributes.end()), GetParam().attributes);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    SetCookieParseTest,
    ::testing::Values(
        ParseRow{"EmptyValue", "id=; Max-Age=0", "id", "", {{"Max-Age", "0"}}},
        ParseRow{"NoAttributes", "id=1", "id", "1", {}},
        ParseRow{"EmptyElementsSkipped", "; ;id=1;;Secure;", "id", "1", {{"Secure", ""}}},
        ParseRow{"BlanksTrimmed", " id = 1 ;\tPath = / \r\n", "id", "1", {{"Path", "/"}}},
        ParseRow{"SecondEqualsSignBelongsToTheValue", "id=a=b; x=c=d", "id", "a=b", {{"x", "c=d"}}},
        ParseRow{"DuplicateAttributesKept", "id=1;A=1;a=2", "id", "1", {{"A", "1"}, {"a", "2"}}},
        ParseRow{"AttributeWithoutName", "id=1;=x", "id", "1", {{"", "x"}}},
        ParseRow{"AttributeWithEmptyValue", "id=1;Path=", "id", "1", {{"Path", ""}}},
        ParseRow{"CommaInADateKept",
                 "id=1; Expires=Wed, 21 Oct 2015 07:28:00 GMT",
                 "id",
                 "1",
                 {{"Expires", "Wed, 21 Oct 2015 07:28:00 GMT"}}},
        ParseRow{"QuotesKept", "id=\"1\"", "id", "\"1\"", {}}),
    [](const auto& row) { return row.param.label; });

struct MalformedRow {
    const char* label;
    std::string text;
    std::vector<std::string> records;
    friend std::ostream& operator<<(std::ostream& os, const MalformedRow& row) {
        return os << row.label;
    }
};

class SetCookieMalformedTest : public ::testing::TestWithParam<MalformedRow> {};

TEST_P(SetCookieMalformedTest, ThrowsWithTheWholeText) {
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::invalid_argument>(
        [] { SetCookie::parse(GetParam().text); },
        "Malformed Set-Cookie header: missing 'name=value' before attributes: <" + GetParam().text +
            ">"));
    std::vector<testing::LogRecord> expected;
    for (const std::string& text : GetParam().records) {
        expected.push_back(coreRecord(4, text));
    }
    EXPECT_EQ(log.records(), expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    SetCookieMalformedTest,
    ::testing::Values(
        MalformedRow{"AttributeFirst",
                     "Secure; id=1",
                     {"Missing delimiter <=> when parsing : <Secure>"}},
        MalformedRow{"EmptyName", "=x", {}},
        MalformedRow{"EmptyNameWithAttributes", "=;a=b", {}},
        MalformedRow{"BlankName", "  =x; Secure", {}},
        MalformedRow{"Empty", "", {}},
        MalformedRow{"OnlyBlanksAndSeparators", " ;\t; ", {}},
        MalformedRow{"FirstElementAfterEmptyOnes",
                     "; id ;a=b",
                     {"Missing delimiter <=> when parsing : <id>"}},
        MalformedRow{"NoEqualsSignAtAll", " id ", {"Missing delimiter <=> when parsing : <id>"}}),
    [](const auto& row) { return row.param.label; });

// getSetCookies.

std::vector<std::string> namesOf(const std::vector<SetCookie>& cookies) {
    std::vector<std::string> names;
    for (const SetCookie& cookie : cookies) {
        names.push_back(cookie.name);
    }
    return names;
}

TEST(SetCookieTest, GetSetCookiesReturnsOneRecordForEachHeaderInOrder) {
    HttpResponse response;
    response.addHeader("Set-Cookie: a=1; Secure");
    response.addHeader("Content-Type: text/plain");
    response.addHeader("set-cookie: b=2");
    response.addHeader("SET-COOKIE: a=3");
    const std::vector<SetCookie> cookies = getSetCookies(response);
    EXPECT_EQ(namesOf(cookies), (std::vector<std::string>{"a", "b", "a"}));
    ASSERT_EQ(cookies.size(), 3U);
    EXPECT_TRUE(cookies[0].attributes.has("Secure"));
    EXPECT_EQ(cookies[1].value, "2");
    EXPECT_EQ(cookies[2].value, "3");
}

TEST(SetCookieTest, GetSetCookiesOfAResponseWithoutAnyIsEmpty) {
    HttpResponse response;
    EXPECT_THAT(getSetCookies(response), IsEmpty());
    response.addHeaderValue("Cookie", "a=1");
    response.addHeaderValue("Set-Cookie2", "b=1");
    response.addHeaderValue("Set-Cooki", "c=1");
    response.addHeaderValue("Set_Cookie", "d=1");
    EXPECT_THAT(getSetCookies(response), IsEmpty());
}

TEST(SetCookieTest, GetSetCookiesComparesWholeNames) {
    // Look-ups stop at a NUL; this comparison does not.
    HttpResponse response;
    response.addHeaderValue(std::string("Set-Cookie\0", 11), "a=1");
    response.addHeaderValue("Set-Cookie", "b=1");
    EXPECT_EQ(namesOf(getSetCookies(response)), (std::vector<std::string>{"b"}));
}

TEST(SetCookieTest, GetSetCookiesThrowsForAMalformedHeader) {
    HttpResponse response;
    response.addHeaderValue("Set-Cookie", "a=1");
    response.addHeaderValue("Set-Cookie", "=2");
    response.addHeaderValue("Set-Cookie", "");
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::invalid_argument>(
        [&] { getSetCookies(response); },
        "Malformed Set-Cookie header: missing 'name=value' before attributes: <=2>"));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(SetCookieTest, GetSetCookiesUpperCasesWithTheGlobalLocale) {
    // In this locale the underscore is the upper-case form of the hyphen.
    struct Characters : std::ctype<char> {
        char do_toupper(char c) const override {
            return c == '-' || c == '_' ? '_' : std::ctype<char>::do_toupper(c);
        }
    };
    HttpResponse response;
    response.addHeaderValue("set_cookie", "a=1");
    EXPECT_THAT(getSetCookies(response), IsEmpty());
    const std::locale before = std::locale::global(std::locale(std::locale(), new Characters));
    const std::vector<SetCookie> cookies = getSetCookies(response);
    std::locale::global(before);
    EXPECT_EQ(namesOf(cookies), (std::vector<std::string>{"a"}));
}

}  // namespace
}  // namespace foundation::httpclient_core
