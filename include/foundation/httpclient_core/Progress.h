#pragma once
#include <foundation/httpclient_core/ProgressResult.h>

#include <cstdint>
#include <functional>
namespace foundation::httpclient_core {
struct Progress {
    std::int64_t downloadTotal =
        0;                        // response body bytes expected, 0 = unknown   (shifted on resume)
    std::int64_t downloaded = 0;  // response body bytes received so far         (shifted on resume)
    std::int64_t uploadTotal = 0;  // request body bytes to send, 0 = unknown
    std::int64_t uploaded = 0;
};
using ProgressCallback = std::function<ProgressResult(const Progress&)>;
}  // namespace foundation::httpclient_core
