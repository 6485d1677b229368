#include "proxy/CredentialStore.h"

#include <algorithm>

namespace foundation::httpclient_curl {

std::optional<std::string> CredentialStore::credentialsFor(const std::string& proxyInfo) const {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(proxyInfo);
    return entry != entries_.end() ? std::optional(entry->second.credentials.text()) : std::nullopt;
}

std::optional<ProxyLogin> CredentialStore::loginFor(const std::string& proxyInfo) const {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(proxyInfo);
    if (entry == entries_.end()) {
        return std::nullopt;
    }
    const std::string& text = entry->second.credentials.text();
    const std::size_t colon = std::min(text.find(':'), text.size());
    return ProxyLogin{text.substr(0, colon), Secret(text.substr(std::min(colon + 1, text.size()))),
                      entry->second.generation};
}

void CredentialStore::forgetCredentials(const std::string& proxyInfo) {
    const std::lock_guard lock(mutex_);
    entries_.erase(proxyInfo);
}

void CredentialStore::storeCredentials(std::string proxyInfo, std::string credentials) {
    Secret secret(std::move(credentials));
    const std::lock_guard lock(mutex_);
    if (announced_.erase({std::this_thread::get_id(), proxyInfo}) == 0) {
        keep(proxyInfo, std::move(secret));
    }
}

void CredentialStore::storeAnswer(const std::string& proxyInfo,
                                  const core::ProxyCredentials& answer) {
    std::string password = answer.password();
    Secret secret(answer.username() + ":" + password);
    wipe(password);
    const std::lock_guard lock(mutex_);
    announced_.emplace(std::this_thread::get_id(), proxyInfo);
    keep(proxyInfo, std::move(secret));
}

void CredentialStore::endAnswers() {
    const std::lock_guard lock(mutex_);
    const auto thread = std::this_thread::get_id();
    std::erase_if(announced_, [thread](const auto& store) { return store.first == thread; });
}

void CredentialStore::keep(const std::string& proxyInfo, Secret credentials) {
    Entry& entry = entries_[proxyInfo];
    entry.credentials = std::move(credentials);
    entry.generation = ++lastGeneration_;
}

// Deliberate: what is stored for other proxies stays of use when the user declines for one.
void CredentialStore::promptDeclined() {}

}  // namespace foundation::httpclient_curl
