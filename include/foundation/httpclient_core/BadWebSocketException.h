#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
#include <string>
namespace foundation::httpclient_core {

/// Reports a WebSocket that is not usable, with a text of the thrower's own.
///
/// Declared for transports that implement WebSockets; nothing in this library throws it.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// Thrown and caught as what it is based on:
/// @code{.cpp}
/// try {
///     throw BadWebSocketException("Handshake refused");
/// } catch (const std::runtime_error& error) {
///     assert(error.what() == std::string("Handshake refused"));
/// }
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API BadWebSocketException : public std::runtime_error {
public:
    /// Makes an exception whose what() is `message`, unchanged; it may be empty.
    explicit BadWebSocketException(const std::string& message);

    /// Copies the message: both objects then report the same text, and neither of them fails.
    /// @{
    BadWebSocketException(const BadWebSocketException&) = default;
    BadWebSocketException(BadWebSocketException&&) = default;
    BadWebSocketException& operator=(const BadWebSocketException&) = default;
    BadWebSocketException& operator=(BadWebSocketException&&) = default;
    /// @}
    /// A virtual destructor, so that the class has one identity in all libraries of a program.
    ~BadWebSocketException() override;
};
}  // namespace foundation::httpclient_core
