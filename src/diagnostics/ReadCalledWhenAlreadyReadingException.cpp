#include <foundation/httpclient_core/ReadCalledWhenAlreadyReadingException.h>

#include <stdexcept>

namespace foundation::httpclient_core {

ReadCalledWhenAlreadyReadingException::ReadCalledWhenAlreadyReadingException()
    : std::runtime_error("Calling read before the previous read completes is illegal.") {}

ReadCalledWhenAlreadyReadingException::~ReadCalledWhenAlreadyReadingException() = default;

}  // namespace foundation::httpclient_core
