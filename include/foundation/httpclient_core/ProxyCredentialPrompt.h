#pragma once
#include <foundation/httpclient_core/ProxyCredentials.h>

#include <cstdint>
#include <optional>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API ProxyCredentialPrompt {
public:
    virtual ~ProxyCredentialPrompt();
    virtual std::optional<ProxyCredentials> promptForCredentials(bool previousAttemptFailed,
                                                                 int remainingAttempts,
                                                                 std::int64_t timeoutMs) = 0;
};
}  // namespace foundation::httpclient_core
