#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstdint>
#include <stdexcept>
namespace foundation::httpclient_core {

/// Reports a WebSocket frame that is larger than WebSocketClientConfiguration allows.
///
/// Declared for transports that implement WebSockets; nothing in this library throws it. The text names the
/// payload first although the constructor takes the limit first. Numbers are plain decimal, never grouped.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// The limit goes in first, the payload comes out first:
/// @code{.cpp}
/// const MaxWriteFrameSizeExceededException error(1024, 4096);
/// assert(error.what() ==
///        std::string("WebSocketFrame's payload is 4096 bytes, which is above the maxWriteFrameSize limit of "
///                    "1024 bytes. This limit can be configured in WebSocketClientConfiguration."));
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API MaxWriteFrameSizeExceededException
    : public std::runtime_error {
public:
    /// Makes the exception for a payload of `payloadSize` bytes where `maxWriteFrameSize` are allowed. The
    /// numbers are not compared: any two will do.
    MaxWriteFrameSizeExceededException(std::uint64_t maxWriteFrameSize, std::uint64_t payloadSize);

    /// Copies the message: both objects then report the same text, and neither of them fails.
    /// @{
    MaxWriteFrameSizeExceededException(const MaxWriteFrameSizeExceededException&) = default;
    MaxWriteFrameSizeExceededException(MaxWriteFrameSizeExceededException&&) = default;
    MaxWriteFrameSizeExceededException& operator=(const MaxWriteFrameSizeExceededException&) =
        default;
    MaxWriteFrameSizeExceededException& operator=(MaxWriteFrameSizeExceededException&&) = default;
    /// @}
    /// A virtual destructor, so that the class has one identity in all libraries of a program.
    ~MaxWriteFrameSizeExceededException() override;
};
}  // namespace foundation::httpclient_core
