#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpMessage.h>

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
using testing::LogCapture;
using testing::LogRecord;
using testing::throwsExactly;

std::string fields(const HttpMessage& message) {
    return message.getHeaders().toString("; ", "=", [](std::string text) { return text; });
}

// Counts what reaches the virtual functions.
class CountingMessage : public HttpMessage {
public:
    CountingMessage() : HttpMessage(HttpHeaders()) {}
    void setHeaderValue(const std::string& name, std::string value) override {
        calls.push_back(name + "=" + value);
        HttpMessage::setHeaderValue(name, std::move(value));
    }

    std::vector<std::string> calls;
};

TEST(HttpMessageTest, GivesTypedAccessToItsHeaders) {
    HttpMessage message(HttpHeaders{{"Accept", "text/html, text/plain;q=1"}});
    message.setContentType("text/plain; charset=utf-8");
    message.setContentLength("42");
    message.setCookie(NameValueCollection{{"a", "1"}, {"b", "2"}});

    EXPECT_EQ(message.getAccept().size(), 2U);
    EXPECT_EQ(message.getContentType().getParameters().get("charset"), "utf-8");
    EXPECT_EQ(message.getContentLength(), 42);
    EXPECT_EQ(message.getHeaderValue("cookie"), "a=1; b=2");
}

TEST(HttpMessageTest, IsBuiltFromHeadersAndReturnsCopiesOfThem) {
    const HttpMessage message(HttpHeaders{{"a", "1"}, {"A", "2"}});
    HttpHeaders copy = message.getHeaders();
    copy.addHeaderValue("b", "3");
    EXPECT_EQ(fields(message), "a=1; A=2");
}

TEST(HttpMessageTest, HasVirtualDestructorAndNoImplicitConversion) {
    static_assert(std::has_virtual_destructor_v<HttpMessage>);
    static_assert(std::is_constructible_v<HttpMessage, HttpHeaders>);
    static_assert(!std::is_convertible_v<HttpHeaders, HttpMessage>);
}

TEST(HttpMessageTest, CopiesAreIndependent) {
    HttpMessage original(HttpHeaders{{"a", "1"}});
    HttpMessage copy(original);
    copy.setHeaderValue("a", "2");
    EXPECT_EQ(fields(original), "a=1");
    original = copy;
    copy.removeHeader("a");
    EXPECT_EQ(fields(original), "a=2");
}

TEST(HttpMessageTest, MovesItsHeadersAndStaysUsable) {
    HttpMessage source(HttpHeaders{{"a", "1"}});
    HttpMessage target(std::move(source));
    EXPECT_EQ(fields(target), "a=1");
    source.setHeaderValue("b", "2");  // NOLINT(bugprone-use-after-move): stated by the class.
    EXPECT_EQ(fields(source), "b=2");
    target = std::move(source);
    EXPECT_EQ(fields(target), "b=2");
}

TEST(HttpMessageTest, SetHeadersReplacesTheWholeCollection) {
    HttpMessage message(HttpHeaders{{"a", "1"}, {"b", "2"}});
    message.setHeaders(HttpHeaders{{"c", "3"}});
    EXPECT_EQ(fields(message), "c=3");
}

TEST(HttpMessageTest, SetHeaderValueChangesTheEarliestEntryAlone) {
    HttpMessage message(HttpHeaders{{"Name", "1"}, {"x", "2"}, {"NAME", "3"}});
    message.setHeaderValue("name", "new");
    EXPECT_EQ(fields(message), "Name=new; x=2; NAME=3");
}

TEST(HttpMessageTest, SetHeaderValueAddsWhatIsMissing) {
    HttpMessage message(HttpHeaders{{"a", "1"}});
    message.setHeaderValue("b", "2");
    EXPECT_EQ(fields(message), "a=1; b=2");
}

TEST(HttpMessageTest, AddHeaderValueKeepsDuplicates) {
    HttpMessage message(HttpHeaders{{"a", "1"}});
    message.addHeaderValue("A", "2");
    EXPECT_EQ(fields(message), "a=1; A=2");
    EXPECT_EQ(message.getHeaderValue("A"), "1");
}

TEST(HttpMessageTest, AddHeaderSplitsItsLine) {
    HttpMessage message{HttpHeaders()};
    message.addHeader(" Host :  example.com:80 ");
    message.addHeader(":value without a name");
    message.addHeader("");
    EXPECT_EQ(fields(message), "Host=example.com:80");
}

