#pragma once
#include "proxy/Secret.h"

#include <foundation/httpclient_core/ProxyCredentialStore.h>
#include <foundation/httpclient_core/ProxyCredentials.h>

#include <chrono>
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
///
/// What a prompt answered is on trial first: until the proxy has taken it, only the request that asked
/// shows it, so that a wrong password is tried once and not by every request that waits for it. The trial
/// ends with that request, or after a few seconds: the answer may have to wait for a slow server. Requests
/// are told apart by their threads, since the core serves a refusal on one.
///
/// Internally locked: one mutex covers all of it.
class CredentialStore final : public core::ProxyCredentialStore {
public:
    /// What the store has for a proxy, as one who may ask for new credentials sees it.
    struct State {
        std::optional<ProxyLogin> login;
        bool isOnTrial = false;  ///< By another thread than the calling one.
        bool isRefused = false;  ///< The proxy has never taken them.
    };

    std::optional<std::string> credentialsFor(const std::string& proxyInfo) const override;
    void forgetCredentials(const std::string& proxyInfo) override;
    void storeCredentials(std::string proxyInfo, std::string credentials) override;
    void promptDeclined() override;

    /// What the calling thread is to show to the proxy.
    std::optional<ProxyLogin> loginFor(const std::string& proxyInfo) const;
    State stateFor(const std::string& proxyInfo) const;
    /// Keeps what a prompt has just answered. The core is about to store the same answer from the same
    /// thread; by then another one may be here, so that call is ignored.
    void storeAnswer(const std::string& proxyInfo, const core::ProxyCredentials& answer);
    /// The same, on trial by the calling thread. Returns the generation.
    std::uint64_t storeOnTrial(const std::string& proxyInfo, const core::ProxyCredentials& answer);
    /// The calling thread gives the core what is here already: its next call to store that is ignored.
    void expectStore(const std::string& proxyInfo);
    /// The core has had its chance to store the answers of the calling thread, and to try them.
    void endAnswers();
    /// The proxy has taken the credentials of this generation, or refused them.
    void judge(const std::string& proxyInfo, std::uint64_t generation, bool isTaken);

private:
    using Clock = std::chrono::steady_clock;
    enum class Worth { Untried, Good, Refused };
    struct Entry {
        Secret credentials;
        std::uint64_t generation = 0;
        Worth worth = Worth::Good;
        std::thread::id tester;  ///< That of no thread where there is no trial.
        Clock::time_point trialEnd;

        bool isOnTrial() const;
    };

    Entry& keepAnswer(const std::string& proxyInfo, const core::ProxyCredentials& answer);
    Entry& keep(const std::string& proxyInfo, Secret credentials);

    mutable std::mutex mutex_;
    std::map<std::string, Entry> entries_;
    std::uint64_t lastGeneration_ = 0;
    /// The stores that are still to come from the core, by thread and proxy.
    std::set<std::pair<std::thread::id, std::string>> announced_;
};

}  // namespace foundation::httpclient_curl
