#pragma once
#include <ios>
#include <iosfwd>
#include <string>
#include <string_view>

/// The only place of the library that moves the positions of body streams or repairs their state.
namespace foundation::httpclient_core::support {

/// What writePosition answers for a stream that has no position.
inline constexpr std::streamoff unknownPosition = -1;

/// Makes the next read start at position 0, also after a read to the end. A stream that cannot seek is
/// left with failbit set, which tells the reader that nothing can be sent.
void rewind(std::istream& stream);

/// Takes the text from the read position to the end. Leaves the state bits alone: an eofbit on a
/// stream that is written as well would make its next write vanish without a sign.
std::string readRest(std::istream& stream);

/// The whole text from position 0. Restores the read position and leaves the state bits alone. A
/// stream that cannot seek gives the rest from its read position, which is consumed.
std::string readWhole(std::istream& stream);

/// Writes at the write position, also when a reader met the end before. A stream with badbit set stays
/// as it is and takes nothing. A buffer that takes less than everything leaves badbit set; what it throws
/// comes out as well, with a part of the text written.
void write(std::ostream& stream, std::string_view data);

/// The write position, or unknownPosition where the stream cannot tell it or has badbit set.
std::streamoff writePosition(std::ostream& stream);

/// Makes the next write start at `position`; later writes replace what is there.
void seekWritePosition(std::ostream& stream, std::streamoff position);

}  // namespace foundation::httpclient_core::support
