#include "support/Streams.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ios>
#include <iosfwd>
#include <istream>
#include <ostream>
#include <streambuf>
#include <string>
#include <string_view>

namespace foundation::httpclient_core::support {
namespace {

std::string readRest(std::streambuf& buffer) {
    std::string text;
    std::array<char, 4096> chunk;
    const auto wanted = static_cast<std::streamsize>(chunk.size());
    // A buffer that knows how much there is saves the text from growing: half of the time of a long one.
    // Within limits: what a caller's own buffer claims may be anything.
    constexpr std::streamsize mostBelieved = 1 << 28;
    if (const std::streamsize known = buffer.in_avail(); known > wanted) {
        text.reserve(static_cast<std::size_t>(std::min(known, mostBelieved)));
    }
    for (;;) {
        const std::streamsize got = buffer.sgetn(chunk.data(), wanted);
        // Less than 0 is against the rules, but some buffers give it at their end.
        if (got <= 0) {
            return text;
        }
        text.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

void dropEofAndFail(std::ios& stream) {
    stream.clear(stream.rdstate() & std::ios::badbit);
}

// Within a handler, where another error is on its way already.
void markBad(std::ios& stream) {
    try {
        stream.setstate(std::ios::badbit);
        // NOLINTNEXTLINE(bugprone-empty-catch): the bit is set all the same
    } catch (const std::ios::failure&) {
    }
}

}  // namespace

void rewind(std::istream& stream) {
    stream.clear();
    stream.seekg(0);
}

std::string readRest(std::istream& stream) {
    std::streambuf* buffer = stream.rdbuf();
    return buffer != nullptr ? readRest(*buffer) : std::string();
}

std::string readWhole(std::istream& stream) {
    std::streambuf* buffer = stream.rdbuf();
    if (buffer == nullptr) {
        return {};
    }
    const std::streampos position = buffer->pubseekoff(0, std::ios::cur, std::ios::in);
    if (position == std::streampos(-1) ||
        buffer->pubseekpos(0, std::ios::in) == std::streampos(-1)) {
        return readRest(*buffer);
    }
    std::string text = readRest(*buffer);
    buffer->pubseekpos(position, std::ios::in);
    return text;
}

void write(std::ostream& stream, std::string_view data) {
    dropEofAndFail(stream);
    const std::ostream::sentry ready(stream);
    if (!ready) {
        return;
    }
    // Not by stream.write(), which keeps it to itself when the buffer has no memory: a text that was cut off
    // would pass for a whole one.
    const auto size = static_cast<std::streamsize>(data.size());
    try {
        // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the size is given as well
        if (stream.rdbuf()->sputn(data.data(), size) != size) {
            stream.setstate(std::ios::badbit);
        }
    } catch (...) {
        markBad(stream);
        throw;
    }
}

std::streamoff writePosition(std::ostream& stream) {
    dropEofAndFail(stream);
    return stream.tellp();
}

void seekWritePosition(std::ostream& stream, std::streamoff position) {
    stream.clear();
    stream.seekp(position);
}

}  // namespace foundation::httpclient_core::support
