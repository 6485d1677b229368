#pragma once
#include "tests/properties/Property.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>

namespace foundation::httpclient_core::testing {

/// A number of bytes by the letter of RFC 9110: digits, in 63 bits.
inline std::optional<std::int64_t> plainNumber(const std::string& text) {
    constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
    std::int64_t number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9' || number > (largest - (c - '0')) / 10) {
            return std::nullopt;
        }
        number = number * 10 + (c - '0');
    }
    return text.empty() ? std::nullopt : std::optional(number);
}

struct PlainRange {
    std::int64_t first = 0;
    std::int64_t last = 0;
    std::int64_t total = -1;
};

/// "bytes FIRST-LAST/TOTAL" cut at the last "/" and the "-" before it.
inline std::optional<PlainRange> plainContentRange(const std::string& text) {
    const std::size_t slash = text.rfind('/');
    const std::size_t dash = text.rfind('-');
    if (!text.starts_with("bytes ") || slash == std::string::npos || dash == std::string::npos ||
        dash > slash) {
        return std::nullopt;
    }
    const auto first = plainNumber(text.substr(6, dash - 6));
    const auto last = plainNumber(text.substr(dash + 1, slash - dash - 1));
    const std::string size = text.substr(slash + 1);
    const auto total = plainNumber(size);
    if (!first || !last || *first > *last || (size != "*" && (!total || *total <= *last))) {
        return std::nullopt;
    }
    return PlainRange{*first, *last, total.value_or(-1)};
}

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
    int sound = 0;
    forAllCases([&](CaseRandom& random) {
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
    EXPECT_TRUE(::testing::Test::HasFailure() || sound > 1000 ||
                std::getenv("FOUNDATION_CASE") != nullptr)
        << sound;
}

}  // namespace foundation::httpclient_core::testing
