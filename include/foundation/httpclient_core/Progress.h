#pragma once
#include <foundation/httpclient_core/ProgressResult.h>

#include <cstdint>
#include <functional>
namespace foundation::httpclient_core {

/// How far a transfer has come, in bytes of the bodies.
///
/// When a download is resumed the transport counts from where it resumed. The client then adds the
/// bytes that were there already to downloadTotal and to downloaded, before the callback sees them:
/// to both, so that an unknown total of 0 shows as the number of those bytes. Each further resume
/// of the same request adds its own offset to what the earlier ones added, so that from the second
/// resume on the two numbers are too high.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Progress written to the terminal:
/// @code{.cpp}
/// HttpRequest request(HttpMethod::GET, "http://example.com/", {});
/// request.setProgressCallback([](const Progress& progress) {
///     std::cerr << progress.downloaded << " of " << progress.downloadTotal << "\n";
///     return ProgressResult::Continue;
/// });
/// assert(request.getProgressCallback()(Progress{.downloadTotal = 10, .downloaded = 5}) ==
///        ProgressResult::Continue);
/// @endcode
struct Progress {
    /// Bytes of the response body expected; 0 if unknown. Shifted on resume.
    std::int64_t downloadTotal = 0;
    /// Bytes of the response body received so far. Shifted on resume.
    std::int64_t downloaded = 0;
    /// Bytes of the request body to send; 0 if unknown or if there is none.
    std::int64_t uploadTotal = 0;
    /// Bytes of the request body sent so far.
    std::int64_t uploaded = 0;
};

/// Is told of the progress and says whether the attempt goes on. See
/// HttpRequest::setProgressCallback() for the thread it runs on.
using ProgressCallback = std::function<ProgressResult(const Progress&)>;

}  // namespace foundation::httpclient_core
