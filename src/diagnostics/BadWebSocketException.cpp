#include <foundation/httpclient_core/BadWebSocketException.h>

#include <stdexcept>
#include <string>

namespace foundation::httpclient_core {

BadWebSocketException::BadWebSocketException(const std::string& message)
    : std::runtime_error(message) {}

BadWebSocketException::~BadWebSocketException() = default;

}  // namespace foundation::httpclient_core
