#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API BadWebSocketException : public std::runtime_error {
public:
    explicit BadWebSocketException(const std::string& message);
    BadWebSocketException(const BadWebSocketException&) = default;
    BadWebSocketException(BadWebSocketException&&) = default;
    BadWebSocketException& operator=(const BadWebSocketException&) = default;
    BadWebSocketException& operator=(BadWebSocketException&&) = default;
    ~BadWebSocketException() override;
};
}  // namespace foundation::httpclient_core
