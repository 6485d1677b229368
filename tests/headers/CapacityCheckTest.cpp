#include "headers/CapacityCheck.h"
#include "tests/support/ThrowsExactly.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace foundation::httpclient_core {
namespace {

using testing::throwsExactly;

constexpr std::size_t most = std::numeric_limits<std::size_t>::max();

TEST(CapacityCheckTest, LetsAContainerGrowUpToItsLimit) {
    EXPECT_NO_THROW(requireRoomForOneMore(0, 1, "list too long"));
    EXPECT_NO_THROW(requireRoomForOneMore(9, 10, "list too long"));
    EXPECT_NO_THROW(requireRoomForOneMore(most - 1, most, "list too long"));
}

TEST(CapacityCheckTest, ThrowsWithTheTextOfTheContainerThatIsFull) {
    EXPECT_TRUE(throwsExactly<std::length_error>(
        [] { requireRoomForOneMore(10, 10, "list too long"); }, "list too long"));
    EXPECT_TRUE(throwsExactly<std::length_error>(
        [] { requireRoomForOneMore(most, most, "map/set too long"); }, "map/set too long"));
    EXPECT_TRUE(throwsExactly<std::length_error>(
        [] { requireRoomForOneMore(0, 0, "list too long"); }, "list too long"));
}

}  // namespace
}  // namespace foundation::httpclient_core
