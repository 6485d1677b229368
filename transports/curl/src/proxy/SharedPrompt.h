#pragma once
#include "engine/RequestRecord.h"
#include "proxy/CredentialStore.h"

#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace foundation::httpclient_curl {

/// The prompt of a client, asked by one request at a time. What one request is told serves all that were
/// refused before they could know it: a new answer is theirs as well, and where the user declines while
/// they wait, they are declined. Thread-safe.
class SharedPrompt {
public:
    SharedPrompt(std::shared_ptr<core::ProxyCredentialPrompt> prompt,
                 std::shared_ptr<CredentialStore> store);

    /// `refused` is the generation of the credentials that the proxy refused, 0 for none. Throws
    /// HttpRequestCancelledException when `cancelled` turns true while another request is asking.
    std::optional<core::ProxyCredentials> ask(const std::string& proxyInfo,
                                              std::uint64_t refused,
                                              bool previousAttemptFailed,
                                              int remainingAttempts,
                                              std::int64_t timeoutMs,
                                              const std::atomic<bool>& cancelled);
    CredentialStore& store() noexcept { return *store_; }

private:
    class Turn;

    const std::shared_ptr<core::ProxyCredentialPrompt> prompt_;
    const std::shared_ptr<CredentialStore> store_;
    std::mutex mutex_;  ///< Guards what follows; not held while the user is asked.
    std::condition_variable turnEnded_;
    bool isAsking_ = false;
    std::map<std::string, std::uint64_t> declines_;
};

/// What the core asks while it serves one refused request: reads from the response, which the core fills
/// again with each attempt, which credentials the proxy refused. The response must outlive it. `record` is
/// that of the request; null where nobody can cancel it.
class RequestPrompt final : public core::ProxyCredentialPrompt {
public:
    RequestPrompt(std::shared_ptr<SharedPrompt> prompt,
                  const core::HttpResponse& response,
                  std::shared_ptr<RequestRecord> record);
    RequestPrompt(const RequestPrompt&) = delete;
    RequestPrompt& operator=(const RequestPrompt&) = delete;
    ~RequestPrompt() override;

    std::optional<core::ProxyCredentials> promptForCredentials(bool previousAttemptFailed,
                                                               int remainingAttempts,
                                                               std::int64_t timeoutMs) override;

private:
    std::shared_ptr<SharedPrompt> prompt_;
    const core::HttpResponse& response_;
    std::shared_ptr<RequestRecord> record_;
};

}  // namespace foundation::httpclient_curl
