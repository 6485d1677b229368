#pragma once
#include <foundation/httpclient_core/Export.h>

#include <optional>
#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API ProxyCredentialStore {
public:
    virtual std::optional<std::string> credentialsFor(
        const std::string& proxyInfo) const = 0;  // "user:password"
    virtual void forgetCredentials(const std::string& proxyInfo) = 0;
    virtual void storeCredentials(std::string proxyInfo, std::string credentials) = 0;
    virtual void promptDeclined() = 0;
    virtual ~ProxyCredentialStore();
};
}  // namespace foundation::httpclient_core
