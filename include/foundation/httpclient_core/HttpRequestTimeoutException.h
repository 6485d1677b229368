#pragma once
#include <foundation/httpclient_core/Export.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequestTimeoutException
    : public HttpRequestFailedException {
public:
    HttpRequestTimeoutException();
    HttpRequestTimeoutException(const HttpRequestTimeoutException&) = default;
    HttpRequestTimeoutException(HttpRequestTimeoutException&&) = default;
    HttpRequestTimeoutException& operator=(const HttpRequestTimeoutException&) = default;
    HttpRequestTimeoutException& operator=(HttpRequestTimeoutException&&) = default;
    ~HttpRequestTimeoutException() override;
};
}  // namespace foundation::httpclient_core
