#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

namespace foundation::httpclient_core {

HttpRequestTimeoutException::HttpRequestTimeoutException()
    : HttpRequestFailedException("Request timed out.") {}

HttpRequestTimeoutException::~HttpRequestTimeoutException() = default;

}  // namespace foundation::httpclient_core
