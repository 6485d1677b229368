#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstdint>
#include <iosfwd>
#include <string>
namespace foundation::httpclient_core {

/// The method of a request (RFC 9110, section 9; PATCH: RFC 5789).
///
/// There are exactly these six. OPTIONS, TRACE and CONNECT are left out deliberately. The value is 32 bits
/// wide and any of its numbers can be held; one that names no method prints as `UNKNOWN`.
///
/// @par Thread safety
/// thread-safe
///
/// @par Example
/// Into text and back:
/// @code{.cpp}
/// std::ostringstream text;
/// text << HttpMethod::PATCH << ' ' << HttpMethod{6};
/// assert(text.str() == "PATCH UNKNOWN");
/// assert(createHttpMethod("PUT") == HttpMethod::PUT);
/// @endcode
enum class HttpMethod : std::int32_t {
    GET = 0,     ///< Fetches the resource.
    POST = 1,    ///< Hands the body to the resource.
    DELETE = 2,  ///< Removes the resource.
    PUT = 3,     ///< Replaces the resource with the body.
    HEAD = 4,    ///< As GET, without the body of the response.
    PATCH = 5    ///< Changes a part of the resource.
};

/// Writes the name of the method in capitals, or `UNKNOWN` for any value that is not listed; returns the
/// stream.
FOUNDATION_HTTPCLIENT_CORE_API std::ostream& operator<<(std::ostream& os, HttpMethod method);

/// Returns the method with this name, which must be spelled exactly so: `"get"` and `" GET"` are not found.
/// @throws std::out_of_range "invalid map<K, T> key" if there is none. Nothing is logged.
FOUNDATION_HTTPCLIENT_CORE_API HttpMethod createHttpMethod(const std::string& method);
}  // namespace foundation::httpclient_core
