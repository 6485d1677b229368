#pragma once
#include <cstdint>
#include <new>

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

/// What the calling thread has allocated and not given back; less than 0 if it gave back what others made.
std::int64_t liveAllocations() noexcept;

/// Makes one allocation of the calling thread fail: the one that comes after so many more.
void failAllocationAfter(std::uint64_t successes) noexcept;
/// Makes that one fail and all that come after it.
void failAllocationsFrom(std::uint64_t successes) noexcept;
/// Takes that back, if it has not happened yet. Returns how many allocations have failed.
std::uint64_t failNoAllocation() noexcept;

/// How often `action` allocates when it is called once.
template <class Action>
std::uint64_t allocationsOf(const Action& action) {
    const AllocationCounts before = allocationCounts();
    action();
    return (allocationCounts() - before).allocations;
}

/// Runs the action with its first allocation failing, then its second, and so on until none fails; calls
/// `check` after each failure. Returns the number of failures.
template <class Action, class Check>
std::uint64_t failEachAllocation(const Action& action, const Check& check) {
    for (std::uint64_t failures = 0;; ++failures) {
        failAllocationAfter(failures);
        try {
            action();
            failNoAllocation();
            return failures;
        } catch (const std::bad_alloc&) {
            failNoAllocation();
            check();
        }
    }
}

}  // namespace foundation::httpclient_core::testing
