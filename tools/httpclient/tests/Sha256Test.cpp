#include "output/Sha256.h"

#include <gtest/gtest.h>

namespace foundation::httpclient_tool {
namespace {

const char* const ofNothing = "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855";
const char* const ofAbc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

// The examples of FIPS 180-4.
TEST(Sha256Test, GivesTheStandardsDigests) {
    EXPECT_EQ(Sha256::of(""), ofNothing);
    EXPECT_EQ(Sha256::of("abc"), ofAbc);
    EXPECT_EQ(Sha256::of(std::string(1'000'000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256Test, GoesOnAfterItsDigestWasRead) {
    Sha256 digest;
    EXPECT_EQ(digest.hex(), ofNothing);
    digest.add("a");
    EXPECT_EQ(digest.hex().size(), 64U);
    digest.add("bc");
    EXPECT_EQ(digest.hex(), ofAbc);
    EXPECT_EQ(digest.hex(), ofAbc);
}

TEST(Sha256Test, ACopyIsIndependent) {
    Sha256 digest;
    digest.add("ab");
    Sha256 copy(digest);
    copy.add("x");
    digest.add("c");
    EXPECT_EQ(digest.hex(), ofAbc);
    copy = digest;
    EXPECT_EQ(copy.hex(), ofAbc);
    const Sha256 moved = std::move(copy);
    EXPECT_EQ(moved.hex(), ofAbc);
}

}  // namespace
}  // namespace foundation::httpclient_tool
