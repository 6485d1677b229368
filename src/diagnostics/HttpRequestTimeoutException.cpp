#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <foundation/httpclient_core/HttpRequestFailedException.h>

namespace foundation::httpclient_core {

HttpRequestTimeoutException::HttpRequestTimeoutException()
    : HttpRequestFailedException("Request timed out.") {}

HttpRequestTimeoutException::~HttpRequestTimeoutException() = default;

}  // namespace foundation::httpclient_core
