#include <foundation/httpclient_core/NoExistingConnectionException.h>

#include <stdexcept>

namespace foundation::httpclient_core {

NoExistingConnectionException::NoExistingConnectionException()
    : std::runtime_error(
          "No working WebSocket connection. Open was not completed or network error "
          "occurred and has not been recovered from.") {}

NoExistingConnectionException::~NoExistingConnectionException() = default;

}  // namespace foundation::httpclient_core
