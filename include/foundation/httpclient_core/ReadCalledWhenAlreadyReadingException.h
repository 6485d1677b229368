#pragma once
#include <foundation/httpclient_core/Export.h>

#include <stdexcept>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API ReadCalledWhenAlreadyReadingException
    : public std::runtime_error {
public:
    ReadCalledWhenAlreadyReadingException();
    ReadCalledWhenAlreadyReadingException(const ReadCalledWhenAlreadyReadingException&) = default;
    ReadCalledWhenAlreadyReadingException(ReadCalledWhenAlreadyReadingException&&) = default;
    ReadCalledWhenAlreadyReadingException& operator=(const ReadCalledWhenAlreadyReadingException&) =
        default;
    ReadCalledWhenAlreadyReadingException& operator=(ReadCalledWhenAlreadyReadingException&&) =
        default;
    ~ReadCalledWhenAlreadyReadingException() override;
};
}  // namespace foundation::httpclient_core
