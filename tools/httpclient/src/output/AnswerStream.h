#pragma once
#include "output/Destination.h"
#include "output/PositionedBuffer.h"

#include <functional>
#include <iostream>
#include <memory>

namespace foundation::httpclient_tool {

/// The body of one answer on its way to a destination, as a response stream factory hands it out. Position
/// 0 is the first byte of the answer.
///
/// While nothing was written it cannot tell its position. So whoever wants an empty body must replace it by
/// a new one, which then knows the head of the answer it is made for; a stream made for one answer would
/// otherwise take the bytes of another, an error page say.
class AnswerBuffer final : public PositionedBuffer {
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
    std::streamsize xsputn(const char* bytes, std::streamsize count) override;
    std::int64_t readAt(std::int64_t position, char* bytes, std::size_t capacity) override;
    std::int64_t end() const override { return written_; }
    std::int64_t writePosition() const override { return written_; }
    bool moveWriting(std::int64_t position) override;

private:
    std::shared_ptr<Destination> destination_;
    std::uint64_t ticket_ = 0;
    std::int64_t offset_ = 0;
    std::function<bool()> isCurrent_;
    std::int64_t written_ = 0;
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
