#include "message/LargePages.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace foundation::httpclient_core {

#ifdef MADV_HUGEPAGE

void preferLargePages(char* block, std::size_t size) noexcept {
    constexpr std::size_t largePage = 2U << 20;
    // Large pages begin at multiples of their size: those that lie in the block with all of their bytes.
    const std::size_t before =
        (largePage - reinterpret_cast<std::uintptr_t>(block) % largePage) % largePage;
    if (before + largePage <= size) {
        const int savedErrno = errno;
        ::madvise(block + before, (size - before) / largePage * largePage, MADV_HUGEPAGE);
        errno = savedErrno;
    }
}

#else

void preferLargePages(char* /*block*/, std::size_t /*size*/) noexcept {}

#endif

}  // namespace foundation::httpclient_core
