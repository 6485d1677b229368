#include "output/AnswerStream.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

constexpr std::streamoff unknown = -1;

}  // namespace

AnswerBuffer::AnswerBuffer(std::shared_ptr<Destination> destination,
                           std::uint64_t ticket,
                           std::int64_t offset,
                           std::function<bool()> isCurrent)
    : destination_(std::move(destination)),
      ticket_(ticket),
      offset_(offset),
      isCurrent_(std::move(isCurrent)) {}

AnswerBuffer::int_type AnswerBuffer::overflow(int_type character) {
    if (traits_type::eq_int_type(character, traits_type::eof())) {
        return traits_type::not_eof(character);
    }
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

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

AnswerBuffer::int_type AnswerBuffer::underflow() {
    const off_type rest = written_ - readPosition_;
    if (rest <= 0) {
        return traits_type::eof();
    }
    const auto wanted = std::min(static_cast<off_type>(input_.size()), rest);
    const std::int64_t got = destination_->read(offset_ + readPosition_, input_.data(),
                                                static_cast<std::size_t>(wanted));
    if (got <= 0) {
        return traits_type::eof();
    }
    readPosition_ += got;
    setg(input_.data(), input_.data(), input_.data() + got);
    return traits_type::to_int_type(*gptr());
}

AnswerBuffer::pos_type AnswerBuffer::seekoff(off_type offset,
                                             std::ios_base::seekdir from,
                                             std::ios_base::openmode which) {
    const bool writing = (which & std::ios_base::out) != 0;
    off_type base = 0;
    if (from == std::ios_base::end || (from == std::ios_base::cur && writing)) {
        base = written_;
    } else if (from == std::ios_base::cur) {
        base = readPosition_ - (egptr() - gptr());
    }
    return seekpos(base + offset, which);
}

AnswerBuffer::pos_type AnswerBuffer::seekpos(pos_type position, std::ios_base::openmode which) {
    const off_type target = position;
    if (target < 0 || target > written_) {
        return unknown;
    }
    // What went out cannot be written over.
    if ((which & std::ios_base::out) != 0 && (written_ == 0 || target != written_)) {
        return unknown;
    }
    if ((which & std::ios_base::in) != 0) {
        readPosition_ = target;
        setg(input_.data(), input_.data(), input_.data());
    }
    return target;
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
