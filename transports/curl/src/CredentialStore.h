#pragma once
#include <foundation/httpclient_core/ProxyCredentialStore.h>

#include <map>
#include <mutex>

namespace foundation::httpclient_curl {

/// Proxy credentials in memory, for the life of the client.
class CredentialStore final : public httpclient_core::ProxyCredentialStore {
public:
    std::optional<std::string> credentialsFor(const std::string& proxyInfo) const override;
    void forgetCredentials(const std::string& proxyInfo) override;
    void storeCredentials(std::string proxyInfo, std::string credentials) override;
    void promptDeclined() override;

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::string> credentials_;
};

}  // namespace foundation::httpclient_curl
