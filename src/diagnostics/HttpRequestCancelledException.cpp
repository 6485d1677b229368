#include <foundation/httpclient_core/HttpRequestCancelledException.h>

#include <foundation/httpclient_core/HttpRequestFailedException.h>

namespace foundation::httpclient_core {

HttpRequestCancelledException::HttpRequestCancelledException()
    : HttpRequestFailedException("Request cancelled") {}

HttpRequestCancelledException::~HttpRequestCancelledException() = default;

}  // namespace foundation::httpclient_core
