#pragma once
#include <cstdint>
namespace foundation::httpclient_core {
struct RetryBackoffOptions {
    std::int32_t backoffBase = 0;   // ms
    std::int64_t maxBackoff = 120;  // s
    std::int64_t minJitter = 0;     // ms
    std::int64_t maxJitter = 0;     // ms
    bool useRetryAfter = true;
};
}  // namespace foundation::httpclient_core
