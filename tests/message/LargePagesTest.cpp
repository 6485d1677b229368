#include "message/LargePages.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <vector>

namespace foundation::httpclient_core {
namespace {

// Whether the pages are large shows in the time alone; that nothing else changes is what can be tested.
TEST(LargePagesTest, BytesAndErrnoStay) {
    std::vector<char> block(std::size_t{9} << 20, 'x');
    errno = EDOM;
    for (const std::size_t offset : {0U, 1U, 4096U, 12345U}) {
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{2} << 20,
                                       (std::size_t{2} << 20) + 1, block.size() - offset}) {
            preferLargePages(block.data() + offset, size);
        }
    }
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(std::count(block.begin(), block.end(), 'x'),
              static_cast<std::ptrdiff_t>(block.size()));
}

}  // namespace
}  // namespace foundation::httpclient_core
