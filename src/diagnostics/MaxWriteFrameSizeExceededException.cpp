#include <foundation/httpclient_core/MaxWriteFrameSizeExceededException.h>

#include <cstdint>
#include <stdexcept>
#include <string>

namespace foundation::httpclient_core {

MaxWriteFrameSizeExceededException::MaxWriteFrameSizeExceededException(
    std::uint64_t maxWriteFrameSize,
    std::uint64_t payloadSize)
    : std::runtime_error("WebSocketFrame's payload is " + std::to_string(payloadSize) +
                         " bytes, which is above the maxWriteFrameSize limit of " +
                         std::to_string(maxWriteFrameSize) +
                         " bytes. This limit can be configured in WebSocketClientConfiguration.") {}

MaxWriteFrameSizeExceededException::~MaxWriteFrameSizeExceededException() = default;

}  // namespace foundation::httpclient_core
