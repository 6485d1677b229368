#pragma once
#include "proxy/Secret.h"

#include <foundation/httpclient_core/ProxyCredentialStore.h>
#include <foundation/httpclient_core/ProxyCredentials.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>

namespace foundation::httpclient_curl {

namespace core = foundation::httpclient_core;

/// What a client shows to a proxy.
struct ProxyLogin {
    std::string user;
    Secret password;
    /// Tells newer credentials of the store from older ones; 0 for those of a proxy's URL.
    std::uint64_t generation = 0;
};

/// Proxy credentials in memory, for the life of the client. They are overwritten when they go.
/// Internally locked: one mutex covers all of it.
class CredentialStore final : public core::ProxyCredentialStore {
public:
    std::optional<std::string> credentialsFor(const std::string& proxyInfo) const override;
    void forgetCredentials(const std::string& proxyInfo) override;
    void storeCredentials(std::string proxyInfo, std::string credentials) override;
    void promptDeclined() override;

    std::optional<ProxyLogin> loginFor(const std::string& proxyInfo) const;
    /// Keeps what a prompt has just answered. The core is about to store the same answer from the same
    /// thread; by then another one may be here, so that call is ignored.
    void storeAnswer(const std::string& proxyInfo, const core::ProxyCredentials& answer);
    /// The core has had its chance to store the answers of the calling thread.
    void endAnswers();

private:
    struct Entry {
        Secret credentials;
        std::uint64_t generation = 0;
    };

    void keep(const std::string& proxyInfo, Secret credentials);

    mutable std::mutex mutex_;
    std::map<std::string, Entry> entries_;
    std::uint64_t lastGeneration_ = 0;
    /// The stores that are still to come from the core, by thread and proxy.
    std::set<std::pair<std::thread::id, std::string>> announced_;
};

}  // namespace foundation::httpclient_curl
