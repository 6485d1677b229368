#pragma once
#include "benchmarks/support/Row.h"
#include "tests/support/AllocationCounter.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace foundation::httpclient_core::benchmarks {

/// Calls `operation` for the measured time; what it returns is kept from being optimised away. Reports
/// the allocations and the bytes of one call beside the time.
template <class Operation>
void measure(benchmark::State& state, const Row& row, Operation& operation) {
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
    state.counters["calls"] = Counter(row.calls);
    state.counters["long"] = Counter(static_cast<double>(row.longStrings));
}

/// The workloads of the program, in the order in which they are added. The name of a benchmark is the
/// row, a slash and the side that does the work: the library, a peer or the plain model.
class Benchmarks {
public:
    /// Receives the rows of one side; `prepare` makes the operation when its turn comes.
    auto of(std::string side) {
        return [this, side](const Row& row, auto prepare) {
            remember(row.name);
            benchmark::RegisterBenchmark((row.name + "/" + side).c_str(),
                                         [row, prepare](benchmark::State& state) {
                                             auto operation = prepare();
                                             measure(state, row, operation);
                                         });
        };
    }

    /// The same for rows that show how cost grows with `size`: name, side and size. They take long and
    /// need no exact ratio, so that a few repetitions must do.
    auto growing(std::string side, std::size_t size) {
        return [this, side, size](const Row& row, auto prepare) {
            constexpr int repetitions = 3;
            remember(row.name);
            const std::string name = row.name + "/" + side + "/" + std::to_string(size);
            benchmark::RegisterBenchmark(name.c_str(), [row, prepare](benchmark::State& state) {
                auto operation = prepare();
                measure(state, row, operation);
            })->Repetitions(repetitions);
        };
    }

    const std::vector<std::string>& rows() const noexcept { return rows_; }

private:
    void remember(const std::string& row);

    std::vector<std::string> rows_;
};

}  // namespace foundation::httpclient_core::benchmarks
