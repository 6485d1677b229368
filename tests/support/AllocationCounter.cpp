#include "tests/support/AllocationCounter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

thread_local AllocationCounts counts;
thread_local std::int64_t live = 0;
// The numbers of the first and the last allocation that fail; 0 for none.
thread_local std::uint64_t firstFailing = 0;
thread_local std::uint64_t lastFailing = 0;

void count(std::size_t size) {
    ++counts.allocations;
    counts.bytes += size;
    if (firstFailing != 0 && counts.allocations >= firstFailing &&
        counts.allocations <= lastFailing) {
        throw std::bad_alloc();
    }
}

void* required(void* block) {
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++live;
    return block;
}

void release(void* block) noexcept {
    if (block != nullptr) {
        --live;
        std::free(block);
    }
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

std::int64_t liveAllocations() noexcept {
    return live;
}

void failAllocationAfter(std::uint64_t successes) noexcept {
    firstFailing = lastFailing = counts.allocations + successes + 1;
}

void failAllocationsFrom(std::uint64_t successes) noexcept {
    firstFailing = counts.allocations + successes + 1;
    lastFailing = std::numeric_limits<std::uint64_t>::max();
}

std::uint64_t failNoAllocation() noexcept {
    const std::uint64_t reached = std::min(counts.allocations, lastFailing);
    const std::uint64_t failures = reached >= firstFailing ? reached + 1 - firstFailing : 0;
    const bool wasSet = std::exchange(firstFailing, 0) != 0;
    return wasSet ? failures : 0;
}

}  // namespace foundation::httpclient_core::testing

using foundation::httpclient_core::testing::allocate;
using foundation::httpclient_core::testing::allocateAligned;
using foundation::httpclient_core::testing::allocateOrNull;
using foundation::httpclient_core::testing::release;

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
    release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    release(block);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    release(block);
}

void operator delete(void* block, std::align_val_t /*alignment*/) noexcept {
    release(block);
}

void operator delete(void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    release(block);
}

void operator delete[](void* block) noexcept {
    release(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
    release(block);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    release(block);
}

void operator delete[](void* block, std::align_val_t /*alignment*/) noexcept {
    release(block);
}

void operator delete[](void* block, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    release(block);
}
