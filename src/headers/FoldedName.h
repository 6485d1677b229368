#pragma once
#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace foundation::httpclient_core {

/// A name as look-ups see it: ASCII letters in lower case, with a hash. Folded eight bytes at a time in
/// registers and kept as words, so that two names of up to 32 bytes are compared by four instructions:
/// look-ups take a third of the time that they take in a tree of texts. Inline, because a call costs a
/// tenth of a look-up.
class FoldedName {
public:
    /// Bytes that are held as words.
    static constexpr std::size_t wordBytes = 32;
    using Words = std::array<std::uint64_t, wordBytes / sizeof(std::uint64_t)>;

    /// Refers to the text.
    [[gnu::always_inline]] explicit FoldedName(std::string_view name) noexcept
        : size_(name.size()) {
        std::uint64_t zeros = 0;
        words_[0] = word(name, 0, zeros);
        if (size_ > wordSize) {
            words_[1] = word(name, wordSize, zeros);
            if (size_ > 2 * wordSize) {
                words_[2] = word(name, 2 * wordSize, zeros);
                words_[3] = word(name, 3 * wordSize, zeros);
            }
        }
        if (size_ > wordBytes) [[unlikely]] {
            rest_ = name.substr(0, size_ - wordBytes);
            zeros |= rest_.find('\0') != std::string_view::npos ? 1U : 0U;
        }
        if (zeros != 0) [[unlikely]] {
            *this = upToNul(name);
        }
    }

    /// The last 32 folded bytes, eight in a word, the last ones first. Names of one length are equal if
    /// their words are and what stands before them is.
    ///
    /// Counted from the end, because a name has often just been copied: text is copied in pieces that
    /// overlap at their beginnings, and reading across two pieces waits for both to reach the memory.
    const Words& words() const noexcept { return words_; }
    bool hasWords(const Words& words) const noexcept {
        // Without a call and without a branch for each.
        return ((words_[0] ^ words[0]) | (words_[1] ^ words[1]) | (words_[2] ^ words[2]) |
                (words_[3] ^ words[3])) == 0;
    }
    /// A folded copy of what stands before them; null where nothing does. Throws std::bad_alloc.
    std::unique_ptr<char[]> copyRest() const { return rest_.empty() ? nullptr : foldedRest(); }
    /// Whether such a copy, of a name of this size, holds the same.
    bool hasRest(const char* foldedRest) const noexcept;
    std::size_t size() const noexcept { return size_; }
    /// A number below 512 that tells many names apart, at the cost of one multiplication.
    std::uint32_t mark() const noexcept {
        return static_cast<std::uint32_t>(((words_[0] ^ size_) * 0x9E3779B97F4A7C15U) >> 55U);
    }
    /// Never 0. Equal names have equal hashes, which differ from one process to the next: names come from
    /// the network, and nobody there shall be able to choose names that collide.
    std::uint32_t hash() const noexcept;

private:
    static FoldedName upToNul(std::string_view name) noexcept;
    std::unique_ptr<char[]> foldedRest() const;

    static constexpr std::size_t wordSize = sizeof(std::uint64_t);

    static constexpr std::uint64_t inEveryByte(unsigned char byte) noexcept {
        return 0x0101010101010101U * byte;
    }

    // All eight bytes at once: the sums carry into the top bit of a byte where it is "A" or above, and
    // above "Z"; bytes with the top bit set themselves are left alone.
    static constexpr std::uint64_t folded(std::uint64_t word) noexcept {
        const std::uint64_t low = word & inEveryByte(0x7F);
        const std::uint64_t fromA = low + inEveryByte(0x80 - 'A');
        const std::uint64_t aboveZ = low + inEveryByte(0x7F - 'Z');
        const std::uint64_t isCapital = fromA & ~aboveZ & ~word & inEveryByte(0x80);
        return word | (isCapital >> 2U);
    }

    template <class Integer>
    static std::uint64_t load(const char* bytes) noexcept {
        Integer value{};
        std::memcpy(&value, bytes, sizeof value);
        return value;
    }

    // Up to seven bytes as a number.
    static std::uint64_t loadShort(const char* bytes, std::size_t count) noexcept {
        std::uint64_t word = 0;
        if ((count & 4U) != 0) {
            word = load<std::uint32_t>(bytes + count - 4);
        }
        if ((count & 2U) != 0) {
            word = (word << 16U) | load<std::uint16_t>(bytes + (count & 1U));
        }
        return (count & 1U) != 0 ? (word << 8U) | load<std::uint8_t>(bytes) : word;
    }

    // Not zero if a byte of the word is.
    static constexpr std::uint64_t zeroBytes(std::uint64_t word) noexcept {
        return (word - inEveryByte(1)) & ~word & inEveryByte(0x80);
    }

    // The eight bytes before the last `after` ones; fewer at the beginning of the text. Notes in `zeros`
    // whether there is a NUL among them.
    static std::uint64_t word(std::string_view text,
                              std::size_t after,
                              std::uint64_t& zeros) noexcept {
        if (text.size() >= after + wordSize) {
            const auto word = load<std::uint64_t>(text.data() + (text.size() - after - wordSize));
            zeros |= zeroBytes(word);
            return folded(word);
        }
        if (text.size() > after) {
            const std::size_t count = text.size() - after;
            const std::uint64_t word = loadShort(text.data(), count);
            zeros |= zeroBytes(word | (~std::uint64_t{0} << (8 * count)));
            return folded(word);
        }
        return 0;
    }

    // The high half of a product depends on every bit of both factors.
    static std::uint64_t mixed(std::uint64_t a, std::uint64_t b) noexcept {
        __extension__ using Product = unsigned __int128;
        const Product product = static_cast<Product>(a) * b;
        return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
    }

    static std::uint64_t secret() noexcept {
        const std::uint64_t secret = secret_.load(std::memory_order_relaxed);
        return secret != 0 ? secret : chooseSecret();
    }
    static std::uint64_t chooseSecret() noexcept;

    std::uint64_t withRest(std::uint64_t hash, std::uint64_t secret) const noexcept;

    // Of the process, chosen at the first use; 0 before it.
    static constinit std::atomic<std::uint64_t> secret_;

    Words words_{};
    std::size_t size_;
    std::string_view rest_;  ///< What the words have no room for, not folded.
};

inline std::uint32_t FoldedName::hash() const noexcept {
    const std::uint64_t first = secret();
    const std::uint64_t second = first * 0xD6E8FEB86659FD93U;
    std::uint64_t hash = mixed(words_[0] ^ first, words_[1] ^ second);
    if (size_ > 2 * wordSize) {
        hash ^= mixed(words_[2] ^ (first + second), words_[3] ^ hash);
        if (!rest_.empty()) {
            hash = withRest(hash, second);
        }
    }
    const auto narrow = static_cast<std::uint32_t>(hash ^ (hash >> 32U));
    return narrow != 0 ? narrow : 1;
}

}  // namespace foundation::httpclient_core
