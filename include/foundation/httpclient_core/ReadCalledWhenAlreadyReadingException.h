#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
namespace foundation::httpclient_core {

/// Reports a read of a WebSocket that began before the read before it ended.
///
/// Its text is "Calling read before the previous read completes is illegal." Declared for transports that
/// implement WebSockets; nothing in this library throws it.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// The fixed text:
/// @code{.cpp}
/// const ReadCalledWhenAlreadyReadingException error;
/// assert(error.what() == std::string("Calling read before the previous read completes is illegal."));
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API ReadCalledWhenAlreadyReadingException
    : public std::runtime_error {
public:
    /// Makes the exception; its text is fixed.
    ReadCalledWhenAlreadyReadingException();

    /// Copies the message: both objects then report the same text, and neither of them fails.
    /// @{
    ReadCalledWhenAlreadyReadingException(const ReadCalledWhenAlreadyReadingException&) = default;
    ReadCalledWhenAlreadyReadingException(ReadCalledWhenAlreadyReadingException&&) = default;
    ReadCalledWhenAlreadyReadingException& operator=(const ReadCalledWhenAlreadyReadingException&) =
        default;
    ReadCalledWhenAlreadyReadingException& operator=(ReadCalledWhenAlreadyReadingException&&) =
        default;
    /// @}
    /// A virtual destructor, so that the class has one identity in all libraries of a program.
    ~ReadCalledWhenAlreadyReadingException() override;
};
}  // namespace foundation::httpclient_core
