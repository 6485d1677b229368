#pragma once
#include <ios>
#include <iosfwd>
#include <string_view>

/// Positions and state of the streams that hold request and response bodies.
namespace foundation::httpclient_curl {

inline constexpr std::streamoff unknownPosition = -1;

/// The write position, or unknownPosition where the stream cannot tell it or is broken.
std::streamoff writePosition(std::ostream& stream);
/// Writes at the write position, also when a reader met the end before. False when the stream refuses.
bool writeTo(std::ostream& stream, std::string_view data);
/// The read position, or unknownPosition.
std::streamoff readPosition(std::istream& stream);
/// Makes the next read start at `position`. False where the stream cannot seek.
bool seekRead(std::istream& stream, std::streamoff position);

}  // namespace foundation::httpclient_curl
