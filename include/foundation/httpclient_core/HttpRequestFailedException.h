#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
#include <string>
namespace foundation::httpclient_core {

/// Reports a request that failed without a usable response; the base of the timed-out and the cancelled one.
///
/// A handler for this class catches HttpRequestTimeoutException and HttpRequestCancelledException as well,
/// and none of the WebSocket exceptions. Catch the derived classes first to tell them apart.
///
/// Transports throw it with a text of their own. The proxy-authentication strategies of this library throw
/// it with one of two texts:
/// - "Maximum number of failed proxy authentication attempts reached but authentication still failed"
/// - "Proxy authentication required but the proxy authentication strategy is set to no authentication"
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// One handler for every failed request:
/// @code{.cpp}
/// try {
///     throw HttpRequestTimeoutException();
/// } catch (const HttpRequestFailedException& error) {
///     assert(error.what() == std::string("Request timed out."));
/// }
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequestFailedException : public std::runtime_error {
public:
    /// Makes an exception whose what() is `message`, unchanged; it may be empty.
    explicit HttpRequestFailedException(const std::string& message);

    /// Copies the message: both objects then report the same text, and neither of them fails.
    /// @{
    HttpRequestFailedException(const HttpRequestFailedException&) = default;
    HttpRequestFailedException(HttpRequestFailedException&&) = default;
    HttpRequestFailedException& operator=(const HttpRequestFailedException&) = default;
    HttpRequestFailedException& operator=(HttpRequestFailedException&&) = default;
    /// @}
    /// A virtual destructor, so that the class has one identity in all libraries of a program.
    ~HttpRequestFailedException() override;
};
}  // namespace foundation::httpclient_core
