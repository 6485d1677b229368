#include "tests/support/AllocationCounter.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core/PercentEncoder.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <string>

namespace foundation::httpclient_core {
namespace {

using testing::allocationsOf;

TEST(PercentCodingAllocationTest, LongTextCostsOneAllocationEachWay) {
    const PercentEncoder encode("%20");
    const std::string text(1000, '/');
    std::string encoded;
    EXPECT_EQ(allocationsOf([&] { encoded = encode(text); }), 1U);
    std::string decoded;
    EXPECT_EQ(allocationsOf([&] { decoded = percentDecode(encoded); }), 1U);
    EXPECT_EQ(decoded, text);
}

struct Row {
    const char* label;
    const char* piece;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class PercentCodingAllocationTableTest : public ::testing::TestWithParam<Row> {
protected:
    static std::string repeated(std::size_t count) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) {
            text += GetParam().piece;
        }
        return text;
    }
};

TEST_P(PercentCodingAllocationTableTest, EncodingCostsOneAllocationOfAnyLength) {
    for (const char* spaceText : {"+", "%20", "a space text beyond the size of a short string"}) {
        const PercentEncoder encode(spaceText);
        for (const std::size_t count : {100U, 1000U, 20'000U}) {
            const std::string text = repeated(count);
            EXPECT_EQ(allocationsOf([&] { EXPECT_GE(encode(text).size(), text.size()); }), 1U)
                << count;
        }
    }
}

TEST_P(PercentCodingAllocationTableTest, DecodingCostsOneAllocationOfAnyLength) {
    for (const std::size_t count : {100U, 1000U, 20'000U}) {
        const std::string text = repeated(count);
        EXPECT_EQ(allocationsOf([&] { EXPECT_LE(percentDecode(text).size(), text.size()); }), 1U)
            << count;
    }
}

INSTANTIATE_TEST_SUITE_P(Table,
                         PercentCodingAllocationTableTest,
                         ::testing::Values(Row{"Unreserved", "a"},
                                           Row{"Spaces", " "},
                                           Row{"Plus", "+"},
                                           Row{"HighBytes", "\xC3\xA9"},
                                           Row{"Escapes", "%2F"},
                                           Row{"BadEscapes", "%zz"},
                                           Row{"Percents", "%"},
                                           Row{"Mixed", "a b%20c&%"}),
                         [](const auto& row) { return row.param.label; });

TEST(PercentCodingAllocationTest, ShortResultCostsNone) {
    const PercentEncoder encode("+");
    const std::string text = "a b";
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(encode(text).size(), 3U); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(percentDecode(text).size(), 3U); }), 0U);
}

TEST(PercentCodingAllocationTest, ShortResultCostsNoneWhateverTheSpaceText) {
    const std::string spaces(15, ' ');
    for (const char* spaceText : {"+", "", "x", "%20"}) {
        const PercentEncoder encode(spaceText);
        EXPECT_EQ(allocationsOf([&] { EXPECT_LE(encode("a b").size(), 5U); }), 0U) << spaceText;
    }
    const PercentEncoder encode("x");
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(encode(spaces).size(), 15U); }), 0U);
    // The decoded text fits, the encoded one did not.
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(percentDecode("%C3%A9%C3%A9%C3%A9").size(), 6U); }),
              0U);
}

}  // namespace
}  // namespace foundation::httpclient_core
