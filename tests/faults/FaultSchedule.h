#pragma once
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// What tells the versions of a resource from each other. Two versions under the same validator differ in
/// nearly every byte; a client can only see that by comparing. Under different validators the later one
/// may differ in a single byte.
enum class Validators {
    None,
    StrongEtag,
    WeakEtag,
    ConstantWeakEtag,  ///< The same for every version, which a weak one may be.
    Date,              ///< Last-Modified, long ago: strong.
    ConstantDate       ///< The same for every version, which within a second it may be.
};

/// One version of the resource.
struct Version {
    std::string data;
    std::string etag;
    std::string modified;
    bool isCoded = false;  ///< Labelled with Content-Encoding.
};

enum class Framing { Length, Chunked, UntilClose };

/// What the server does to one request. Where a range is needed and none was asked for, or the other way
/// round, the answer is a good one.
enum class Fault {
    None,
    NoAnswer,
    CutHead,
    ErrorPage,
    Redirect,
    WholeAgain,        ///< 200 to a range.
    OtherOffset,       ///< 206 with true bytes of another offset.
    OtherTotal,        ///< 206 that claims a longer resource.
    UnknownTotal,      ///< 206 with the total "*".
    NoContentRange,    ///< 206 without it.
    BadContentRange,   ///< 206 with nonsense in it.
    ShorterPart,       ///< 206 of less than asked for.
    LongerPart,        ///< 206 of more than asked for.
    UnaskedPart,       ///< 206 although no range was asked for.
    SeveralParts,      ///< 206 as multipart/byteranges.
    BodyBelowRange,    ///< 206 with a whole body that is shorter than its Content-Range.
    BodyAboveRange,    ///< 206 with a whole body that is longer than its Content-Range.
    TwoRanges,         ///< 206 with a second Content-Range that says something else.
    LengthTooLong,     ///< Content-Length promises more than comes.
    TwoLengths,        ///< Two different Content-Length fields.
    OddCoding,         ///< A transfer coding that nobody asked for.
    LengthAndChunked,  ///< Content-Length beside chunks.
    BadChunk,          ///< The size of a chunk is no number.
    BytesBehind,       ///< Bytes behind the end of the answer.
    Informational,     ///< 1xx answers first.
    HeaderFlood,       ///< 1,500 header fields.
    Count
};

/// The answer to one request.
struct Step {
    Fault fault = Fault::None;
    std::size_t version = 0;
    Framing framing = Framing::Length;
    int status = 503;  ///< Of an error page.
    std::string retryAfter;
    std::optional<std::size_t> cutAfter;  ///< Body bytes; clipped to the body.
    bool resets = false;                  ///< Breaks off by a reset, not by an end of stream.
    bool stalls = false;                  ///< Does not break off but falls silent.
    bool ignoresIfRange = false;
    bool omitsValidators = false;
    bool omitsDate = false;
    bool omitsAcceptRanges = false;
    bool isOldProtocol = false;  ///< HTTP/1.0
    bool closes = false;         ///< Closes the connection after a whole answer.
    int delayMs = 0;
    std::size_t number = 0;  ///< Any number, for what the fault has to choose.
};

enum class BodyStream {
    Default,    ///< What the client uses by itself.
    Readable,   ///< A std::stringstream.
    WriteOnly,  ///< Nothing can be read back.
    Prefixed,   ///< A std::stringstream with something before the body.
    File        ///< A std::fstream, with one position for reading and writing.
};

/// All that happens to one request. Everything follows from the seed.
struct Schedule {
    std::uint64_t seed = 0;
    Validators validators = Validators::None;
    std::vector<Version> versions;
    std::vector<Step> steps;  ///< After them the server answers well, with the version of the last.
    std::string callersRange;
    BodyStream stream = BodyStream::Default;
    bool isAsynchronous = false;
    bool hasProgress = false;
    bool usesResumingStrategy = false;

    bool stalls() const;
};

/// The part of a resource that a Range field means; nothing for no or a bad range. The last byte is
/// clipped to the size, so that it is before the first for a range that cannot be satisfied.
struct Slice {
    std::size_t first = 0;
    std::size_t end = 0;
};
std::optional<Slice> sliceOf(std::string_view range, std::size_t size);

/// An HTTP-date.
std::string httpDate(std::int64_t secondsFromNow);

Schedule makeSchedule(std::uint64_t seed);

/// All of it but the data, for the report of a failure.
std::ostream& operator<<(std::ostream& os, const Schedule& schedule);

}  // namespace foundation::httpclient_curl::testing