TEST(HttpMessageTest, AddHeaderWithoutColonThrowsAndAddsNothing) {
    HttpMessage message(HttpHeaders{{"a", "1"}});
    LogCapture log;
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] { message.addHeader(" NoColon"); }, "Missing delimiter <:> when parsing : < NoColon>"));
    EXPECT_EQ(fields(message), "a=1");
    EXPECT_EQ(
        log.records(),
        (std::vector<LogRecord>{coreRecord(4, "Missing delimiter <:> when parsing : < NoColon>")}));
}

TEST(HttpMessageTest, RemoveHeaderTakesAllOfTheName) {
    HttpMessage message(HttpHeaders{{"Name", "1"}, {"x", "2"}, {"NAME", "3"}});
    message.removeHeader("name");
    message.removeHeader("name");
    EXPECT_EQ(fields(message), "x=2");
}

TEST(HttpMessageTest, HasHeaderIgnoresCaseAndAcceptsEmptyValues) {
    const HttpMessage message(HttpHeaders{{"Name", ""}});
    EXPECT_TRUE(message.hasHeader("NAME"));
    EXPECT_FALSE(message.hasHeader("Nam"));
    EXPECT_EQ(message.getHeaderValue("name"), "");
}

TEST(HttpMessageTest, EveryTypedSetterCallsTheVirtualSetHeaderValueOnce) {
    CountingMessage message;
    const char* const length = "1";
    message.setContentLength(length);
    message.setContentLength(std::string("two"));
    message.setContentType(ContentType("a/b", NameValueCollection{{"c", "d"}}));
    message.setContentType("A/B;");
    message.setAccept(Accept({ContentType("a/b", {}), ContentType("c/d", {})}));
    message.setAccept(" any text");
    message.setCookie(NameValueCollection{{"a", "1"}, {"b", "2"}});
    message.setTransferEncoding("Chunked ");
    EXPECT_EQ(message.calls, (std::vector<std::string>{
                                 "Content-Length=1", "Content-Length=two", "Content-Type=a/b; c=d",
                                 "Content-Type=A/B;", "Accept=a/b, c/d", "Accept= any text",
                                 "Cookie=a=1; b=2", "Transfer-Encoding=Chunked "}));
    EXPECT_EQ(fields(message),
              "Content-Length=two; Content-Type=A/B;; Accept= any text; Cookie=a=1; b=2; "
              "Transfer-Encoding=Chunked ");
}

TEST(HttpMessageTest, TypedGettersParseTheEarliestHeader) {
    const HttpMessage message(HttpHeaders{{"content-type", "text/html;q=1"},
                                          {"Content-Type", "other"},
                                          {"ACCEPT", "a/b,c/d"},
                                          {"Accept", "e/f"},
                                          {"cookie", "a=1; B=2"},
                                          {"transfer-encoding", " Chunked"}});
    EXPECT_EQ(message.getContentType().toString(), "text/html; q=1");
    EXPECT_EQ(message.getAccept().toString(), "a/b, c/d");
    EXPECT_EQ(message.getCookie(), (NameValueCollection{{"a", "1"}, {"B", "2"}}));
    EXPECT_EQ(message.getTransferEncoding(), " Chunked");
}

TEST(HttpMessageTest, SetCookieWithoutCookiesSetsAnEmptyHeader) {
    HttpMessage message{HttpHeaders()};
    message.setCookie(NameValueCollection());
    EXPECT_EQ(fields(message), "Cookie=");
    EXPECT_TRUE(message.getCookie().empty());
}

struct MissingRow {
    const char* label;
    const char* name;
    std::function<void(const HttpMessage&)> read;
    friend std::ostream& operator<<(std::ostream& os, const MissingRow& row) {
        return os << row.label;
    }
};

class HttpMessageMissingTest : public ::testing::TestWithParam<MissingRow> {};

TEST_P(HttpMessageMissingTest, ThrowsOutOfRangeAndLogsItsTextOnce) {
    const HttpMessage message(HttpHeaders{{"Other", "1"}});
    const std::string text = std::string(GetParam().name) + " not found.";
    LogCapture log;
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { GetParam().read(message); }, text));
    EXPECT_EQ(log.records(), (std::vector<LogRecord>{coreRecord(512, text)}));
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpMessageMissingTest,
    ::testing::Values(
        MissingRow{"HeaderValue", "X-Name",
                   [](const HttpMessage& message) { message.getHeaderValue("X-Name"); }},
        MissingRow{"ContentLength", "Content-Length",
                   [](const HttpMessage& message) { message.getContentLength(); }},
        MissingRow{"ContentType", "Content-Type",
                   [](const HttpMessage& message) { message.getContentType(); }},
        MissingRow{"Accept", "Accept", [](const HttpMessage& message) { message.getAccept(); }},
        MissingRow{"Cookie", "Cookie", [](const HttpMessage& message) { message.getCookie(); }},
        MissingRow{"TransferEncoding", "Transfer-Encoding",
                   [](const HttpMessage& message) { message.getTransferEncoding(); }}),
    [](const auto& row) { return row.param.label; });

