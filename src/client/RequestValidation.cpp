#include "client/RequestValidation.h"

#include "diagnostics/Log.h"

#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/LoggingChannels.h>

#include <stdexcept>

namespace foundation::httpclient_core {

void validateRequest(const HttpRequest& request) {
    if (!request.hasRequestBody()) {
        return;
    }
    const bool hasLength = request.hasHeader(HttpHeaders::CONTENT_LENGTH);
    const bool hasCoding = request.hasHeader(HttpHeaders::TRANSFER_ENCODING);
    if (!hasLength && !hasCoding) {
        HCC_LOG(SEVERITY_ERROR, "Request for "
                                    << request.getURL()
                                    << " has no Content-Length or Transfer-Encoding header.");
        throw std::logic_error(
            "A HttpRequest with a body must have a Content-Length or a Transfer-Encoding header.");
    }
    if (hasLength && hasCoding && request.getTransferEncoding() != "identity") {
        HCC_LOG(SEVERITY_ERROR,
                "HttpRequest headers for "
                    << request.getURL()
                    << " must not include Content-Length and a non-identity Transfer-Encoding.");
        throw std::logic_error(
            "HttpRequest headers must not include Content-Length and a non-identity "
            "Transfer-Encoding.");
    }
}

void removeMultipartContentType(HttpRequest& request) {
    if (request.hasMultipartBody() && request.hasHeader(HttpHeaders::CONTENT_TYPE)) {
        request.removeHeader(HttpHeaders::CONTENT_TYPE);
    }
}

}  // namespace foundation::httpclient_core
