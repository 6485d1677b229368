#include "tests/support/AllocationCounter.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace foundation::httpclient_core::testing {
namespace {

thread_local AllocationCounts counts;

void* counted(std::size_t size, void* block) {
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++counts.allocations;
    counts.bytes += size;
    return block;
}

void* allocate(std::size_t size) {
    return counted(size, std::malloc(std::max<std::size_t>(size, 1)));
}

void* allocateAligned(std::size_t size, std::size_t alignment) {
    // The size must be a multiple of the alignment.
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + alignment - 1) & ~(alignment - 1);
    return counted(size, std::aligned_alloc(alignment, rounded));
}

void* allocateOrNull(std::size_t size) noexcept {
    try {
        return allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

AllocationCounts allocationCounts() noexcept {
    return counts;
}

}  // namespace foundation::httpclient_core::testing

using foundation::httpclient_core::testing::allocate;
using foundation::httpclient_core::testing::allocateAligned;
using foundation::httpclient_core::testing::allocateOrNull;

// Every form, since a sanitizer's runtime brings forms of its own that do not call these.
void* operator new(std::size_t size) {
    return allocate(size);
}

void* operator new[](std::size_t size) {
    return allocate(size);
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocateOrNull(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return allocateOrNull(size);
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, static_cast<std::size_t>(alignment));
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    return allocateAligned(size, static_cast<std::size_t>(alignment));
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}

void operator delete(void* block, std::align_val_t /*alignment*/) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::align_val_t /*alignment*/) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(block);
}