struct LengthRow {
    const char* label;
    const char* value;
    std::int32_t expected;
    friend std::ostream& operator<<(std::ostream& os, const LengthRow& row) {
        return os << row.label;
    }
};

class HttpMessageContentLengthTest : public ::testing::TestWithParam<LengthRow> {};

TEST_P(HttpMessageContentLengthTest, ReadsTheLeadingNumberWithoutRecord) {
    HttpMessage message{HttpHeaders()};
    message.setContentLength(GetParam().value);
    LogCapture log;
    EXPECT_EQ(message.getContentLength(), GetParam().expected);
    EXPECT_TRUE(log.records().empty());
}

INSTANTIATE_TEST_SUITE_P(Table,
                         HttpMessageContentLengthTest,
                         ::testing::Values(LengthRow{"BlankNumberLetters", " 42abc", 42},
                                           LengthRow{"Zero", "0", 0},
                                           LengthRow{"Negative", "-1", -1},
                                           LengthRow{"Plus", "+5", 5},
                                           LengthRow{"WhiteSpace", "\t\r\n\v\f 7", 7},
                                           LengthRow{"Fraction", "42.9", 42},
                                           LengthRow{"Hexadecimal", "0x10", 0},
                                           LengthRow{"Octal", "010", 10},
                                           LengthRow{"Grouped", "1,234", 1},
                                           LengthRow{"Largest", "2147483647", 2147483647},
                                           LengthRow{"Smallest", "-2147483648", -2147483647 - 1}),
                         [](const auto& row) { return row.param.label; });

struct BadLengthRow {
    const char* label;
    const char* value;
    const char* reason;
    friend std::ostream& operator<<(std::ostream& os, const BadLengthRow& row) {
        return os << row.label;
    }
};

class HttpMessageBadContentLengthTest : public ::testing::TestWithParam<BadLengthRow> {};

TEST_P(HttpMessageBadContentLengthTest, ThrowsRuntimeErrorAfterTwoRecords) {
    const HttpMessage message(HttpHeaders{{"Content-Length", GetParam().value}});
    const std::string reason = GetParam().reason;
    const std::string text =
        "Failed to convert Content-Length " + std::string(GetParam().value) + " to long. " + reason;
    LogCapture log;
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { message.getContentLength(); }, text));
    EXPECT_EQ(log.records(), (std::vector<LogRecord>{coreRecord(16, "Exception caught: " + reason),
                                                     coreRecord(512, text)}));
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpMessageBadContentLengthTest,
    ::testing::Values(BadLengthRow{"Letters", "abc", "invalid stol argument"},
                      BadLengthRow{"Empty", "", "invalid stol argument"},
                      BadLengthRow{"Blank", " ", "invalid stol argument"},
                      BadLengthRow{"SignAlone", "-", "invalid stol argument"},
                      BadLengthRow{"LettersFirst", "x42", "invalid stol argument"},
                      BadLengthRow{"OneTooLarge", "2147483648", "stol argument out of range"},
                      BadLengthRow{"OneTooSmall", "-2147483649", "stol argument out of range"},
                      BadLengthRow{"BeyondSixtyFourBits", "99999999999999999999",
                                   "stol argument out of range"}),
    [](const auto& row) { return row.param.label; });

TEST(HttpMessageTest, ErrorsOfTheParsersPassThroughUnchanged) {
    const HttpMessage message(
        HttpHeaders{{"Content-Type", "a/b; q="}, {"Accept", "a/b; q"}, {"Cookie", "a"}});
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { message.getContentType(); },
                                                  "Missing parameter value for <q>"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { message.getAccept(); },
                                                  "Missing delimiter <=> when parsing : < q>"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { message.getCookie(); },
                                                  "Missing delimiter <=> when parsing : <a>"));
}

TEST(HttpMessageTest, SuccessfulOperationsWriteNoRecord) {
    LogCapture log;
    HttpMessage message(HttpHeaders{{"a", "1"}});
    message.setContentLength("many");
    message.setContentType("text/plain");
    message.setAccept("text/plain");
    message.setCookie(NameValueCollection{{"a", "1"}});
    message.setTransferEncoding("identity");
    message.getContentType();
    message.getAccept();
    message.getCookie();
    message.getTransferEncoding();
    message.hasHeader("missing");
    message.removeHeader("missing");
    EXPECT_TRUE(log.records().empty());
}

}  // namespace
}  // namespace foundation::httpclient_core
