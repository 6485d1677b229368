#include "transfer/FileStream.h"

#include <string_view>
#include <utility>

namespace foundation::httpclient_tool {

FileBuffer::FileBuffer(std::shared_ptr<BodyFile> file) noexcept : file_(std::move(file)) {}

FileBuffer::int_type FileBuffer::overflow(int_type character) {
    if (traits_type::eq_int_type(character, traits_type::eof())) {
        return traits_type::not_eof(character);
    }
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
}

std::streamsize FileBuffer::xsputn(const char* bytes, std::streamsize count) {
    if (!file_->write(writePosition_, {bytes, static_cast<std::size_t>(count)})) {
        return 0;
    }
    writePosition_ += count;
    return count;
}

FileBuffer::int_type FileBuffer::underflow() {
    const std::int64_t got = file_->read(readPosition_, input_.data(), input_.size());
    if (got <= 0) {
        return traits_type::eof();
    }
    readPosition_ += got;
    setg(input_.data(), input_.data(), input_.data() + got);
    return traits_type::to_int_type(*gptr());
}

FileBuffer::pos_type FileBuffer::seekoff(off_type offset,
                                         std::ios_base::seekdir from,
                                         std::ios_base::openmode which) {
    const bool writing = (which & std::ios_base::out) != 0;
    off_type base = 0;
    if (from == std::ios_base::end) {
        base = file_->size();
    } else if (from == std::ios_base::cur) {
        base = writing ? writePosition_ : readPosition_ - (egptr() - gptr());
    }
    return seekpos(base + offset, which);
}

FileBuffer::pos_type FileBuffer::seekpos(pos_type position, std::ios_base::openmode which) {
    const off_type target = position;
    if (target < 0) {
        return off_type(-1);
    }
    if ((which & std::ios_base::out) != 0) {
        writePosition_ = target;
    }
    if ((which & std::ios_base::in) != 0) {
        readPosition_ = target;
        setg(input_.data(), input_.data(), input_.data());
    }
    return target;
}

// The buffer does not exist yet when the base class is made; setting it later clears the state.
FileStream::FileStream(std::shared_ptr<BodyFile> file)
    : std::iostream(nullptr), buffer_(std::move(file)) {
    rdbuf(&buffer_);
}

}  // namespace foundation::httpclient_tool
