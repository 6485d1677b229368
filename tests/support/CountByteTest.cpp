#include "support/CountByte.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace foundation::httpclient_core::support {
namespace {

TEST(CountByteTest, CountsInTextsOfEveryLength) {
    std::string text;
    for (std::size_t size = 0; size <= 70; ++size) {
        for (const char sought : {'&', 'a', '\0'}) {
            EXPECT_EQ(countByte(text, sought),
                      static_cast<std::size_t>(std::count(text.begin(), text.end(), sought)))
                << text;
        }
        text += size % 3 == 0 ? '&' : 'a';
    }
}

TEST(CountByteTest, CountsATextOfNothingElse) {
    EXPECT_EQ(countByte(std::string(1000, '&'), '&'), 1000U);
}

}  // namespace
}  // namespace foundation::httpclient_core::support
