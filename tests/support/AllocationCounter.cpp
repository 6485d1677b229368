#include "tests/support/AllocationCounter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace foundation::httpclient_core::testing {
namespace {

thread_local AllocationCounts counts;
thread_local std::uint64_t failingAllocation = 0;  // Its number; 0 for none.

void count(std::size_t size) {
    ++counts.allocations;
    counts.bytes += size;
    if (counts.allocations == failingAllocation) {
        throw std::bad_alloc();
    }
}

void* required(void* block) {
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void* allocate(std::size_t size) {
    count(size);
    return required(std::malloc(std::max<std::size_t>(size, 1)));
}

void* allocateAligned(std::size_t size, std::size_t alignment) {
    count(size);
    // The size must be a multiple of the alignment.
    const std::size_t rounded = (std::max<std::size_t>(size, 1) + alignment - 1) & ~(alignment - 1);
    return required(std::aligned_alloc(alignment, rounded));
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

void failAllocationAfter(std::uint64_t successes) noexcept {
    failingAllocation = counts.allocations + successes + 1;
}

void failNoAllocation() noexcept {
    failingAllocation = 0;
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
