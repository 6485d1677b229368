#include "proxy/SharedPrompt.h"

#include "proxy/InternalHeaders.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>

#include <charconv>
#include <chrono>
#include <utility>

namespace foundation::httpclient_curl {

SharedPrompt::SharedPrompt(std::shared_ptr<core::ProxyCredentialPrompt> prompt,
                           std::shared_ptr<CredentialStore> store)
    : prompt_(std::move(prompt)), store_(std::move(store)) {}

/// The right to ask, for as long as it lives.
class SharedPrompt::Turn {
public:
    Turn(SharedPrompt& prompt,
         std::unique_lock<std::mutex>& lock,
         const std::atomic<bool>& cancelled)
        : prompt_(prompt), lock_(lock) {
        // Nobody signals a cancellation here, so it is looked for now and then.
        constexpr std::chrono::milliseconds interval(20);
        while (prompt_.isAsking_) {
            if (cancelled) {
                throw core::HttpRequestCancelledException();
            }
            prompt_.turnEnded_.wait_for(lock_, interval);
        }
        prompt_.isAsking_ = true;
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (!lock_.owns_lock()) {
            lock_.lock();
        }
        prompt_.isAsking_ = false;
        prompt_.turnEnded_.notify_all();
    }

private:
    SharedPrompt& prompt_;
    std::unique_lock<std::mutex>& lock_;
};

std::optional<core::ProxyCredentials> SharedPrompt::ask(const std::string& proxyInfo,
                                                        std::uint64_t refused,
                                                        bool previousAttemptFailed,
                                                        int remainingAttempts,
                                                        std::int64_t timeoutMs,
                                                        const std::atomic<bool>& cancelled) {
    std::unique_lock lock(mutex_);
    std::uint64_t& declines = declines_[proxyInfo];
    const std::uint64_t declinesBefore = declines;
    const Turn turn(*this, lock, cancelled);
    const std::optional<ProxyLogin> kept = store_->loginFor(proxyInfo);
    if (kept.has_value() && kept->generation > refused) {
        return core::ProxyCredentials(kept->user, kept->password.text());
    }
    if (declines != declinesBefore) {
        return std::nullopt;
    }
    lock.unlock();
    std::optional<core::ProxyCredentials> answer =
        prompt_->promptForCredentials(previousAttemptFailed, remainingAttempts, timeoutMs);
    lock.lock();
    if (answer.has_value()) {
        store_->storeAnswer(proxyInfo, *answer);
    } else {
        ++declines;
    }
    return answer;
}

RequestPrompt::RequestPrompt(std::shared_ptr<SharedPrompt> prompt,
                             const core::HttpResponse& response,
                             std::shared_ptr<RequestRecord> record)
    : prompt_(std::move(prompt)), response_(response), record_(std::move(record)) {
    if (record_ == nullptr) {
        record_ = std::make_shared<RequestRecord>();
    }
}

RequestPrompt::~RequestPrompt() {
    prompt_->store().endAnswers();
}

std::optional<core::ProxyCredentials> RequestPrompt::promptForCredentials(
    bool previousAttemptFailed,
    int remainingAttempts,
    std::int64_t timeoutMs) {
    const core::HttpHeaders headers = response_.getHeaders();
    const std::string generation = headers.getHeaderValueOr(proxyGenerationHeader, "");
    std::uint64_t refused = 0;
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the end is given as well
    std::from_chars(generation.data(), generation.data() + generation.size(), refused);
    return prompt_->ask(headers.getHeaderValueOr(proxyInfoHeader, ""), refused,
                        previousAttemptFailed, remainingAttempts, timeoutMs, record_->cancelled);
}

}  // namespace foundation::httpclient_curl
