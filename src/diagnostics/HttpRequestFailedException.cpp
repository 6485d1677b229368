#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <stdexcept>
#include <string>

namespace foundation::httpclient_core {

HttpRequestFailedException::HttpRequestFailedException(const std::string& message)
    : std::runtime_error(message) {}

HttpRequestFailedException::~HttpRequestFailedException() = default;

}  // namespace foundation::httpclient_core
