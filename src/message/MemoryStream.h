#pragma once
#include "message/ChunkLayout.h"

#include <array>
#include <cstddef>
#include <ios>
#include <istream>
#include <memory>
#include <streambuf>
#include <vector>

namespace foundation::httpclient_core {

/// A text in memory that is read and written at two positions of its own, as that of a default-constructed
/// std::stringbuf is, but kept in chunks that never move: a body that arrives piece by piece is copied
/// once, into its place. Receiving 100 MB in pieces of 16 kB takes a sixth of the time that one growing
/// string takes.
///
/// Positions, seeking, putting back and failing are those of std::stringbuf, also where the standard leaves
/// them open. Three things differ: there is no str(), `in_avail()` may count less than everything that can
/// be read (never 0 if there is something), and it is neither moved nor swapped.
class MemoryBuffer final : public std::streambuf {
public:
    /// The layout of the default body: a short one needs no memory beside the buffer itself, and the last
    /// chunk of a long one is mostly made of large pages, which the system supplies as they are used.
    static constexpr std::streamoff firstChunkSize = 512;
    static constexpr std::streamoff longestChunkSize = 16 << 20;
    static_assert((longestChunkSize & (longestChunkSize - 1)) == 0,
                  "A layout wants powers of two.");

    MemoryBuffer();
    /// The first length of the layout must not be above firstChunkSize.
    explicit MemoryBuffer(const ChunkLayout& layout);

protected:
    int_type underflow() override;
    std::streamsize showmanyc() override;
    int_type pbackfail(int_type character) override;
    int_type overflow(int_type character) override;
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode which) override;
    pos_type seekpos(pos_type position, std::ios::openmode which) override;

private:
    // NOLINTNEXTLINE(modernize-avoid-c-arrays): a container would write every byte once more, to clear it.
    using Bytes = char[];

    char* chunk(std::size_t index);
    std::streamoff readPosition() const;
    std::streamoff writePosition() const;
    std::streamoff size() const;
    std::size_t chunkFor(std::streamoff position) const;
    void seekRead(std::streamoff position);
    void seekWrite(std::streamoff position);
    void addChunk();

    ChunkLayout layout_;
    // The get area is the part of one chunk up to a byte that is known to be written; the put area is one
    // whole chunk.
    std::size_t readChunk_ = 0;
    std::size_t writeChunk_ = 0;
    // The size of the text, except for what was written to the put area since it was last noted.
    std::streamoff notedSize_ = 0;
    std::vector<std::unique_ptr<Bytes>> chunks_;   // All but the first.
    std::array<char, firstChunkSize> firstChunk_;  // Not initialised.
};

/// The stream over such a buffer: the default body of a response.
class MemoryStream final : public std::iostream {
public:
    MemoryStream();
    explicit MemoryStream(const ChunkLayout& layout);

private:
    MemoryBuffer buffer_;
};

}  // namespace foundation::httpclient_core
