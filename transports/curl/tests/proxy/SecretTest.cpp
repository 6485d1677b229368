#include "proxy/Secret.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <new>
#include <string>
#include <utility>

namespace foundation::httpclient_curl::testing {
namespace {

TEST(SecretTest, OverwritesTheWholeBuffer) {
    std::string text(100, 's');
    text.resize(50);
    const char* buffer = text.data();
    wipe(text);
    EXPECT_TRUE(text.empty());
    // The string keeps its buffer, so it can be looked at.
    ASSERT_EQ(text.data(), buffer);
    EXPECT_TRUE(std::all_of(buffer, buffer + 100, [](char c) { return c == '\0'; }));
}

// Short texts live inside the object, where they can be looked at after its end.
TEST(SecretTest, LeavesNothingBehindWhenItIsDestroyed) {
    alignas(Secret) std::array<unsigned char, sizeof(Secret)> place{};
    auto* secret = new (place.data()) Secret("hunter2");
    secret->~Secret();
    const std::string bytes(place.begin(), place.end());
    EXPECT_EQ(bytes.find("hunter2"), std::string::npos);
}

TEST(SecretTest, CopiesAndMoves) {
    Secret first("one");
    const Secret copy = first;
    Secret moved = std::move(first);
    EXPECT_EQ(copy.text(), "one");
    EXPECT_EQ(moved.text(), "one");
    moved = Secret("two");
    EXPECT_EQ(moved.text(), "two");
    moved = copy;
    EXPECT_EQ(moved.text(), "one");
    Secret& same = moved;
    moved = same;
    EXPECT_EQ(moved.text(), "one");
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
