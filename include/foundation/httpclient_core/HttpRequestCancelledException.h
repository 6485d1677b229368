#pragma once
#include <foundation/httpclient_core/Export.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequestCancelledException
    : public HttpRequestFailedException {
public:
    HttpRequestCancelledException();
    HttpRequestCancelledException(const HttpRequestCancelledException&) = default;
    HttpRequestCancelledException(HttpRequestCancelledException&&) = default;
    HttpRequestCancelledException& operator=(const HttpRequestCancelledException&) = default;
    HttpRequestCancelledException& operator=(HttpRequestCancelledException&&) = default;
    ~HttpRequestCancelledException() override;
};
}  // namespace foundation::httpclient_core
