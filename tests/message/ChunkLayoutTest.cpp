#include "message/ChunkLayout.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ios>
#include <limits>
#include <vector>

namespace foundation::httpclient_core {
namespace {

TEST(ChunkLayoutTest, ChunksGrowFourfoldUntilTheyAreLongEnough) {
    constexpr ChunkLayout layout(512, 1 << 20);
    const std::vector<std::streamoff> sizes{512, 2048, 8192, 32768, 131072, 524288, 1 << 20};
    std::streamoff start = 0;
    for (std::size_t index = 0; index < 100; ++index) {
        const std::streamoff size = index < sizes.size() ? sizes[index] : sizes.back();
        EXPECT_EQ(layout.startOf(index), start) << index;
        EXPECT_EQ(layout.sizeOf(index), size) << index;
        start += size;
    }
}

TEST(ChunkLayoutTest, LongestLengthNeedNotBeReachedByGrowing) {
    constexpr ChunkLayout layout(4, 32);
    EXPECT_EQ(layout.sizeOf(1), 16);
    EXPECT_EQ(layout.sizeOf(2), 32);
    EXPECT_EQ(layout.startOf(2), 20);
    EXPECT_EQ(layout.startOf(3), 52);
}

TEST(ChunkLayoutTest, AllChunksCanHaveOneLength) {
    constexpr ChunkLayout layout(1, 1);
    EXPECT_EQ(layout.sizeOf(0), 1);
    EXPECT_EQ(layout.startOf(1000), 1000);
    EXPECT_EQ(layout.indexOf(1000), 1000U);
}

TEST(ChunkLayoutTest, EachPositionIsInTheChunkThatHoldsIt) {
    for (const ChunkLayout& layout :
         {ChunkLayout(1, 1), ChunkLayout(1, 2), ChunkLayout(1, 64), ChunkLayout(4, 16),
          ChunkLayout(8, 16), ChunkLayout(512, 4096)}) {
        std::size_t index = 0;
        for (std::streamoff position = 0; position < 20'000; ++position) {
            if (position == layout.startOf(index) + layout.sizeOf(index)) {
                ++index;
            }
            ASSERT_EQ(layout.indexOf(position), index) << position;
        }
    }
}

TEST(ChunkLayoutTest, PositionsBeyondTwoGibibytesFindTheirChunk) {
    constexpr ChunkLayout layout(512, 1 << 20);
    // Around what a signed and an unsigned number of 32 bits hold, a million times that, and the last.
    constexpr std::streamoff last = std::numeric_limits<std::streamoff>::max();
    for (const std::streamoff about :
         {std::streamoff{1} << 31, std::streamoff{1} << 32, std::streamoff{1} << 52, last - 2}) {
        for (std::streamoff position = about - 2; position != about + 2; ++position) {
            const std::size_t index = layout.indexOf(position);
            EXPECT_LE(layout.startOf(index), position);
            EXPECT_LT(position - layout.startOf(index), layout.sizeOf(index)) << position;
            EXPECT_EQ(layout.indexOf(layout.startOf(index)), index) << position;
            EXPECT_EQ(layout.indexOf(layout.startOf(index) - 1), index - 1) << position;
        }
    }
    EXPECT_EQ(layout.sizeOf(layout.indexOf(std::streamoff{1} << 40)), 1 << 20);
}

TEST(ChunkLayoutTest, VeryLongGrowingChunksAreFoundToo) {
    constexpr ChunkLayout layout(1, std::streamoff{1} << 50);
    const std::streamoff position = std::streamoff{5} << 40;
    const std::size_t index = layout.indexOf(position);
    EXPECT_EQ(layout.sizeOf(index), std::streamoff{1} << 42);
    EXPECT_LE(layout.startOf(index), position);
    EXPECT_LT(position, layout.startOf(index + 1));
}

}  // namespace
}  // namespace foundation::httpclient_core
