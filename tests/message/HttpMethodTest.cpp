#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpMethod.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace foundation::httpclient_core {
namespace {

using ::testing::IsEmpty;
using testing::LogCapture;
using testing::throwsExactly;

std::string printed(HttpMethod method) {
    std::ostringstream os;
    os << method;
    return os.str();
}

TEST(HttpMethodTest, GoesToTextAndBack) {
    std::ostringstream os;
    os << HttpMethod::GET << " /";
    EXPECT_EQ(os.str(), "GET /");
    EXPECT_EQ(createHttpMethod("GET"), HttpMethod::GET);
}

struct Row {
    HttpMethod method;
    std::int32_t value;
    const char* name;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.name; }
};

class HttpMethodTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(HttpMethodTableTest, HasItsValueAndItsText) {
    EXPECT_EQ(static_cast<std::int32_t>(GetParam().method), GetParam().value);
    EXPECT_EQ(printed(GetParam().method), GetParam().name);
    EXPECT_EQ(createHttpMethod(GetParam().name), GetParam().method);
}

INSTANTIATE_TEST_SUITE_P(Table,
                         HttpMethodTableTest,
                         ::testing::Values(Row{HttpMethod::GET, 0, "GET"},
                                           Row{HttpMethod::POST, 1, "POST"},
                                           Row{HttpMethod::DELETE, 2, "DELETE"},
                                           Row{HttpMethod::PUT, 3, "PUT"},
                                           Row{HttpMethod::HEAD, 4, "HEAD"},
                                           Row{HttpMethod::PATCH, 5, "PATCH"}),
                         [](const auto& row) { return row.param.name; });

TEST(HttpMethodTest, IsThirtyTwoBitsWide) {
    static_assert(std::is_same_v<std::underlying_type_t<HttpMethod>, std::int32_t>);
}

TEST(HttpMethodTest, OtherValuesPrintAsUnknown) {
    for (const std::int32_t value : {6, -1, 7, 100, INT32_MIN, INT32_MAX}) {
        EXPECT_EQ(printed(HttpMethod{value}), "UNKNOWN") << value;
    }
}

TEST(HttpMethodTest, InsertionReturnsTheStream) {
    std::ostringstream os;
    EXPECT_EQ(&(os << HttpMethod::PUT), &os);
    EXPECT_EQ(&(os << HttpMethod{6}), &os);
}

TEST(HttpMethodTest, OtherTextsThrowOutOfRangeAndAreNotLogged) {
    const LogCapture log;
    for (const std::string text : {"", "patch", "get", "Get", " GET", "GET ", "GETS", "GE",
                                   "OPTIONS", "TRACE", "CONNECT", "UNKNOWN"}) {
        EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { createHttpMethod(text); },
                                                     "invalid map<K, T> key"))
            << '"' << text << '"';
    }
    EXPECT_TRUE(throwsExactly<std::out_of_range>([] { createHttpMethod(std::string("GET\0", 4)); },
                                                 "invalid map<K, T> key"));
    EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace
}  // namespace foundation::httpclient_core
