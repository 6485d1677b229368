#include "report/HeadText.h"

#include <gtest/gtest.h>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpResponseCode;
using Lines = std::vector<std::string>;

TEST(HeadTextTest, IsStatusLineHeadersAndAnEmptyLine) {
    EXPECT_EQ(headText(HttpResponseCode::OK, "OK", {{"A", "1"}, {"Set-Cookie", "b=c"}}),
              "HTTP 200 OK\nA: 1\nSet-Cookie: b=c\n\n");
    EXPECT_EQ(headText(HttpResponseCode::OK, "\x1b[2J", {{"A", "\x07"}}),
              "HTTP 200 \\x1B[2J\nA: \\x07\n\n");
}

TEST(HeadTextTest, OnlyNamesOnTheListAreShown) {
    EXPECT_EQ(shownHeaders({{"Content-Type", "text/html"},
                            {"AUTHORIZATION", "Basic x"},
                            {"Cookie", "x"},
                            {"Set-Cookie", "x"},
                            {"X-Api-Key", "x"},
                            {"Proxy-Authorization", "x"},
                            {"eTaG", "\"v\""}}),
              (Lines{"Content-Type: text/html", "AUTHORIZATION: (hidden)", "Cookie: (hidden)",
                     "Set-Cookie: (hidden)", "X-Api-Key: (hidden)", "Proxy-Authorization: (hidden)",
                     "eTaG: \"v\""}));
}

TEST(HeadTextTest, QueriesOfShownHeadersAreNot) {
    EXPECT_EQ(shownHeaders({{"Location", "/p?token=x"}, {"location", "/p"}}),
              (Lines{"Location: /p?...", "location: /p"}));
}

TEST(HeadTextTest, ALocationIsShownWithoutFragmentAndUserInformation) {
    EXPECT_EQ(shownHeaders({{"Location", "/p#access_token=x"},
                            {"location", "//u:p@h/p?it's x"},
                            {"ETag", "\"a#b@c\""}}),
              (Lines{"Location: /p#...", "location: //...@h/p?...", "ETag: \"a#b@c\""}));
}

}  // namespace
}  // namespace foundation::httpclient_tool
