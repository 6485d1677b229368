#include <foundation/httpclient_curl/CancellableCredentialPrompt.h>

namespace foundation::httpclient_curl {

CancellableCredentialPrompt::~CancellableCredentialPrompt() = default;

std::optional<httpclient_core::ProxyCredentials> CancellableCredentialPrompt::promptForCredentials(
    bool previousAttemptFailed,
    int remainingAttempts,
    std::int64_t timeoutMs) {
    return ask(previousAttemptFailed, remainingAttempts, timeoutMs, std::stop_token());
}

}  // namespace foundation::httpclient_curl
