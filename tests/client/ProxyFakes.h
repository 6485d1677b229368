#pragma once
#include "tests/client/ScriptedTransport.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {

/// What happened while a proxy was served, in order.
using Events = std::vector<std::string>;

/// Answers from a list and notes what it was asked; at the end of the list the user declines.
class FakePrompt : public ProxyCredentialPrompt {
public:
    FakePrompt(Events& events, std::vector<ProxyCredentials> answers)
        : events_(events), answers_(std::move(answers)) {}

    std::optional<ProxyCredentials> promptForCredentials(bool previousAttemptFailed,
                                                         int remainingAttempts,
                                                         std::int64_t timeoutMs) override {
        events_.push_back(std::string("prompt ") + (previousAttemptFailed ? "again " : "first ") +
                          std::to_string(remainingAttempts) + " " + std::to_string(timeoutMs));
        if (onPrompt) {
            onPrompt();
        }
        if (next_ == answers_.size()) {
            return std::nullopt;
        }
        return answers_[next_++];
    }

    std::function<void()> onPrompt;

private:
    Events& events_;
    std::vector<ProxyCredentials> answers_;
    std::size_t next_ = 0;
};

/// Notes what it is given.
class FakeStore : public ProxyCredentialStore {
public:
    explicit FakeStore(Events& events) : events_(events) {}

    std::optional<std::string> credentialsFor(const std::string& proxyInfo) const override {
        events_.push_back("look up " + proxyInfo);
        return std::nullopt;
    }
    void forgetCredentials(const std::string& proxyInfo) override {
        events_.push_back("forget " + proxyInfo);
    }
    void storeCredentials(std::string proxyInfo, std::string credentials) override {
        events_.push_back("store " + credentials + " for " + proxyInfo);
        if (onStore) {
            onStore();
        }
    }
    void promptDeclined() override {
        events_.emplace_back("declined");
        if (onDeclined) {
            onDeclined();
        }
    }

    std::function<void()> onStore;
    std::function<void()> onDeclined;

private:
    Events& events_;
};

/// A refusal of a proxy that the transport knows.
inline Attempt refusal(const std::string& proxyInfo = "proxy.test:3128") {
    return answer(HttpResponseCode::ProxyAuthenticationRequired, "",
                  {{"QZ-Internal-Proxy-Info", proxyInfo}});
}

}  // namespace foundation::httpclient_core::testing
