#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <cstdint>
#include <string>

namespace foundation::httpclient_tool {

/// What the head of an answer tells about the body that comes: which version of which size, and whether
/// another process could go on with it later.
struct Entity {
    /// Strong (RFC 9110 section 8.8.1), as a value of If-Range: an ETag, or a Last-Modified date at least
    /// a minute older than the answer, so that no second version can have it. Empty where there is none.
    std::string validator;
    std::int64_t total = -1;  ///< Bytes of the whole; -1 where that is not known.
    /// A strong validator, a server that knows byte ranges, and bytes that are not coded.
    bool continuable = false;

    static Entity fromHead(httpclient_core::HttpResponseCode code,
                           const httpclient_core::HttpHeaders& headers);
};

}  // namespace foundation::httpclient_tool
