#include "output/PositionedBuffer.h"

#include <algorithm>

namespace foundation::httpclient_tool {

PositionedBuffer::int_type PositionedBuffer::overflow(int_type character) {
    if (traits_type::eq_int_type(character, traits_type::eof())) {
        return traits_type::not_eof(character);
    }
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

PositionedBuffer::int_type PositionedBuffer::underflow() {
    const std::int64_t rest = end() - readPosition_;
    if (rest <= 0) {
        return traits_type::eof();
    }
    const auto wanted = std::min(static_cast<std::int64_t>(input_.size()), rest);
    const std::int64_t got = readAt(readPosition_, input_.data(), static_cast<std::size_t>(wanted));
    if (got <= 0) {
        return traits_type::eof();
    }
    readPosition_ += got;
    setg(input_.data(), input_.data(), input_.data() + got);
    return traits_type::to_int_type(*gptr());
}

PositionedBuffer::pos_type PositionedBuffer::seekoff(off_type offset,
                                                     std::ios_base::seekdir from,
                                                     std::ios_base::openmode which) {
    const bool writing = (which & std::ios_base::out) != 0;
    std::int64_t base = 0;
    if (from == std::ios_base::end) {
        base = end();
    } else if (from == std::ios_base::cur) {
        base = writing ? writePosition() : readPosition_ - (egptr() - gptr());
    }
    return seekpos(base + offset, which);
}

PositionedBuffer::pos_type PositionedBuffer::seekpos(pos_type position,
                                                     std::ios_base::openmode which) {
    const std::int64_t target = position;
    const bool reading = (which & std::ios_base::in) != 0;
    const bool writing = (which & std::ios_base::out) != 0;
    if (target < 0 || (reading && target > end()) || (writing && !moveWriting(target))) {
        return off_type(-1);
    }
    if (reading) {
        readPosition_ = target;
        setg(input_.data(), input_.data(), input_.data());
    }
    return target;
}

}  // namespace foundation::httpclient_tool
