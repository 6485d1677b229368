#pragma once
#include <cstdint>

namespace foundation::httpclient_core::testing {

/// What one thread asked of operator new since it began.
struct AllocationCounts {
    std::uint64_t allocations = 0;
    std::uint64_t bytes = 0;

    AllocationCounts operator-(const AllocationCounts& earlier) const noexcept {
        return {allocations - earlier.allocations, bytes - earlier.bytes};
    }
};

/// The counts of the calling thread. A program that links this replaces operator new and delete.
AllocationCounts allocationCounts() noexcept;

/// How often `action` allocates when it is called once.
template <class Action>
std::uint64_t allocationsOf(const Action& action) {
    const AllocationCounts before = allocationCounts();
    action();
    return (allocationCounts() - before).allocations;
}

}  // namespace foundation::httpclient_core::testing
