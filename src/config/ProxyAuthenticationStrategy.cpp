#include <foundation/httpclient_core/ProxyAuthenticationStrategy.h>

#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

#include <exception>

namespace foundation::httpclient_core {
namespace {

class DefaultProxyAuthenticator {
public:
    explicit DefaultProxyAuthenticator(int maxAttempts) : maxAttempts_(maxAttempts) {}

    bool operator()(const HttpResponse& response,
                    const std::exception_ptr& error,
                    int attempt) const {
        if (error != nullptr ||
            response.getResponseCode() != HttpResponseCode::ProxyAuthenticationRequired ||
            attempt < 1) {
            return false;
        }
        if (attempt <= maxAttempts_) {
            return true;
        }
        throw HttpRequestFailedException(
            "Maximum number of failed proxy authentication attempts reached but authentication "
            "still failed");
    }

private:
    int maxAttempts_;
};

}  // namespace

ProxyAuthenticationStrategy defaultProxyAuthenticationStrategy() {
    return defaultProxyAuthenticationStrategy(1);
}

ProxyAuthenticationStrategy defaultProxyAuthenticationStrategy(int maxAttempts) {
    return DefaultProxyAuthenticator(maxAttempts);
}

ProxyAuthenticationStrategy noProxyAuthenticationStrategy() {
    // Deliberate: it does not look at the response. A client that must never talk to a proxy's prompt
    // ends every request here, so the setting cannot be overlooked.
    return [](const HttpResponse&, const std::exception_ptr&, int) -> bool {
        throw HttpRequestFailedException(
            "Proxy authentication required but the proxy authentication strategy is set to no "
            "authentication");
    };
}

}  // namespace foundation::httpclient_core
