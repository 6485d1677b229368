#include "message/MemoryStream.h"

#include "message/ChunkLayout.h"
#include "message/LargePages.h"

#include <algorithm>
#include <cstddef>
#include <ios>
#include <istream>
#include <memory>

namespace foundation::httpclient_core {

MemoryBuffer::MemoryBuffer() : MemoryBuffer(ChunkLayout(firstChunkSize, longestChunkSize)) {}

MemoryBuffer::MemoryBuffer(const ChunkLayout& layout) : layout_(layout) {
    seekRead(0);
    seekWrite(0);
}

char* MemoryBuffer::chunk(std::size_t index) {
    return index == 0 ? firstChunk_.data() : chunks_[index - 1].get();
}

std::streamoff MemoryBuffer::readPosition() const {
    return layout_.startOf(readChunk_) + (gptr() - eback());
}

std::streamoff MemoryBuffer::writePosition() const {
    return layout_.startOf(writeChunk_) + (pptr() - pbase());
}

std::streamoff MemoryBuffer::size() const {
    return std::max(notedSize_, writePosition());
}

// The last chunk also holds the position behind it, until there is a next one.
std::size_t MemoryBuffer::chunkFor(std::streamoff position) const {
    return std::min(layout_.indexOf(position), chunks_.size());
}

void MemoryBuffer::seekRead(std::streamoff position) {
    readChunk_ = chunkFor(position);
    char* begin = chunk(readChunk_);
    char* next = begin + (position - layout_.startOf(readChunk_));
    // Empty, so that the next read asks underflow, which knows what is written by then.
    setg(begin, next, next);
}

void MemoryBuffer::seekWrite(std::streamoff position) {
    writeChunk_ = chunkFor(position);
    char* begin = chunk(writeChunk_);
    setp(begin, begin + layout_.sizeOf(writeChunk_));
    pbump(static_cast<int>(position - layout_.startOf(writeChunk_)));
}

void MemoryBuffer::addChunk() {
    const auto length = static_cast<std::size_t>(layout_.sizeOf(chunks_.size() + 1));
    if (chunks_.empty()) {
        // The places of all chunks of a body of up to 10 MiB at once.
        chunks_.reserve(8);
    }
    chunks_.push_back(std::make_unique_for_overwrite<Bytes>(length));
    preferLargePages(chunks_.back().get(), length);
}

MemoryBuffer::int_type MemoryBuffer::underflow() {
    const std::streamoff position = readPosition();
    const std::streamoff end = size();
    if (position >= end) {
        return traits_type::eof();
    }
    seekRead(position);
    const std::streamoff rest = layout_.startOf(readChunk_) + layout_.sizeOf(readChunk_) - position;
    setg(eback(), gptr(), gptr() + std::min(rest, end - position));
    return traits_type::to_int_type(*gptr());
}

std::streamsize MemoryBuffer::showmanyc() {
    return size() - readPosition();
}

MemoryBuffer::int_type MemoryBuffer::pbackfail(int_type character) {
    const std::streamoff position = readPosition();
    if (position == 0) {
        return traits_type::eof();
    }
    seekRead(position - 1);
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        // Deliberate: another character replaces the one that is there, since the text can be written.
        *gptr() = traits_type::to_char_type(character);
    }
    return traits_type::to_int_type(*gptr());
}

MemoryBuffer::int_type MemoryBuffer::overflow(int_type character) {
    // Called by the base alone, where the put area is full, and with a character: nobody can derive.
    if (writeChunk_ == chunks_.size()) {
        addChunk();
    }
    notedSize_ = size();
    seekWrite(writePosition());
    *pptr() = traits_type::to_char_type(character);
    pbump(1);
    return character;
}

MemoryBuffer::pos_type MemoryBuffer::seekoff(off_type offset,
                                             std::ios::seekdir from,
                                             std::ios::openmode which) {
    const bool both = (which & std::ios::in) != 0 && (which & std::ios::out) != 0;
    off_type base = 0;
    if (from == std::ios::cur) {
        // There is no one current position to move both from.
        if (both) {
            return {off_type(-1)};
        }
        base = (which & std::ios::in) != 0 ? readPosition() : writePosition();
    } else if (from == std::ios::end) {
        base = size();
    }
    // So rather than by the sum, which may not fit.
    if (offset < -base || offset > size() - base) {
        return {off_type(-1)};
    }
    return seekpos(base + offset, which);
}

MemoryBuffer::pos_type MemoryBuffer::seekpos(pos_type position, std::ios::openmode which) {
    const off_type offset(position);
    const bool nowhere = (which & (std::ios::in | std::ios::out)) == 0;
    if (nowhere || offset < 0 || offset > size()) {
        return {off_type(-1)};
    }
    notedSize_ = size();
    if ((which & std::ios::in) != 0) {
        seekRead(offset);
    }
    if ((which & std::ios::out) != 0) {
        seekWrite(offset);
    }
    return position;
}

// The buffer is attached afterwards: it does not exist while its bases are made.
MemoryStream::MemoryStream() : std::iostream(nullptr) {
    rdbuf(&buffer_);
}

MemoryStream::MemoryStream(const ChunkLayout& layout) : std::iostream(nullptr), buffer_(layout) {
    rdbuf(&buffer_);
}

}  // namespace foundation::httpclient_core
