#pragma once
#include "tests/properties/PlainRange.h"
#include "tests/properties/Property.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace foundation::httpclient_core::testing {

/// Something like a "Content-Range", often a sound one.
inline std::string anyContentRange(CaseRandom& random) {
    const auto anyNumber = [&random] {
        if (random.oneIn(3)) {
            return random.text("0123456789-+ *", 0, 3);
        }
        return std::to_string(random.bits() >> random.below(64));
    };
    std::string text = "bytes " + anyNumber() + "-";
    text += anyNumber() + "/";
    text += random.oneIn(3) ? "*" : anyNumber();
    if (random.oneIn(8)) {
        text.insert(random.below(text.size() + 1), 1, random.oneOf("bytes 0-/*,"));
    }
    return text;
}

/// Holds another reading against the plain one: `read` gives an optional with the same members.
template <class Read>
void expectThePlainReadingOfContentRanges(const Read& read) {
    int cases = 0;
    int sound = 0;
    forAllCases([&](CaseRandom& random) {
        ++cases;
        const std::string text = anyContentRange(random);
        const std::optional<PlainRange> expected = plainContentRange(text);
        const auto range = read(text);
        ASSERT_EQ(range.has_value(), expected.has_value()) << text;
        if (expected) {
            ++sound;
            ASSERT_EQ(range->first, expected->first) << text;
            ASSERT_EQ(range->last, expected->last) << text;
            ASSERT_EQ(range->total, expected->total) << text;
        }
    });
    EXPECT_TRUE(::testing::Test::HasFailure() || cases < 1000 || sound > cases / 20) << sound;
}

}  // namespace foundation::httpclient_core::testing
