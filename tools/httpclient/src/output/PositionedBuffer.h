#pragma once
#include <array>
#include <cstdint>
#include <streambuf>

namespace foundation::httpclient_tool {

/// A stream buffer over bytes with positions, one for writing and one for reading. What is written is handed
/// on at once, so that no error can come late; what is read is kept in a buffer. Reading starts at 0.
class PositionedBuffer : public std::streambuf {
protected:
    /// Bytes from a position below `end()` on; 0 or less when there are none.
    virtual std::int64_t readAt(std::int64_t position, char* bytes, std::size_t capacity) = 0;
    /// One position behind the last byte that can be read.
    virtual std::int64_t end() const = 0;
    virtual std::int64_t writePosition() const = 0;
    /// Moves the position for writing. False, and nothing moves, where that cannot be.
    virtual bool moveWriting(std::int64_t position) = 0;

    int_type overflow(int_type character) override;
    int_type underflow() override;
    /// Each way of seeking ends here. Positions behind `end()` cannot be read from.
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;
    pos_type seekoff(off_type offset,
                     std::ios_base::seekdir from,
                     std::ios_base::openmode which) override;

private:
    std::int64_t readPosition_ = 0;  ///< Of the end of the bytes in `input_`.
    std::array<char, 16384> input_{};
};

}  // namespace foundation::httpclient_tool
