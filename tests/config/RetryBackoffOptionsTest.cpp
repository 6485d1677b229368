#include <foundation/httpclient_core/RetryBackoffOptions.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace foundation::httpclient_core {
namespace {

TEST(RetryBackoffOptionsTest, IsFilledByName) {
    const RetryBackoffOptions options{
        .backoffBase = 200, .maxBackoff = 30, .minJitter = 0, .maxJitter = 100};
    EXPECT_EQ(options.backoffBase, 200);
    EXPECT_EQ(options.maxBackoff, 30);
    EXPECT_EQ(options.maxJitter, 100);
    EXPECT_TRUE(options.useRetryAfter);
}

TEST(RetryBackoffOptionsTest, StartsWithACapAndRetryAfterAndNothingElse) {
    const RetryBackoffOptions options;
    EXPECT_EQ(options.backoffBase, 0);
    EXPECT_EQ(options.maxBackoff, 120);
    EXPECT_EQ(options.minJitter, 0);
    EXPECT_EQ(options.maxJitter, 0);
    EXPECT_TRUE(options.useRetryAfter);
}

TEST(RetryBackoffOptionsTest, HasItsFieldsInOrder) {
    const RetryBackoffOptions options{1, 2, 3, 4, false};
    EXPECT_EQ(options.backoffBase, 1);
    EXPECT_EQ(options.maxBackoff, 2);
    EXPECT_EQ(options.minJitter, 3);
    EXPECT_EQ(options.maxJitter, 4);
    EXPECT_FALSE(options.useRetryAfter);
    static_assert(std::is_same_v<decltype(options.backoffBase), std::int32_t>);
    static_assert(std::is_same_v<decltype(options.maxBackoff), std::int64_t>);
    static_assert(std::is_same_v<decltype(options.minJitter), std::int64_t>);
    static_assert(std::is_same_v<decltype(options.maxJitter), std::int64_t>);
}

TEST(RetryBackoffOptionsTest, ChecksNothingAndIsCopied) {
    RetryBackoffOptions options;
    options.maxBackoff = -1;
    options.minJitter = 500;
    options.maxJitter = -1;
    RetryBackoffOptions copy;
    copy = options;
    options.minJitter = 0;
    EXPECT_EQ(copy.maxBackoff, -1);
    EXPECT_EQ(copy.minJitter, 500);
    EXPECT_EQ(copy.maxJitter, -1);
}

}  // namespace
}  // namespace foundation::httpclient_core
