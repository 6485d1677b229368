#include "CredentialStore.h"

#include <utility>

namespace foundation::httpclient_curl {

std::optional<std::string> CredentialStore::credentialsFor(const std::string& proxyInfo) const {
    const std::lock_guard lock(mutex_);
    const auto entry = credentials_.find(proxyInfo);
    return entry != credentials_.end() ? std::optional(entry->second) : std::nullopt;
}

void CredentialStore::forgetCredentials(const std::string& proxyInfo) {
    const std::lock_guard lock(mutex_);
    credentials_.erase(proxyInfo);
}

void CredentialStore::storeCredentials(std::string proxyInfo, std::string credentials) {
    const std::lock_guard lock(mutex_);
    credentials_[std::move(proxyInfo)] = std::move(credentials);
}

// Deliberate: what is stored for other proxies stays of use when the user declines for one.
void CredentialStore::promptDeclined() {}

}  // namespace foundation::httpclient_curl
