#pragma once
#include <cstdint>
#include <string>

namespace foundation::httpclient_core::benchmarks {

/// A workload under the name that the goals know it by.
struct Row {
    std::string name;
    /// How many strings of more than 15 characters one operation has to make. Each is an allocation
    /// that no representation of names and values in strings gets around.
    std::uint64_t longStrings = 0;
    /// How many calls one operation makes; time and allocations are reported for one.
    int calls = 1;
};

}  // namespace foundation::httpclient_core::benchmarks
