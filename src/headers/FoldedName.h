#pragma once
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

namespace foundation::httpclient_core {

/// The last 32 bytes of a name, eight in a word, the last ones first.
///
/// Counted from the end, because a name has often just been copied: text is copied in pieces that overlap at
/// their beginnings, and reading across two pieces waits for both to reach the memory.
using NameWords = std::array<std::uint64_t, 4>;

constexpr std::size_t nameWordBytes = sizeof(NameWords);

namespace name_words {

constexpr std::size_t wordSize = sizeof(std::uint64_t);

constexpr std::uint64_t inEveryByte(unsigned char byte) noexcept {
    return 0x0101010101010101U * byte;
}

/// The ASCII letters of a word in lower case, all eight bytes at once: the sums carry into the top bit of a
/// byte where it is "A" or above, and above "Z"; bytes with the top bit set themselves are left alone.
constexpr std::uint64_t folded(std::uint64_t word) noexcept {
    const std::uint64_t low = word & inEveryByte(0x7F);
    const std::uint64_t fromA = low + inEveryByte(0x80 - 'A');
    const std::uint64_t aboveZ = low + inEveryByte(0x7F - 'Z');
    const std::uint64_t isCapital = fromA & ~aboveZ & ~word & inEveryByte(0x80);
    return word | (isCapital >> 2U);
}

/// Not zero if a byte of the word is.
constexpr std::uint64_t zeroBytes(std::uint64_t word) noexcept {
    return (word - inEveryByte(1)) & ~word & inEveryByte(0x80);
}

template <class Integer>
std::uint64_t load(const char* bytes) noexcept {
    Integer value{};
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// Up to seven bytes as a number.
inline std::uint64_t loadShort(const char* bytes, std::size_t count) noexcept {
    std::uint64_t word = 0;
    if ((count & 4U) != 0) {
        word = load<std::uint32_t>(bytes + count - 4);
    }
    if ((count & 2U) != 0) {
        word = (word << 16U) | load<std::uint16_t>(bytes + (count & 1U));
    }
    return (count & 1U) != 0 ? (word << 8U) | load<std::uint8_t>(bytes) : word;
}

/// The eight bytes before the last `after` ones; fewer at the beginning of the text, filled up with zeros.
/// Notes in `zeros` whether there is a NUL among them.
inline std::uint64_t word(std::string_view text, std::size_t after, std::uint64_t& zeros) noexcept {
    if (text.size() >= after + wordSize) {
        const auto word = load<std::uint64_t>(text.data() + (text.size() - after - wordSize));
        zeros |= zeroBytes(word);
        return word;
    }
    if (text.size() > after) {
        const std::size_t count = text.size() - after;
        // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the size is given as well
        const std::uint64_t word = loadShort(text.data(), count);
        zeros |= zeroBytes(word | (~std::uint64_t{0} << (8 * count)));
        return word;
    }
    return 0;
}

}  // namespace name_words

/// A text of a size that is known otherwise, or null.
// NOLINTNEXTLINE(modernize-avoid-c-arrays): a string takes four times the room in each entry.
using SizedText = std::unique_ptr<char[]>;

/// A name as look-ups see it, up to its first NUL, read into registers but not folded yet: enough to say of
/// most names that they are in no collection. Refers to the text. Inline, because a call costs a tenth of a
/// look-up.
class SoughtName {
public:
    // NOLINTNEXTLINE(misc-no-recursion): once at most, what upToNul() leaves has no NUL
    [[gnu::always_inline]] explicit SoughtName(std::string_view name) noexcept
        : size_(name.size()) {
        using name_words::wordSize;
        std::uint64_t zeros = 0;
        words_[0] = name_words::word(name, 0, zeros);
        if (size_ > wordSize) {
            words_[1] = name_words::word(name, wordSize, zeros);
            if (size_ > 2 * wordSize) {
                words_[2] = name_words::word(name, 2 * wordSize, zeros);
                words_[3] = name_words::word(name, 3 * wordSize, zeros);
            }
        }
        if (size_ > nameWordBytes) [[unlikely]] {
            rest_ = name.substr(0, size_ - nameWordBytes);
            zeros |= rest_.find('\0') != std::string_view::npos ? 1U : 0U;
        }
        if (zeros != 0) [[unlikely]] {
            *this = upToNul(name);
        }
    }

    const NameWords& words() const noexcept { return words_; }
    /// What stands before the words.
    std::string_view rest() const noexcept { return rest_; }
    std::size_t size() const noexcept { return size_; }
    /// A number that is equal for equal names and seldom for others, at the cost of one multiplication.
    /// Never 0. Anybody can make names of one tag, so nothing but a small constant may depend on it.
    std::uint32_t tag() const noexcept {
        // Folds more than letters; that is good enough here.
        constexpr std::uint64_t caseBits = name_words::inEveryByte(0x20);
        const std::uint64_t sum = (words_[0] | caseBits) ^ std::rotl(words_[1] | caseBits, 23) ^
                                  std::rotl(words_[2] | caseBits, 41) ^ size_;
        return static_cast<std::uint32_t>((sum * 0x9E3779B97F4A7C15U) >> 32U) | 1U;
    }

private:
    static SoughtName upToNul(std::string_view name) noexcept;

    NameWords words_{};
    std::size_t size_;
    std::string_view rest_;
};

/// A name with its ASCII letters in lower case. Kept as words, so that two names of up to 32 bytes are
/// compared by four instructions: look-ups take a third of the time that they take in a tree of texts.
class FoldedName {
public:
    /// Refers to the same text.
    [[gnu::always_inline]] explicit FoldedName(const SoughtName& name) noexcept
        : words_{name_words::folded(name.words()[0]), name_words::folded(name.words()[1]),
                 name_words::folded(name.words()[2]), name_words::folded(name.words()[3])},
          size_(name.size()),
          rest_(name.rest()) {}

    const NameWords& words() const noexcept { return words_; }
    bool hasWords(const NameWords& words) const noexcept {
        // Without a call and without a branch for each.
        return ((words_[0] ^ words[0]) | (words_[1] ^ words[1]) | (words_[2] ^ words[2]) |
                (words_[3] ^ words[3])) == 0;
    }
    /// A folded copy of what stands before the words; null where nothing does. Throws std::bad_alloc.
    SizedText copyRest() const { return rest_.empty() ? nullptr : foldedRest(); }
    /// Whether such a copy, of a name of this size, holds the same.
    bool hasRest(const char* foldedRest) const noexcept;
    std::size_t size() const noexcept { return size_; }
    /// Equal for equal names, and different from one process to the next: names come from the network, and
    /// nobody there shall be able to choose names that collide.
    std::uint64_t hash() const noexcept;

private:
    SizedText foldedRest() const;

    NameWords words_;
    std::size_t size_;
    std::string_view rest_;  ///< Not folded.
};

/// The same hash of a name that is stored: its words, and what stands before them.
std::uint64_t nameHash(const NameWords& words, std::string_view rest) noexcept;

}  // namespace foundation::httpclient_core
