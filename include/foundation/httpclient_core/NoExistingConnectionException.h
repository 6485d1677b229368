#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
namespace foundation::httpclient_core {

/// Reports the use of a WebSocket that has no connection.
///
/// Its text is "No working WebSocket connection. Open was not completed or network error occurred and has not
/// been recovered from." Declared for transports that implement WebSockets; nothing in this library throws it.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// The fixed text:
/// @code{.cpp}
/// const NoExistingConnectionException error;
/// assert(std::string(error.what()).starts_with("No working WebSocket connection."));
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API NoExistingConnectionException : public std::runtime_error {
public:
    /// Makes the exception; its text is fixed.
    NoExistingConnectionException();

    /// Copies the message: both objects then report the same text, and neither of them fails.
    /// @{
    NoExistingConnectionException(const NoExistingConnectionException&) = default;
    NoExistingConnectionException(NoExistingConnectionException&&) = default;
    NoExistingConnectionException& operator=(const NoExistingConnectionException&) = default;
    NoExistingConnectionException& operator=(NoExistingConnectionException&&) = default;
    /// @}
    /// A virtual destructor, so that the class has one identity in all libraries of a program.
    ~NoExistingConnectionException() override;
};
}  // namespace foundation::httpclient_core
