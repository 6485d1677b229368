#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstdint>
#include <stdexcept>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API MaxWriteFrameSizeExceededException
    : public std::runtime_error {
public:
    MaxWriteFrameSizeExceededException(std::uint64_t maxWriteFrameSize, std::uint64_t payloadSize);
    MaxWriteFrameSizeExceededException(const MaxWriteFrameSizeExceededException&) = default;
    MaxWriteFrameSizeExceededException(MaxWriteFrameSizeExceededException&&) = default;
    MaxWriteFrameSizeExceededException& operator=(const MaxWriteFrameSizeExceededException&) =
        default;
    MaxWriteFrameSizeExceededException& operator=(MaxWriteFrameSizeExceededException&&) = default;
    ~MaxWriteFrameSizeExceededException() override;
};
}  // namespace foundation::httpclient_core
