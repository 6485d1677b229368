#pragma once
#include <string_view>

namespace foundation::httpclient_curl {

/// Tells whether libcurl is about to repeat a request because the server refused its HTTP/2 stream: with
/// GOAWAY, which names the last stream that was worked on, or with REFUSED_STREAM. Then nothing was done
/// with the request (RFC 9113 8.7). Where a connection breaks instead, nobody knows.
///
/// libcurl tells by nothing but the texts for its log: a broken connection is preceded by a message, a
/// refused stream is not. Any text that is not known counts as a message, so that a libcurl that writes
/// others repeats nothing.
class StreamWatch {
public:
    /// Takes the next text.
    void addText(std::string_view text);
    /// Whether the repetition that was announced last is for a refused stream.
    bool wasRefused() const noexcept { return refused_; }

private:
    bool undisturbed_ = false;  ///< A stream is open, and nothing was said of it since.
    bool refused_ = false;
};

}  // namespace foundation::httpclient_curl
