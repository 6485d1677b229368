#include "headers/IdentityEncoder.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace foundation::httpclient_core {
namespace {

using Encoder = std::function<std::string(std::string)>;

std::string shout(const std::string& text) {
    return text + "!";
}

TEST(IdentityEncoderTest, GivesTheTextItself) {
    const Encoder encoder = identityEncoder;
    EXPECT_EQ(encoder("a b%"), "a b%");
    EXPECT_EQ(encoder(""), "");
}

TEST(IdentityEncoderTest, IsToldFromOtherEncoders) {
    EXPECT_TRUE(isIdentityEncoder(identityEncoder));
    EXPECT_FALSE(isIdentityEncoder(nullptr));
    EXPECT_FALSE(isIdentityEncoder(shout));
    EXPECT_FALSE(isIdentityEncoder(+[](std::string text) { return text; }));
    EXPECT_FALSE(isIdentityEncoder([](std::string text) { return text; }));
}

}  // namespace
}  // namespace foundation::httpclient_core
