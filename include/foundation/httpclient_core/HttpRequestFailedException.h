#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequestFailedException : public std::runtime_error {
public:
    explicit HttpRequestFailedException(const std::string& message);
    HttpRequestFailedException(const HttpRequestFailedException&) = default;
    HttpRequestFailedException(HttpRequestFailedException&&) = default;
    HttpRequestFailedException& operator=(const HttpRequestFailedException&) = default;
    HttpRequestFailedException& operator=(HttpRequestFailedException&&) = default;
    ~HttpRequestFailedException() override;
};
}  // namespace foundation::httpclient_core
