#pragma once
#include <foundation/httpclient_core/Export.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
namespace foundation::httpclient_core {

/// Reports a request that was cancelled. Its text is "Request cancelled", deliberately without a full stop.
///
/// Transports throw it, also for an attempt that a progress callback ended with ProgressResult::Abort.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// The fixed text:
/// @code{.cpp}
/// const HttpRequestCancelledException error;
/// assert(error.what() == std::string("Request cancelled"));
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API HttpRequestCancelledException
    : public HttpRequestFailedException {
public:
    /// Makes the exception; its text is fixed.
    HttpRequestCancelledException();

    /// Copies the message: both objects then report the same text, and neither of them fails.
    /// @{
    HttpRequestCancelledException(const HttpRequestCancelledException&) = default;
    HttpRequestCancelledException(HttpRequestCancelledException&&) = default;
    HttpRequestCancelledException& operator=(const HttpRequestCancelledException&) = default;
    HttpRequestCancelledException& operator=(HttpRequestCancelledException&&) = default;
    /// @}
    /// A virtual destructor, so that the class has one identity in all libraries of a program.
    ~HttpRequestCancelledException() override;
};
}  // namespace foundation::httpclient_core
