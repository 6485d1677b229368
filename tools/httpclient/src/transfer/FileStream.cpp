#include "transfer/FileStream.h"

#include <string_view>
#include <utility>

namespace foundation::httpclient_tool {

FileBuffer::FileBuffer(std::shared_ptr<BodyFile> file) noexcept : file_(std::move(file)) {}

std::streamsize FileBuffer::xsputn(const char* bytes, std::streamsize count) {
    if (!file_->write(writePosition_, {bytes, static_cast<std::size_t>(count)})) {
        return 0;
    }
    writePosition_ += count;
    return count;
}

std::int64_t FileBuffer::readAt(std::int64_t position, char* bytes, std::size_t capacity) {
    return file_->read(position, bytes, capacity);
}

bool FileBuffer::moveWriting(std::int64_t position) {
    writePosition_ = position;
    return true;
}

// The buffer does not exist yet when the base class is made; setting it later clears the state.
FileStream::FileStream(std::shared_ptr<BodyFile> file)
    : std::iostream(nullptr), buffer_(std::move(file)) {
    rdbuf(&buffer_);
}

}  // namespace foundation::httpclient_tool
