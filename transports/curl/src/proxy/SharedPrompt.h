#pragma once
#include "engine/RequestRecord.h"
#include "proxy/CredentialStore.h"

#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>
#include <foundation/httpclient_curl/CancellableCredentialPrompt.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <string>

namespace foundation::httpclient_curl {

/// The prompt of a client, asked by one request at a time. What one request is told serves all that were
/// refused before they could know it: a new answer is theirs as well, once the request that asked has tried
/// it, and where the user declines while they wait, or has no attempt left, they are declined. Thread-safe.
class SharedPrompt {
public:
    /// What a request was answered last and is to try. One that gives no chance to do so has none.
    struct Trial {
        std::string proxyInfo;
        std::uint64_t generation = 0;  ///< 0 before its first answer.
        bool isLast = false;           ///< The request will not ask again.
    };

    SharedPrompt(std::shared_ptr<core::ProxyCredentialPrompt> prompt,
                 std::shared_ptr<CredentialStore> store);

    /// `refused` is the generation of the credentials that the proxy refused, 0 for none. Throws
    /// HttpRequestCancelledException when `cancelled` is true before there is an answer; where the prompt
    /// itself is open, cancellationsChanged() has to tell it.
    std::optional<core::ProxyCredentials> ask(const std::string& proxyInfo,
                                              std::uint64_t refused,
                                              bool previousAttemptFailed,
                                              int remainingAttempts,
                                              std::int64_t timeoutMs,
                                              const std::atomic<bool>& cancelled,
                                              Trial* trial = nullptr);
    /// The request asks no more, on the thread on which it did.
    void endTrial(const Trial& trial);
    /// Some request was cancelled: the question is withdrawn if it is the one that asks.
    void cancellationsChanged();
    /// Withdraws the question that is open and refuses all further ones as cancelled.
    void close();
    CredentialStore& store() noexcept { return *store_; }

private:
    class Turn;
    /// The request whose turn it is.
    struct Asker {
        const std::atomic<bool>& cancelled;
        std::stop_source stop;
    };

    std::optional<core::ProxyCredentials> askUser(const Asker& asker,
                                                  bool previousAttemptFailed,
                                                  int remainingAttempts,
                                                  std::int64_t timeoutMs);

    const std::shared_ptr<core::ProxyCredentialPrompt> prompt_;
    CancellableCredentialPrompt* const cancellable_;  ///< The same; null where it is none.
    const std::shared_ptr<CredentialStore> store_;
    std::mutex mutex_;  ///< Guards what follows; not held while the user is asked.
    std::condition_variable turnEnded_;
    std::optional<Asker> asker_;
    bool isClosed_ = false;
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
    SharedPrompt::Trial trial_;
};

}  // namespace foundation::httpclient_curl
