#pragma once
#include "response/HeaderBlock.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What decides where the body of an answer ends. libcurl is lenient here: it takes the last of several
/// lengths, the digits that it finds at the beginning of one, and a chunk of no size for the last one.
namespace foundation::httpclient_curl {

struct Framing {
    std::string
        flaw;  ///< What makes the end of the body doubtful, for a message; empty for nothing.
    std::optional<std::int64_t> length;  ///< Declared, if it is and there is no flaw.
    bool isChunked = false;
};

/// What the header of an answer says about the end of its body.
Framing framingOf(const HeaderBlock& block);

/// Reads along in a chunked body as it came over the wire (RFC 9112, 7.1). Lines end with CR LF here, and
/// nothing else: a chunk whose size is off by one may be followed by half of that.
class ChunkCheck {
public:
    /// Takes the next bytes. False once they are no chunked body, and ever after.
    bool add(std::string_view bytes);
    /// Whether the end has come, with the empty line behind the trailers.
    bool isComplete() const noexcept { return place_ == Place::Done; }

private:
    enum class Place {
        Size,
        AfterSize,
        Extension,
        SizeEnd,
        Data,
        DataEnd,
        DataEndFeed,
        Trailers,
        TrailerLine,
        LastFeed,
        Done,
        Flawed
    };

    Place next(char c);
    static Place afterSize(char c);

    Place place_ = Place::Size;
    std::uint64_t size_ = 0;
    int digits_ = 0;
    int lineLength_ = 0;
};

}  // namespace foundation::httpclient_curl
