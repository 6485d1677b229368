#pragma once
#include "tests/support/AllocationCounter.h"

#include <benchmark/benchmark.h>

namespace foundation::httpclient_core::benchmarks {

/// Calls `operation` for the measured time; what it returns is kept from being optimised away. Reports
/// the allocations and the bytes of one call beside the time.
template <class Operation>
void measure(benchmark::State& state, const Operation& operation) {
    const testing::AllocationCounts before = testing::allocationCounts();
    for (auto unused : state) {
        static_cast<void>(unused);
        auto result = operation();
        benchmark::DoNotOptimize(result);
    }
    const testing::AllocationCounts used = testing::allocationCounts() - before;
    using benchmark::Counter;
    state.counters["allocs"] =
        Counter(static_cast<double>(used.allocations), Counter::kAvgIterations);
    state.counters["bytes"] = Counter(static_cast<double>(used.bytes), Counter::kAvgIterations);
}

}  // namespace foundation::httpclient_core::benchmarks
