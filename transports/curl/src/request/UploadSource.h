#pragma once
#include <cstddef>
#include <cstdint>
#include <ios>
#include <iosfwd>
#include <optional>

namespace foundation::httpclient_curl {

/// Reads the request body of one attempt from the stream of the request.
class UploadSource {
public:
    /// Throws HttpRequestFailedException for a stream that has failed already, such as one that could
    /// not be rewound.
    UploadSource(std::istream& stream, std::optional<std::int64_t> length);

    /// Fills the buffer; 0 at the end of the body. A stream longer than the declared length is cut.
    /// Throws HttpRequestFailedException when the stream ends before the declared length.
    std::size_t read(char* buffer, std::size_t size);
    /// Back to where the attempt began reading. False where the stream cannot seek.
    bool rewind();

    /// The declared length, or -1 for a body that is sent in chunks.
    std::int64_t length() const noexcept { return length_; }
    std::int64_t taken() const noexcept { return taken_; }
    bool isFinished() const noexcept { return finished_; }

private:
    std::istream& stream_;
    std::int64_t length_;
    std::streamoff start_;
    std::int64_t taken_ = 0;
    bool finished_;
};

}  // namespace foundation::httpclient_curl
