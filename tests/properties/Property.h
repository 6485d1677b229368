#pragma once
#include "tests/support/RandomRuns.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <random>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {

/// The random decisions of one case of a property. Small and quick to make, so that each case has its own
/// and can be repeated alone.
class CaseRandom {
public:
    CaseRandom(std::uint64_t seed, std::uint64_t number) : state_(seed + number * increment * 3) {}

    std::uint64_t bits() {
        // The generator known as SplitMix64.
        state_ += increment;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }
    /// 0 to limit - 1.
    std::size_t below(std::size_t limit) { return bits() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <class T>
    const T& oneOf(const std::vector<T>& choices) {
        return choices[below(choices.size())];
    }
    char oneOf(const std::string& alphabet) { return alphabet[below(alphabet.size())]; }
    /// From `shortest` to `longest` characters of the alphabet.
    std::string text(const std::string& alphabet, std::size_t shortest, std::size_t longest) {
        std::string result(shortest + below(longest - shortest + 1), '\0');
        for (char& c : result) {
            c = oneOf(alphabet);
        }
        return result;
    }
    /// Any bytes, those of the alphabet more often.
    std::string bytes(const std::string& alphabet, std::size_t longest) {
        std::string result = text(alphabet, 0, longest);
        for (char& c : result) {
            c = oneIn(4) ? static_cast<char>(below(256)) : c;
        }
        return result;
    }
    /// A number of any magnitude, as often a small one as a large one.
    template <class Integer>
    Integer number() {
        const auto shift = below(8 * sizeof(Integer));
        return static_cast<Integer>(static_cast<Integer>(bits()) >> shift);
    }

private:
    static constexpr std::uint64_t increment = 0x9E3779B97F4A7C15U;
    std::uint64_t state_;
};

/// The number in the environment variable, or `otherwise`.
inline std::uint64_t fromEnvironment(const char* variable, std::uint64_t otherwise) {
    const char* text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

/// The seed of this run: FOUNDATION_SEED, or another one for each process.
inline std::uint64_t propertySeed() {
    static const std::uint64_t seed = fromEnvironment("FOUNDATION_SEED", std::random_device()());
    return seed;
}

/// Runs the property, a callable that takes a CaseRandom and asserts, over randomRuns(10000) cases and stops at the first that
/// fails, with how to repeat it: FOUNDATION_SEED, and FOUNDATION_CASE for that case alone. FOUNDATION_CASES sets another number
/// of cases.
template <class Property>
void forAllCases(const Property& property) {
    const std::uint64_t seed = propertySeed();
    const std::uint64_t first = fromEnvironment("FOUNDATION_CASE", 0);
    const std::uint64_t count = std::getenv("FOUNDATION_CASE") != nullptr
                                    ? 1
                                    : fromEnvironment("FOUNDATION_CASES", randomRuns(10000));
    ::testing::Test::RecordProperty("seed", std::to_string(seed));
    for (std::uint64_t number = first; number < first + count; ++number) {
        CaseRandom random(seed, number);
        try {
            property(random);
        } catch (const std::exception& error) {
            ADD_FAILURE() << "an exception left the property: " << error.what();
        }
        if (::testing::Test::HasFailure()) {
            FAIL() << "To repeat: FOUNDATION_SEED=" << seed << " FOUNDATION_CASE=" << number;
        }
    }
}

}  // namespace foundation::httpclient_core::testing
