#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {

/// Seed and length of a random test: fixed unless the environment says otherwise, with
/// FOUNDATION_TEST_SEED and FOUNDATION_TEST_OPERATIONS. Prints itself so that a failure can be repeated.
class RandomRun {
public:
    explicit RandomRun(std::uint64_t defaultOperations)
        : seed_(numberFrom("FOUNDATION_TEST_SEED", 20240229)),
          operations_(numberFrom("FOUNDATION_TEST_OPERATIONS", defaultOperations)),
          engine_(seed_) {}

    std::uint64_t seed() const { return seed_; }
    std::uint64_t operations() const { return operations_; }
    /// A number below `limit`, which is not 0.
    std::size_t below(std::size_t limit) { return engine_() % limit; }
    /// One of the choices, all equally likely.
    template <class T>
    const T& oneOf(const std::vector<T>& choices) {
        return choices[below(choices.size())];
    }
    /// A text of up to `maxLength` characters of the alphabet.
    std::string text(const std::string& alphabet, std::size_t maxLength) {
        std::string result(below(maxLength + 1), '\0');
        for (char& character : result) {
            character = alphabet[below(alphabet.size())];
        }
        return result;
    }

    friend std::ostream& operator<<(std::ostream& os, const RandomRun& run) {
        return os << "FOUNDATION_TEST_SEED=" << run.seed_
                  << " FOUNDATION_TEST_OPERATIONS=" << run.operations_;
    }

private:
    static std::uint64_t numberFrom(const char* variable, std::uint64_t otherwise) {
        const char* text = std::getenv(variable);
        return text != nullptr ? std::stoull(text) : otherwise;
    }

    std::uint64_t seed_;
    std::uint64_t operations_;
    std::mt19937 engine_;
};

}  // namespace foundation::httpclient_core::testing
