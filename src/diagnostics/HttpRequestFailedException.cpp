#include <foundation/httpclient_core/HttpRequestFailedException.h>

namespace foundation::httpclient_core {

HttpRequestFailedException::HttpRequestFailedException(const std::string& message)
    : std::runtime_error(message) {}

HttpRequestFailedException::~HttpRequestFailedException() = default;

}  // namespace foundation::httpclient_core
