#include "proxy/CredentialStore.h"

#include <algorithm>
#include <cstddef>

namespace foundation::httpclient_curl {
namespace {

// Longer than proxies take for a refusal, and no longer than anybody waits gladly for another's answer.
constexpr std::chrono::seconds longestTrial(5);

ProxyLogin loginOf(const std::string& text, std::uint64_t generation) {
    const std::size_t colon = std::min(text.find(':'), text.size());
    return {text.substr(0, colon), Secret(text.substr(std::min(colon + 1, text.size()))),
            generation};
}

}  // namespace

bool CredentialStore::Entry::isOnTrial() const {
    return tester != std::thread::id() && tester != std::this_thread::get_id() &&
           Clock::now() < trialEnd;
}

std::optional<std::string> CredentialStore::credentialsFor(const std::string& proxyInfo) const {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(proxyInfo);
    return entry != entries_.end() ? std::optional(entry->second.credentials.text()) : std::nullopt;
}

std::optional<ProxyLogin> CredentialStore::loginFor(const std::string& proxyInfo) const {
    State state = stateFor(proxyInfo);
    if (state.isOnTrial || state.isRefused) {
        return std::nullopt;
    }
    return std::move(state.login);
}

CredentialStore::State CredentialStore::stateFor(const std::string& proxyInfo) const {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(proxyInfo);
    if (entry == entries_.end()) {
        return {};
    }
    return {loginOf(entry->second.credentials.text(), entry->second.generation),
            entry->second.isOnTrial(), entry->second.worth == Worth::Refused};
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
    const std::lock_guard lock(mutex_);
    keepAnswer(proxyInfo, answer);
}

std::uint64_t CredentialStore::storeOnTrial(const std::string& proxyInfo,
                                            const core::ProxyCredentials& answer) {
    const std::lock_guard lock(mutex_);
    Entry& entry = keepAnswer(proxyInfo, answer);
    entry.worth = Worth::Untried;
    entry.tester = std::this_thread::get_id();
    entry.trialEnd = Clock::now() + longestTrial;
    return entry.generation;
}

void CredentialStore::expectStore(const std::string& proxyInfo) {
    const std::lock_guard lock(mutex_);
    announced_.emplace(std::this_thread::get_id(), proxyInfo);
}

void CredentialStore::endAnswers() {
    const std::lock_guard lock(mutex_);
    const auto thread = std::this_thread::get_id();
    std::erase_if(announced_, [thread](const auto& store) { return store.first == thread; });
    for (auto& [info, entry] : entries_) {
        if (entry.tester == thread) {
            entry.tester = {};
        }
    }
}

void CredentialStore::judge(const std::string& proxyInfo, std::uint64_t generation, bool isTaken) {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(proxyInfo);
    if (entry == entries_.end() || entry->second.generation != generation) {
        return;
    }
    if (isTaken) {
        entry->second.worth = Worth::Good;
        entry->second.tester = {};
    } else if (entry->second.worth == Worth::Untried) {
        // The trial goes on: whoever asked is about to ask again.
        entry->second.worth = Worth::Refused;
    }
}

CredentialStore::Entry& CredentialStore::keepAnswer(const std::string& proxyInfo,
                                                    const core::ProxyCredentials& answer) {
    std::string password = answer.password();
    Secret secret(answer.username() + ":" + password);
    wipe(password);
    announced_.emplace(std::this_thread::get_id(), proxyInfo);
    return keep(proxyInfo, std::move(secret));
}

CredentialStore::Entry& CredentialStore::keep(const std::string& proxyInfo, Secret credentials) {
    Entry& entry = entries_[proxyInfo];
    entry = {std::move(credentials), ++lastGeneration_, Worth::Good, {}, {}};
    return entry;
}

// Deliberate: what is stored for other proxies stays of use when the user declines for one.
void CredentialStore::promptDeclined() {}

}  // namespace foundation::httpclient_curl
