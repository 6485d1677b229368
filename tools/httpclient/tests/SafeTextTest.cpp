#include "text/SafeText.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace foundation::httpclient_tool {
namespace {

TEST(SafeTextTest, HidesSecretsAndControlBytes) {
    EXPECT_EQ(safeText("GET http://me:pw@h/p?token=1 failed\r\n"),
              "GET http://...@h/p?... failed\\x0D\\x0A");
}

TEST(SafeTextTest, EscapesEveryControlByteAndNothingElse) {
    EXPECT_EQ(withoutControlBytes(std::string("\0\x1F\x7F", 3)), "\\x00\\x1F\\x7F");
    EXPECT_EQ(withoutControlBytes("\x1b[2Jforged"), "\\x1B[2Jforged");
    EXPECT_EQ(withoutControlBytes(" ~\\\xC3\xA4\x80"), " ~\\\xC3\xA4\x80");
    EXPECT_EQ(withoutControlBytes(""), "");
}

TEST(SafeTextTest, EscapesTheSecondSetOfControlCharacters) {
    EXPECT_EQ(withoutControlBytes("\xC2\x9B"
                                  "31m"),
              "\\xC2\\x9B31m");
    EXPECT_EQ(withoutControlBytes("\xC2\x80\xC2\x9F"), "\\xC2\\x80\\xC2\\x9F");
    EXPECT_EQ(withoutControlBytes("\xC2\xA0\xC2"), "\xC2\xA0\xC2");
}

TEST(SafeTextTest, AQueryIsSecretToItsEnd) {
    EXPECT_EQ(shownUrl("http://h/p?q=it's secret&r=\"s\" <t>"), "http://h/p?...");
    EXPECT_EQ(shownUrl("http://u:p w@h/a b#s t"), "http://...@h/a b#...");
    EXPECT_EQ(shownUrl("/p?u=http://u:p@h/"), "/p?...");
    EXPECT_EQ(shownUrl("//u:p@h/p"), "//...@h/p");
    EXPECT_EQ(shownUrl("p\x1b#x"), "p\\x1B#...");
    EXPECT_EQ(shownUrl("http://h:80/p"), "http://h:80/p");
    EXPECT_EQ(shownUrl(""), "");
}

TEST(SafeTextTest, AShownUrlStaysAsItIsInASentence) {
    EXPECT_EQ(safeText(shownUrl("http://u:p@h/a b?c d") + ": x"), "http://...@h/a b?...: x");
}

struct Row {
    const char* label;
    const char* text;
    const char* expected;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class UrlSecretsTest : public ::testing::TestWithParam<Row> {};

TEST_P(UrlSecretsTest, AreLeftOut) {
    EXPECT_EQ(withoutUrlSecrets(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    UrlSecretsTest,
    ::testing::Values(Row{"NoUrl", "a?b#c user@host", "a?b#c user@host"},
                      Row{"PlainUrl", "http://h:80/p", "http://h:80/p"},
                      Row{"Query", "see http://h/p?q=1&r=2 there", "see http://h/p?... there"},
                      Row{"Fragment", "http://h/p#access_token=1", "http://h/p#..."},
                      Row{"QueryWithoutPath", "http://h?q", "http://h?..."},
                      Row{"UserInformation", "http://u:p@h/x", "http://...@h/x"},
                      Row{"AtInPassword", "http://u:p@w@h/x", "http://...@h/x"},
                      Row{"AtInPathStays", "http://h/a@b", "http://h/a@b"},
                      Row{"Quoted", "\"http://h/?q\" and 'http://h/?r'",
                          "\"http://h/?...\" and 'http://h/?...'"},
                      Row{"Several", "http://a/?x https://b/?y", "http://a/?... https://b/?..."},
                      Row{"UrlInQuery", "http://a/?u=http://u:p@b/", "http://a/?..."},
                      Row{"Punctuation", "(http://h/?q), http://i/#f: bad",
                          "(http://h/?...), http://i/#...: bad"},
                      Row{"OnlyPunctuation", "http://:,;) x", "http://:,;) x"},
                      Row{"TwiceIsOnce", "http://...@h/p?...: x", "http://...@h/p?...: x"},
                      Row{"EndsAtMarker", "http://", "http://"}),
    [](const auto& row) { return row.param.label; });

}  // namespace
}  // namespace foundation::httpclient_tool
