#pragma once
#include <bit>
#include <cstddef>
#include <cstdint>
#include <ios>

namespace foundation::httpclient_core {

/// Where the chunks of a text lie that grows without moving: each is four times as long as the one before
/// it until they reach the longest length, which all others have. Pure arithmetic in 64 bits, so that a
/// position finds its chunk without a search, however long the text is.
class ChunkLayout {
public:
    /// Both lengths are powers of two, `first` not above `longest`.
    constexpr ChunkLayout(std::streamoff first, std::streamoff longest)
        : first_(first), longest_(longest) {
        while (growingSize(growing_) < longest_) {
            ++growing_;
        }
    }

    /// The length of a chunk.
    constexpr std::streamoff sizeOf(std::size_t index) const {
        return index < growing_ ? growingSize(index) : longest_;
    }

    /// The position of a chunk's first byte.
    constexpr std::streamoff startOf(std::size_t index) const {
        return index < growing_ ? growingStart(index)
                                : growingStart(growing_) +
                                      (static_cast<std::streamoff>(index - growing_) * longest_);
    }

    /// The chunk that holds the byte at this position, which is not negative.
    constexpr std::size_t indexOf(std::streamoff position) const {
        const std::streamoff tail = position - growingStart(growing_);
        if (tail >= 0) {
            return growing_ + static_cast<std::size_t>(tail / longest_);
        }
        // Chunk i begins at (4^i - 1) / 3 first lengths: growingStart, solved for i.
        const auto power = (static_cast<std::uint64_t>(position / first_) * 3) + 1;
        return (std::bit_width(power) - 1) / 2;
    }

private:
    constexpr std::streamoff growingSize(std::size_t index) const { return first_ << (2 * index); }
    constexpr std::streamoff growingStart(std::size_t index) const {
        return (growingSize(index) - first_) / 3;
    }

    std::streamoff first_;
    std::streamoff longest_;
    std::size_t growing_ = 0;  // How many chunks are shorter than the longest.
};

}  // namespace foundation::httpclient_core
