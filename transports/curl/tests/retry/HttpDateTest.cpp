#include "retry/HttpDate.h"

#include <gtest/gtest.h>

#include <ostream>

namespace foundation::httpclient_curl {
namespace {

using namespace std::chrono_literals;

// Sun, 06 Nov 1994 08:49:37 GMT, and a day of the year 2026.
const auto moment = std::chrono::sys_seconds(784111777s);
const auto today = std::chrono::system_clock::time_point(1790000000s);

TEST(HttpDateTest, ReadsTheThreeForms) {
    EXPECT_EQ(parseHttpDate("Sun, 06 Nov 1994 08:49:37 GMT", today), moment);
    EXPECT_EQ(parseHttpDate("Sunday, 06-Nov-94 08:49:37 GMT", today), moment);
    EXPECT_EQ(parseHttpDate("Sun Nov  6 08:49:37 1994", today), moment);
    EXPECT_EQ(parseHttpDate("Wed Nov 16 08:49:37 1994", today), moment + 240h);
}

TEST(HttpDateTest, YearOfTwoDigitsIsAtMostFiftyYearsAhead) {
    const auto in = [](std::string_view text) {
        return std::chrono::year_month_day(
                   std::chrono::floor<std::chrono::days>(parseHttpDate(text, today).value()))
            .year();
    };
    EXPECT_EQ(in("Friday, 06-Nov-26 08:49:37 GMT"), std::chrono::year(2026));
    EXPECT_EQ(in("Friday, 06-Nov-76 08:49:37 GMT"), std::chrono::year(2076));
    EXPECT_EQ(in("Friday, 06-Nov-77 08:49:37 GMT"), std::chrono::year(1977));
    EXPECT_EQ(in("Friday, 06-Nov-00 08:49:37 GMT"), std::chrono::year(2000));
}

TEST(HttpDateTest, LeapDayAndLeapSecondExist) {
    EXPECT_TRUE(parseHttpDate("Thu, 29 Feb 2024 23:59:60 GMT", today).has_value());
    EXPECT_FALSE(parseHttpDate("Wed, 29 Feb 2023 23:59:59 GMT", today).has_value());
}

TEST(HttpDateTest, AnythingElseIsNoDate) {
    for (const char* text : {
             "",
             "0",
             "soon",
             "Sun, 06 Nov 1994 08:49:37",
             "Sun, 06 Nov 1994 08:49:37 GMT ",
             " Sun, 06 Nov 1994 08:49:37 GMT",
             "Sun, 06 Nov 1994 08:49:37 UTC",
             "Sun, 6 Nov 1994 08:49:37 GMT",
             "Sun, 06 nov 1994 08:49:37 GMT",
             "Xun, 06 Nov 1994 08:49:37 GMT",
             "Sun, 32 Nov 1994 08:49:37 GMT",
             "Sun, 00 Nov 1994 08:49:37 GMT",
             "Sun, 06 Nov 1994 24:49:37 GMT",
             "Sun, 06 Nov 1994 08:60:37 GMT",
             "Sun, 06 Nov 1994 08:49:61 GMT",
             "Sun, 06 Nov 1994 -8:49:37 GMT",
             "Sun, 06 Nov 1994 08:49:3",
             "Sun, 06-Nov-94 08:49:37 GMT",
             "Sun Nov 6 08:49:37 1994",
             "Sun Nov  6 08:49:37 94",
         }) {
        EXPECT_FALSE(parseHttpDate(text, today).has_value()) << text;
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl
