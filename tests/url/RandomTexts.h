#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <random>
#include <string>
#include <string_view>

namespace foundation::httpclient_core::testing {

/// Random texts that are the same in every run: the seed is fixed, or given by the environment variable
/// FOUNDATION_TEST_SEED. Prints its seed, for messages of failures.
class RandomTexts {
public:
    /// `pieces` are drawn three times as often as arbitrary bytes.
    explicit RandomTexts(std::string_view pieces) : pieces_(pieces) {}

    std::uint32_t seed() const noexcept { return seed_; }

    /// A number below `limit`.
    std::size_t below(std::size_t limit) { return engine_() % limit; }

    /// Up to `longest` bytes.
    std::string next(std::size_t longest) {
        std::string text(below(longest + 1), '\0');
        for (char& c : text) {
            c = below(4) != 0 ? pieces_[below(pieces_.size())] : static_cast<char>(below(256));
        }
        return text;
    }

    friend std::ostream& operator<<(std::ostream& os, const RandomTexts& texts) {
        return os << "FOUNDATION_TEST_SEED=" << texts.seed_;
    }

private:
    static std::uint32_t chooseSeed() {
        const char* given = std::getenv("FOUNDATION_TEST_SEED");
        return given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10))
                                : 20240229;
    }

    std::string_view pieces_;
    std::uint32_t seed_ = chooseSeed();
    std::mt19937 engine_{seed_};
};

}  // namespace foundation::httpclient_core::testing
