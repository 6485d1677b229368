#include "proxy/SharedPrompt.h"

#include "proxy/InternalHeaders.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>

#include <charconv>
#include <chrono>
#include <utility>

namespace foundation::httpclient_curl {

SharedPrompt::SharedPrompt(std::shared_ptr<core::ProxyCredentialPrompt> prompt,
                           std::shared_ptr<CredentialStore> store)
    : prompt_(std::move(prompt)),
      cancellable_(dynamic_cast<CancellableCredentialPrompt*>(prompt_.get())),
      store_(std::move(store)) {}

/// The right to ask, for as long as it lives.
class SharedPrompt::Turn {
public:
    Turn(SharedPrompt& prompt,
         std::unique_lock<std::mutex>& lock,
         const std::string& proxyInfo,
         const std::atomic<bool>& cancelled)
        : prompt_(prompt), lock_(lock), asker_{cancelled, {}} {
        // Nobody signals a cancellation or the end of a trial here, so they are looked for now and then.
        constexpr std::chrono::milliseconds interval(20);
        while (!cancelled && !prompt_.isClosed_ &&
               (prompt_.asker_.has_value() || prompt_.store_->stateFor(proxyInfo).isOnTrial)) {
            prompt_.turnEnded_.wait_for(lock_, interval);
        }
        if (cancelled || prompt_.isClosed_) {
            throw core::HttpRequestCancelledException();
        }
        prompt_.asker_.emplace(asker_);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn() {
        if (!lock_.owns_lock()) {
            lock_.lock();
        }
        prompt_.asker_.reset();
        prompt_.turnEnded_.notify_all();
    }

    const Asker& asker() const noexcept { return asker_; }

private:
    SharedPrompt& prompt_;
    std::unique_lock<std::mutex>& lock_;
    const Asker asker_;
};

std::optional<core::ProxyCredentials> SharedPrompt::ask(const std::string& proxyInfo,
                                                        std::uint64_t refused,
                                                        bool previousAttemptFailed,
                                                        int remainingAttempts,
                                                        std::int64_t timeoutMs,
                                                        const std::atomic<bool>& cancelled,
                                                        Trial* trial) {
    std::unique_lock lock(mutex_);
    std::uint64_t& declines = declines_[proxyInfo];
    const std::uint64_t declinesBefore = declines;
    const Turn turn(*this, lock, proxyInfo, cancelled);
    const CredentialStore::State kept = store_->stateFor(proxyInfo);
    if (kept.login.has_value() && kept.login->generation > refused && !kept.isRefused) {
        store_->expectStore(proxyInfo);
        return core::ProxyCredentials(kept.login->user, kept.login->password.text());
    }
    if (declines != declinesBefore) {
        return std::nullopt;
    }
    lock.unlock();
    std::optional<core::ProxyCredentials> answer =
        askUser(turn.asker(), previousAttemptFailed, remainingAttempts, timeoutMs);
    lock.lock();
    if (!answer.has_value()) {
        if (turn.asker().stop.stop_requested()) {
            // Nobody has declined for the others.
            throw core::HttpRequestCancelledException();
        }
        ++declines;
    } else if (trial != nullptr) {
        *trial = {proxyInfo, store_->storeOnTrial(proxyInfo, *answer), remainingAttempts <= 1};
    } else {
        store_->storeAnswer(proxyInfo, *answer);
    }
    return answer;
}

std::optional<core::ProxyCredentials> SharedPrompt::askUser(const Asker& asker,
                                                            bool previousAttemptFailed,
                                                            int remainingAttempts,
                                                            std::int64_t timeoutMs) {
    return cancellable_ != nullptr
               ? cancellable_->ask(previousAttemptFailed, remainingAttempts, timeoutMs,
                                   asker.stop.get_token())
               : prompt_->promptForCredentials(previousAttemptFailed, remainingAttempts, timeoutMs);
}

void SharedPrompt::endTrial(const Trial& trial) {
    const std::lock_guard lock(mutex_);
    const CredentialStore::State state = store_->stateFor(trial.proxyInfo);
    if (trial.isLast && state.isRefused && state.login.has_value() &&
        state.login->generation == trial.generation) {
        ++declines_[trial.proxyInfo];
    }
    store_->endAnswers();
    turnEnded_.notify_all();
}

void SharedPrompt::cancellationsChanged() {
    std::optional<std::stop_source> stop;
    {
        const std::lock_guard lock(mutex_);
        if (asker_.has_value() && (isClosed_ || asker_->cancelled)) {
            stop = asker_->stop;
        }
        turnEnded_.notify_all();
    }
    // It runs what the prompt has ordered.
    if (stop.has_value()) {
        stop->request_stop();
    }
}

void SharedPrompt::close() {
    {
        const std::lock_guard lock(mutex_);
        isClosed_ = true;
    }
    cancellationsChanged();
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
    prompt_->endTrial(trial_);
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
                        previousAttemptFailed, remainingAttempts, timeoutMs, record_->cancelled,
                        &trial_);
}

}  // namespace foundation::httpclient_curl
