#include "proxy/Md5.h"

#include <gtest/gtest.h>

#include <string>

namespace foundation::httpclient_curl::testing {
namespace {

// The test suite of RFC 1321, appendix A.5.
TEST(Md5Test, GivesTheDigestsOfTheStandard) {
    EXPECT_EQ(md5(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(md5("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(md5("1234567890123456789012345678901234567890123456789012345678901234567890123456789"
                  "0"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

// Around the end of a block the padding takes one more or one less; from coreutils' md5sum.
TEST(Md5Test, PadsTextsOfEveryLengthAroundABlock) {
    EXPECT_EQ(md5(std::string(55, 'x')), "04364420e25c512fd958a70738aa8f72");
    EXPECT_EQ(md5(std::string(56, 'x')), "668a72d5ba17f08e62dabcafad6db14b");
    EXPECT_EQ(md5(std::string(63, 'x')), "7dc2ca208106a2f703567bdff99d8981");
    EXPECT_EQ(md5(std::string(64, 'x')), "c1bb4f81d892b2d57947682aeb252456");
    EXPECT_EQ(md5(std::string(1000, '\xFF')), "23cc517ae5734b068e21c92920a5ee02");
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
