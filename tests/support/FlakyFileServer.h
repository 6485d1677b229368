#pragma once
#include "tests/support/LoopbackServer.h"

#include <cstdint>
#include <string>

namespace foundation::httpclient_core::testing {

/// Serves one file of pseudo-random bytes at every path, with a strong ETag, Accept-Ranges, Range and
/// If-Range, and breaks the connection in the middle of the body of the first few responses.
class FlakyFileServer {
public:
    struct Options {
        std::size_t size = 1024 * 1024;
        std::size_t dropAfter = 0;       ///< Body bytes sent before the connection breaks.
        int drops = 0;                   ///< How many responses break.
        std::size_t bytesPerSecond = 0;  ///< 0: as fast as it goes.
        std::uint32_t seed = 1;
    };

    explicit FlakyFileServer(const Options& options);

    const std::string& content() const noexcept { return content_; }
    std::string url() const { return server_.url("/file.bin"); }
    std::uint16_t port() const noexcept { return server_.port(); }
    std::vector<ReceivedRequest> requests() const { return server_.requests(); }

private:
    void answer(const ReceivedRequest& request, Connection& connection);
    void sendBody(std::string_view body, Connection& connection, bool breaks) const;

    Options options_;
    std::string content_;
    std::string etag_;
    LoopbackServer server_;
};

}  // namespace foundation::httpclient_core::testing
