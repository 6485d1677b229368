#include "request/BodyStream.h"

#include <istream>
#include <ostream>
#include <streambuf>

namespace foundation::httpclient_curl {
namespace {

void dropEofAndFail(std::ios& stream) {
    stream.clear(stream.rdstate() & std::ios::badbit);
}

}  // namespace

std::streamoff writePosition(std::ostream& stream) {
    dropEofAndFail(stream);
    return stream.tellp();
}

bool writeTo(std::ostream& stream, std::string_view data) {
    dropEofAndFail(stream);
    return static_cast<bool>(stream.write(data.data(), static_cast<std::streamsize>(data.size())));
}

std::streamoff readPosition(std::istream& stream) {
    // Through the buffer: tellg answers nothing once a reader met the end.
    std::streambuf* buffer = stream.rdbuf();
    return buffer != nullptr ? std::streamoff(buffer->pubseekoff(0, std::ios::cur, std::ios::in))
                             : unknownPosition;
}

bool seekRead(std::istream& stream, std::streamoff position) {
    stream.clear();
    return position != unknownPosition && static_cast<bool>(stream.seekg(position));
}

}  // namespace foundation::httpclient_curl
