#include "output/AnswerStream.h"

#include <string_view>
#include <utility>

namespace foundation::httpclient_tool {

AnswerBuffer::AnswerBuffer(std::shared_ptr<Destination> destination,
                           std::uint64_t ticket,
                           std::int64_t offset,
                           std::function<bool()> isCurrent)
    : destination_(std::move(destination)),
      ticket_(ticket),
      offset_(offset),
      isCurrent_(std::move(isCurrent)) {}

std::streamsize AnswerBuffer::xsputn(const char* bytes, std::streamsize count) {
    if (destination_ == nullptr || count <= 0) {
        return count;
    }
    if ((written_ == 0 && !isCurrent_()) ||
        !destination_->append(ticket_, {bytes, static_cast<std::size_t>(count)})) {
        return 0;
    }
    written_ += count;
    return count;
}

std::int64_t AnswerBuffer::readAt(std::int64_t position, char* bytes, std::size_t capacity) {
    return destination_->read(offset_ + position, bytes, capacity);
}

// What went out cannot be written over, and before the first byte there is no position.
bool AnswerBuffer::moveWriting(std::int64_t position) {
    return written_ != 0 && position == written_;
}

// The buffer does not exist yet when the base class is made; setting it later clears the state.
AnswerStream::AnswerStream() : std::iostream(nullptr) {
    rdbuf(&buffer_);
}

AnswerStream::AnswerStream(std::shared_ptr<Destination> destination,
                           std::uint64_t ticket,
                           std::int64_t offset,
                           std::function<bool()> isCurrent)
    : std::iostream(nullptr),
      buffer_(std::move(destination), ticket, offset, std::move(isCurrent)) {
    rdbuf(&buffer_);
}

}  // namespace foundation::httpclient_tool
