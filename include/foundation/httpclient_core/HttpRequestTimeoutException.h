#pragma once
#include <foundation/httpclient_core/Export.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
namespace foundation::httpclient_core {

/// Reports a request that took too long. Its text is "Request timed out.", with the full stop.
///
/// Transports throw it. The default retry strategy retries it like any other failure, but does not log it.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// The fixed text:
/// @code{.cpp}
/// const HttpRequestTimeoutException error;
/// assert(error.what() == std::string("Request timed out."));
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequestTimeoutException
    : public HttpRequestFailedException {
public:
    /// Makes the exception; its text is fixed.
    HttpRequestTimeoutException();

    /// Copies the message: both objects then report the same text, and neither of them fails.
    /// @{
    HttpRequestTimeoutException(const HttpRequestTimeoutException&) = default;
    HttpRequestTimeoutException(HttpRequestTimeoutException&&) = default;
    HttpRequestTimeoutException& operator=(const HttpRequestTimeoutException&) = default;
    HttpRequestTimeoutException& operator=(HttpRequestTimeoutException&&) = default;
    /// @}
    /// A virtual destructor, so that the class has one identity in all libraries of a program.
    ~HttpRequestTimeoutException() override;
};
}  // namespace foundation::httpclient_core
