#include "SharedPrompt.h"

#include "InternalHeaders.h"

#include <charconv>
#include <utility>

namespace foundation::httpclient_curl {

SharedPrompt::SharedPrompt(std::shared_ptr<core::ProxyCredentialPrompt> prompt,
                           std::shared_ptr<CredentialStore> store)
    : prompt_(std::move(prompt)), store_(std::move(store)) {}

std::uint64_t SharedPrompt::declinesOf(const std::string& proxyInfo) const {
    const std::lock_guard lock(declinesMutex_);
    const auto entry = declines_.find(proxyInfo);
    return entry != declines_.end() ? entry->second : 0;
}

std::optional<core::ProxyCredentials> SharedPrompt::ask(const std::string& proxyInfo,
                                                        std::uint64_t refused,
                                                        bool previousAttemptFailed,
                                                        int remainingAttempts,
                                                        std::int64_t timeoutMs) {
    const std::uint64_t declinesBefore = declinesOf(proxyInfo);
    const std::lock_guard lock(asking_);
    const std::optional<ProxyLogin> kept = store_->loginFor(proxyInfo);
    if (kept.has_value() && kept->generation > refused) {
        return core::ProxyCredentials(kept->user, kept->password.text());
    }
    if (declinesOf(proxyInfo) != declinesBefore) {
        return std::nullopt;
    }
    std::optional<core::ProxyCredentials> answer =
        prompt_->promptForCredentials(previousAttemptFailed, remainingAttempts, timeoutMs);
    if (answer.has_value()) {
        store_->storeAnswer(proxyInfo, *answer);
    } else {
        const std::lock_guard declinesLock(declinesMutex_);
        ++declines_[proxyInfo];
    }
    return answer;
}

RequestPrompt::RequestPrompt(std::shared_ptr<SharedPrompt> prompt,
                             const core::HttpResponse& response)
    : prompt_(std::move(prompt)), response_(response) {}

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
                        previousAttemptFailed, remainingAttempts, timeoutMs);
}

}  // namespace foundation::httpclient_curl
