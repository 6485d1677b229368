#pragma once
#include <foundation/httpclient_core/HttpResponse.h>

#include <chrono>
#include <optional>

namespace foundation::httpclient_curl {

/// How long a Retry-After field asks to wait.
struct RetryAfter {
    std::chrono::milliseconds wait{0};  ///< Never negative.
    bool isDate = false;

    /// A date counts from the Date field of the response where it has one, else from `now`: the clock of
    /// this machine may be wrong. Nothing for a success, and where the field is missing or senseless.
    static std::optional<RetryAfter> of(const httpclient_core::HttpResponse& response,
                                        std::chrono::system_clock::time_point now);
};

}  // namespace foundation::httpclient_curl
