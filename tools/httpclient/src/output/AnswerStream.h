#pragma once
#include "output/Destination.h"

#include <array>
#include <functional>
#include <iostream>
#include <memory>
#include <streambuf>

namespace foundation::httpclient_tool {

/// The body of one answer on its way to a destination, as a response stream factory hands it out. Position
/// 0 is the first byte of the answer.
///
/// While nothing was written it cannot tell its position. So whoever wants an empty body must replace it by
/// a new one, which then knows the head of the answer it is made for; a stream made for one answer would
/// otherwise take the bytes of another, an error page say.
class AnswerBuffer final : public std::streambuf {
public:
    /// Writes nowhere.
    AnswerBuffer() = default;
    /// Writes to a body that has begun at `offset` with this ticket. `isCurrent` tells before the first
    /// byte whether the head is still that of the answer which the stream was made for.
    AnswerBuffer(std::shared_ptr<Destination> destination,
                 std::uint64_t ticket,
                 std::int64_t offset,
                 std::function<bool()> isCurrent);

protected:
    int_type overflow(int_type character) override;
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    int_type underflow() override;
    pos_type seekoff(off_type offset,
                     std::ios_base::seekdir from,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    std::shared_ptr<Destination> destination_;
    std::uint64_t ticket_ = 0;
    std::int64_t offset_ = 0;
    std::function<bool()> isCurrent_;
    off_type written_ = 0;
    off_type readPosition_ = 0;  ///< Of the end of the bytes in `input_`.
    std::array<char, 16384> input_{};
};

/// A stream over an `AnswerBuffer`.
class AnswerStream final : public std::iostream {
public:
    /// Takes everything and keeps nothing: for the bodies of answers that are no success.
    AnswerStream();
    AnswerStream(std::shared_ptr<Destination> destination,
                 std::uint64_t ticket,
                 std::int64_t offset,
                 std::function<bool()> isCurrent);

private:
    AnswerBuffer buffer_;
};

}  // namespace foundation::httpclient_tool
