#include "tests/url/FailingAllocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace foundation::httpclient_core::testing {
namespace {

std::size_t count = 0;
std::size_t bytes = 0;
int successesLeft = -1;

void* allocate(std::size_t size) {
    ++count;
    bytes += size;
    if (successesLeft == 0) {
        successesLeft = -1;
        throw std::bad_alloc();
    }
    if (successesLeft > 0) {
        --successesLeft;
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

}  // namespace

std::size_t allocationCount() noexcept {
    return count;
}

std::size_t allocatedBytes() noexcept {
    return bytes;
}

void failAllocationAfter(int successes) noexcept {
    successesLeft = successes;
}

}  // namespace foundation::httpclient_core::testing

void* operator new(std::size_t size) {
    return foundation::httpclient_core::testing::allocate(size);
}
void* operator new[](std::size_t size) {
    return foundation::httpclient_core::testing::allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
