#include "headers/HashScan.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace foundation::httpclient_core {
namespace {

TEST(HashScanTest, HasOneBitForEachEqualHash) {
    for (unsigned int pattern = 0; pattern < 16; ++pattern) {
        alignas(16) std::array<std::uint32_t, 4> hashes{};
        for (unsigned int i = 0; i < 4; ++i) {
            hashes[i] = (pattern >> i & 1U) != 0 ? 0xFFFFFFFFU : 0x7FFFFFFFU;
        }
        EXPECT_EQ(equalAmongFour(hashes.data(), 0xFFFFFFFFU), pattern);
        EXPECT_EQ(equalAmongFour(hashes.data(), 0x7FFFFFFFU), ~pattern & 0xFU);
        EXPECT_EQ(equalAmongFour(hashes.data(), 1), 0U);
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
