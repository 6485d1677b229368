#include "request/UploadSource.h"

#include "request/BodyStream.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <algorithm>
#include <istream>
#include <streambuf>
#include <string>

namespace foundation::httpclient_curl {

using httpclient_core::HttpRequestFailedException;

UploadSource::UploadSource(std::istream& stream, std::optional<std::int64_t> length)
    : stream_(stream),
      length_(length.value_or(-1)),
      start_(readPosition(stream)),
      finished_(length_ == 0) {
    if (stream.fail() || stream.rdbuf() == nullptr) {
        throw HttpRequestFailedException("The request body stream has failed");
    }
}

std::size_t UploadSource::read(char* buffer, std::size_t size) {
    auto wanted = static_cast<std::streamsize>(size);
    if (length_ >= 0) {
        wanted = std::min<std::streamsize>(wanted, length_ - taken_);
    }
    // Through the buffer: reading through the stream would set eofbit, and on a stream that is written
    // as well that bit makes the next write vanish without a sign.
    const std::streamsize got = stream_.rdbuf()->sgetn(buffer, wanted);
    taken_ += got;
    if (got == 0 && taken_ < length_) {
        throw HttpRequestFailedException("Request body ended after " + std::to_string(taken_) +
                                         " of " + std::to_string(length_) + " bytes");
    }
    finished_ = got == 0 || taken_ == length_;
    return static_cast<std::size_t>(got);
}

bool UploadSource::rewind() {
    taken_ = 0;
    finished_ = length_ == 0;
    return seekRead(stream_, start_);
}

}  // namespace foundation::httpclient_curl
