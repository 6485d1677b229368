#pragma once
#include <array>
#include <cstdint>

namespace foundation::httpclient_core {

/// Remembers the tags of names. Says of most names that were never added that they were not, before they are
/// folded: look-ups of absent names take half the time.
class NameSketch {
public:
    bool mayHave(std::uint32_t tag) const noexcept {
        return (words_[wordOf(tag)] & bitOf(tag)) != 0;
    }
    void add(std::uint32_t tag) noexcept { words_[wordOf(tag)] |= bitOf(tag); }

private:
    // The top bits of a product depend on all bits below them.
    static std::uint32_t wordOf(std::uint32_t tag) noexcept { return tag >> 29U; }
    static std::uint64_t bitOf(std::uint32_t tag) noexcept {
        return std::uint64_t{1} << (tag >> 23U & 63U);
    }

    std::array<std::uint64_t, 8> words_{};
};

}  // namespace foundation::httpclient_core
