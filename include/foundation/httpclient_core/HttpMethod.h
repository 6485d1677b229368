#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstdint>
#include <iosfwd>
#include <string>
namespace foundation::httpclient_core {
enum class HttpMethod : std::int32_t {
    GET = 0,
    POST = 1,
    DELETE = 2,
    PUT = 3,
    HEAD = 4,
    PATCH = 5
};
FOUNDATION_HTTPCLIENT_CORE_API std::ostream& operator<<(std::ostream& os, HttpMethod method);
FOUNDATION_HTTPCLIENT_CORE_API HttpMethod createHttpMethod(const std::string& method);
}  // namespace foundation::httpclient_core
