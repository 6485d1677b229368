#include "resume/Overlap.h"

#include "request/BodyStream.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <algorithm>
#include <iostream>
#include <streambuf>

namespace foundation::httpclient_curl {

std::optional<Overlap> Overlap::before(std::iostream& body, std::streamoff position) {
    std::streambuf* buffer = body.rdbuf();
    const std::streamoff reader = readPosition(body);
    if (buffer == nullptr || reader == unknownPosition || position < length ||
        buffer->pubseekpos(position - length, std::ios::in) != std::streampos(position - length)) {
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(length), '\0');
    const std::streamsize got = buffer->sgetn(bytes.data(), length);
    // Both back, the write position last: in files the two are one.
    buffer->pubseekpos(reader, std::ios::in);
    buffer->pubseekpos(position, std::ios::out);
    if (writePosition(body) != position) {
        throw httpclient_core::HttpRequestFailedException(
            "The response body stream lost its write position");
    }
    return got == length ? std::optional(Overlap(std::move(bytes))) : std::nullopt;
}

bool Overlap::compare(std::string_view& data) {
    const std::size_t size = std::min(data.size(), bytes_.size() - compared_);
    if (std::string_view(bytes_).substr(compared_, size) != data.substr(0, size)) {
        return false;
    }
    compared_ += size;
    data.remove_prefix(size);
    return true;
}

}  // namespace foundation::httpclient_curl
