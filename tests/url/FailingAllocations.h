#pragma once
#include <cstddef>
#include <new>

namespace foundation::httpclient_core::testing {

/// How often the program has called operator new; a program that links this replaces it.
std::size_t allocationCount() noexcept;

/// How many bytes it was asked for in all.
std::size_t allocatedBytes() noexcept;

/// Makes the call of operator new fail that comes after so many more; a negative number: none.
void failAllocationAfter(int successes) noexcept;

template <class Action>
std::size_t allocationsOf(const Action& action) {
    const std::size_t before = allocationCount();
    action();
    return allocationCount() - before;
}

/// Runs the action with its first allocation failing, then its second, and so on until none fails; calls
/// `check` after each failure. Returns the number of failures.
template <class Action, class Check>
int failEachAllocation(const Action& action, const Check& check) {
    for (int failures = 0;; ++failures) {
        failAllocationAfter(failures);
        try {
            action();
            failAllocationAfter(-1);
            return failures;
        } catch (const std::bad_alloc&) {
            failAllocationAfter(-1);
            check();
        }
    }
}

}  // namespace foundation::httpclient_core::testing
