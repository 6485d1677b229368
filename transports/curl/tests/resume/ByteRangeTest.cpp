#include "resume/ResumeMark.h"

#include <gtest/gtest.h>

#include <optional>

namespace foundation::httpclient_curl::testing {
namespace {

TEST(ByteRangeTest, ReadsBothForms) {
    const std::optional<ByteRange> range = ByteRange::fromRange("bytes=5-9");
    ASSERT_TRUE(range.has_value());
    EXPECT_EQ(range->first, 5);
    EXPECT_EQ(range->last, 9);
    const std::optional<ByteRange> content = ByteRange::fromContentRange("bytes 5-9/10");
    ASSERT_TRUE(content.has_value());
    EXPECT_EQ(content->first, 5);
    EXPECT_EQ(content->last, 9);
    EXPECT_EQ(content->total, 10);
}

TEST(ByteRangeTest, TotalIsANumberOrUnknownAndNothingBeside) {
    EXPECT_EQ(ByteRange::fromContentRange("bytes 5-9/*")->total, -1);
    for (const char* text : {"bytes 5-9/10*", "bytes 5-9/**", "bytes 5-9/*1", "bytes 5-9/"}) {
        EXPECT_FALSE(ByteRange::fromContentRange(text).has_value()) << text;
    }
}

TEST(ByteRangeTest, NumberWithASignIsNone) {
    for (const char* text : {"bytes=-0-", "bytes=-0-5", "bytes=0--0", "bytes=+1-2", "bytes=-5"}) {
        EXPECT_FALSE(ByteRange::fromRange(text).has_value()) << text;
    }
    for (const char* text :
         {"bytes -0-5/6", "bytes 0--0/1", "bytes 0--0/*", "bytes -0--0/*", "bytes +0-5/6"}) {
        EXPECT_FALSE(ByteRange::fromContentRange(text).has_value()) << text;
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
