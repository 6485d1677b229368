#pragma once
#include <foundation/httpclient_core/Export.h>

#include <exception>
#include <functional>
namespace foundation::httpclient_core {
class HttpResponse;
using ProxyAuthenticationStrategy =
    std::function<bool(const HttpResponse& response, const std::exception_ptr& error, int attempt)>;
FOUNDATION_HTTPCLIENT_CORE_API ProxyAuthenticationStrategy defaultProxyAuthenticationStrategy();
FOUNDATION_HTTPCLIENT_CORE_API ProxyAuthenticationStrategy
defaultProxyAuthenticationStrategy(int maxAttempts);
FOUNDATION_HTTPCLIENT_CORE_API ProxyAuthenticationStrategy noProxyAuthenticationStrategy();
}  // namespace foundation::httpclient_core
