#pragma once
#include <cstdint>
#include <exception>
#include <iostream>
#include <optional>
#include <random>
#include <string>

namespace foundation::httpclient_core::testing {

/// How often a long run repeats what it does, and the seed of its random choices.
struct RunLength {
    std::uint64_t count = 0;
    std::uint64_t seed = 0;
};

/// The arguments COUNT [SEED] of a program, with another seed each time where none is given. Otherwise says
/// on standard error that the usage is `usage` and returns nothing.
inline std::optional<RunLength> runLength(int argc, char** argv, const char* usage) {
    RunLength length{.count = 0, .seed = std::random_device()()};
    try {
        length.count = argc > 1 ? std::stoull(argv[1]) : 0;
        length.seed = argc > 2 ? std::stoull(argv[2]) : length.seed;
    } catch (const std::exception&) {
        length.count = 0;
    }
    if (length.count == 0 || argc > 3) {
        std::cerr << "usage: " << usage << '\n';
        return std::nullopt;
    }
    return length;
}

}  // namespace foundation::httpclient_core::testing
