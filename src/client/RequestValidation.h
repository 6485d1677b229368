#pragma once
#include <foundation/httpclient_core/Fwd.h>

namespace foundation::httpclient_core {

/// Refuses a request whose body could not be framed: a body stream needs a Content-Length or a
/// Transfer-Encoding header, and both together only where the coding is exactly "identity". Throws
/// std::logic_error; a request without a body stream passes.
void validateRequest(const HttpRequest& request);

/// Takes the Content-Type off a request with a multipart body, so that the transport writes the one
/// that names its boundary.
void removeMultipartContentType(HttpRequest& request);

}  // namespace foundation::httpclient_core
