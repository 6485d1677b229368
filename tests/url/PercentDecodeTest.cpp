#include "tests/support/RandomRuns.h"
#include "tests/url/RandomTexts.h"
#include "url/PercentDecode.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace foundation::httpclient_core {
namespace {

using testing::randomRuns;
using testing::RandomTexts;
using namespace std::string_view_literals;

TEST(PercentDecodeTest, DecodesAQueryValue) {
    EXPECT_EQ(percentDecode("a+b%2Fc"), "a b/c");
}

TEST(PercentDecodeTest, DoesNotLookBehindTheEndOfTheText) {
    for (const std::string_view text : {"%41"sv, "a%41"sv, "%%41"sv}) {
        for (std::size_t size = text.size() - 2; size < text.size(); ++size) {
            const std::string_view cutOff = text.substr(0, size);
            EXPECT_EQ(percentDecode(cutOff), cutOff);
        }
    }
}

// Long texts are read in blocks.
TEST(PercentDecodeTest, DecodesEveryByteInALongText) {
    const std::string filling(200, 'x');
    for (int byte = 0; byte < 256; ++byte) {
        constexpr std::string_view digits = "0123456789abcdef";
        const std::string escape = {'%', digits[static_cast<std::size_t>(byte) / 16],
                                    digits[static_cast<std::size_t>(byte) % 16]};
        EXPECT_EQ(percentDecode(filling + escape + filling),
                  filling + static_cast<char>(byte) + filling);
    }
}

struct Row {
    const char* label;
    std::string_view text;
    std::string_view decoded;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class PercentDecodeTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(PercentDecodeTableTest, Decodes) {
    EXPECT_EQ(percentDecode(GetParam().text), GetParam().decoded);
}

INSTANTIATE_TEST_SUITE_P(Table,
                         PercentDecodeTableTest,
                         ::testing::Values(Row{"Empty", "", ""},
                                           Row{"BothCasesOfDigits", "%41%4a%4A", "AJJ"},
                                           Row{"PlusIsASpace", "+a++", " a  "},
                                           Row{"EncodedPlusIsAPlus", "%2B", "+"},
                                           Row{"ZeroByte", "a%00b", "a\0b"sv},
                                           Row{"HighBytes", "%C3%a9%FF", "\xC3\xA9\xFF"},
                                           Row{"DecodesOnce", "%2541", "%41"},
                                           Row{"FirstNotHexadecimal", "%G1", "%G1"},
                                           Row{"SecondNotHexadecimal", "%1G", "%1G"},
                                           Row{"NeitherHexadecimal", "%zz", "%zz"},
                                           Row{"LonePercent", "%", "%"},
                                           Row{"OneDigitAtTheEnd", "%4", "%4"},
                                           Row{"TwoDigitsAtTheEnd", "x%41", "xA"},
                                           Row{"PercentAtTheEnd", "100%", "100%"},
                                           Row{"GoesOnRightAfterThePercent", "%%41", "%A"},
                                           Row{"SpaceAfterABadEscape", "%+4", "% 4"},
                                           Row{"EscapeInsideABadEscape", "%4%41", "%4A"},
                                           Row{"HexadecimalPrefixIsNone", "%0x41", "%0x41"},
                                           Row{"SignIsNoDigit", "%-1%+1", "%-1% 1"},
                                           Row{"BytesBesideTheDigits", "%/0%:0%@0%`0%g0",
                                               "%/0%:0%@0%`0%g0"},
                                           Row{"OtherBytesStay", "a/\xE9&=\n", "a/\xE9&=\n"}),
                         [](const auto& row) { return row.param.label; });

TEST(PercentDecodeTest, DecodesEveryByteFromEverySpelling) {
    for (const std::string_view digits : {"0123456789ABCDEF"sv, "0123456789abcdef"sv}) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::string text{'%', digits[byte / 16], digits[byte % 16]};
            EXPECT_EQ(percentDecode(text), std::string(1, static_cast<char>(byte))) << text;
        }
    }
}

// The decoding written down once more, without a table and with the number built digit by digit.
int plainDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::string decodePlainly(const std::string& text) {
    std::string result;
    std::size_t i = 0;
    while (i < text.size()) {
        if (text[i] == '%' && text.size() - i >= 3 && plainDigit(text[i + 1]) >= 0 &&
            plainDigit(text[i + 2]) >= 0) {
            result.push_back(
                static_cast<char>(plainDigit(text[i + 1]) * 16 + plainDigit(text[i + 2])));
            i += 3;
        } else {
            result.push_back(text[i] == '+' ? ' ' : text[i]);
            i += 1;
        }
    }
    return result;
}

TEST(PercentDecodeTest, AgreesWithThePlainDecoding) {
    RandomTexts texts("%%%%+04aAfFgG");
    SCOPED_TRACE(texts);
    RecordProperty("seed", static_cast<int>(texts.seed()));
    for (std::uint64_t run = 0; run < randomRuns(100'000); ++run) {
        const std::string text = texts.next(16);
        ASSERT_EQ(percentDecode(text), decodePlainly(text))
            << texts << ", run " << run << ", text \"" << text << '"';
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
