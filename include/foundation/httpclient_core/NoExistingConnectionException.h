#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API NoExistingConnectionException : public std::runtime_error {
public:
    NoExistingConnectionException();
    NoExistingConnectionException(const NoExistingConnectionException&) = default;
    NoExistingConnectionException(NoExistingConnectionException&&) = default;
    NoExistingConnectionException& operator=(const NoExistingConnectionException&) = default;
    NoExistingConnectionException& operator=(NoExistingConnectionException&&) = default;
    ~NoExistingConnectionException() override;
};
}  // namespace foundation::httpclient_core
