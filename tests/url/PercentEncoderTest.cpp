#include "tests/support/RandomRuns.h"
#include "tests/url/RandomTexts.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core/NameValueCollection.h>
#include <foundation/httpclient_core/PercentEncoder.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::randomRuns;
using testing::RandomTexts;

TEST(PercentEncoderTest, EncodesAsACallerWouldUseIt) {
    const PercentEncoder encode("%20");
    EXPECT_EQ(encode("a b/c~"), "a%20b%2Fc~");
}

// The encoding written down once more, byte by byte and without tables.
std::string encodePlainly(const std::string& text, const std::string& spaceText) {
    std::string result;
    for (const char c : text) {
        const bool letterOrDigit =
            (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
        if (letterOrDigit || c == '-' || c == '.' || c == '_' || c == '~') {
            result += c;
        } else if (c == ' ') {
            result += spaceText;
        } else {
            const unsigned number = static_cast<unsigned char>(c);
            result += {'%', "0123456789ABCDEF"[number / 16], "0123456789ABCDEF"[number % 16]};
        }
    }
    return result;
}

TEST(PercentEncoderTest, EncodesEachOfTheByteValues) {
    const PercentEncoder encode("<space>");
    int unchanged = 0;
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        EXPECT_EQ(encode(text), encodePlainly(text, "<space>")) << "byte " << byte;
        unchanged += encode(text) == text ? 1 : 0;
    }
    EXPECT_EQ(unchanged, 26 + 26 + 10 + 4);
}

struct Row {
    const char* label;
    std::string_view text;
    const char* encoded;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

using namespace std::string_view_literals;

class PercentEncoderTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(PercentEncoderTableTest, Encodes) {
    EXPECT_EQ(PercentEncoder("%20")(std::string(GetParam().text)), GetParam().encoded);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    PercentEncoderTableTest,
    ::testing::Values(Row{"Empty", "", ""},
                      Row{"UnreservedStays",
                          "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~",
                          "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~"},
                      Row{"PercentIsEncodedAgain", "%20", "%2520"},
                      Row{"NoReservedCharacterIsSpecial", "%+=&/?:!*'()@",
                          "%25%2B%3D%26%2F%3F%3A%21%2A%27%28%29%40"},
                      Row{"DigitsAreUpperCaseAndTwo", "/\n\x7F\xAB", "%2F%0A%7F%AB"},
                      Row{"ZeroByte", "a\0b"sv, "a%00b"},
                      Row{"UTF8ByteByByte", "\xC3\xA9", "%C3%A9"},
                      Row{"LatinLettersAreNoLetters", "\xC4\xE9\xFF", "%C4%E9%FF"},
                      Row{"SpaceBecomesItsText", " a  b ", "%20a%20%20b%20"}),
    [](const auto& row) { return row.param.label; });

TEST(PercentEncoderTest, SpaceTextIsWrittenAsItIs) {
    EXPECT_EQ(PercentEncoder("+")("1 + 1"), "1+%2B+1");
    EXPECT_EQ(PercentEncoder("")(" a b "), "ab");
    EXPECT_EQ(PercentEncoder(" &%")("a b"), "a &%b");
    EXPECT_EQ(PercentEncoder("a rather long text instead")("  "),
              "a rather long text insteada rather long text instead");
}

TEST(PercentEncoderTest, CopiesKeepTheSpaceText) {
    const PercentEncoder original("+");
    PercentEncoder copy = original;
    EXPECT_EQ(copy(" "), "+");
    copy = PercentEncoder("%20");
    EXPECT_EQ(copy(" "), "%20");
    EXPECT_EQ(original(" "), "+");
}

TEST(PercentEncoderTest, ServesAsEncoderOfACollection) {
    const NameValueCollection fields{{"a b", "c d"}};
    EXPECT_EQ(fields.toString("&", "=", PercentEncoder("+")), "a+b=c+d");
}

TEST(PercentEncoderTest, AgreesWithThePlainEncodingAndDecodesToItsInput) {
    RandomTexts texts("%+ &=?#/-._~azAZ09\xC3\xA9");
    SCOPED_TRACE(texts);
    RecordProperty("seed", static_cast<int>(texts.seed()));
    const PercentEncoder query("%20");
    const PercentEncoder form("+");
    for (std::uint64_t run = 0; run < randomRuns(100'000); ++run) {
        const std::string text = texts.next(12);
        const std::string encoded = query(text);
        ASSERT_EQ(encoded, encodePlainly(text, "%20")) << texts << ", run " << run;
        ASSERT_EQ(form(text), encodePlainly(text, "+")) << texts << ", run " << run;
        ASSERT_EQ(percentDecode(encoded), text) << texts << ", run " << run;
        ASSERT_EQ(percentDecode(form(text)), text) << texts << ", run " << run;
    }
}

TEST(PercentEncoderTest, AgreesWithThePlainEncodingOfLongTextsForAnySpaceText) {
    RandomTexts texts("  some words/%\xC3\xA9");
    SCOPED_TRACE(texts);
    const std::vector<std::string> spaceTexts = {
        "%20", "+", "", "-", "<space>", "a space text that needs memory of its own"};
    for (std::uint64_t run = 0; run < randomRuns(20'000); ++run) {
        const std::string& spaceText = spaceTexts[texts.below(spaceTexts.size())];
        const std::string text = texts.next(200);
        ASSERT_EQ(PercentEncoder(spaceText)(text), encodePlainly(text, spaceText))
            << texts << ", run " << run << ", space text \"" << spaceText << '"';
    }
}

TEST(PercentEncoderTest, LongTextThatNeedsNothingComesBackAsItIs) {
    const std::string text(1000, 'a');
    EXPECT_EQ(PercentEncoder("%20")(text), text);
    EXPECT_EQ(PercentEncoder("+")(text), text);
    EXPECT_EQ(PercentEncoder("")(text), text);
    EXPECT_EQ(PercentEncoder("+")(std::string(1000, ' ')), std::string(1000, '+'));
}

}  // namespace
}  // namespace foundation::httpclient_core
