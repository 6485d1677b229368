#pragma once
#include <foundation/httpclient_core/ProxyCredentials.h>

#include <cstdint>
#include <optional>

namespace foundation::httpclient_core {

/// Asks the user for the credentials of a proxy that has refused a request.
///
/// A transport hands one out through HttpClient::proxyCredentialPrompt(), null if nobody can be
/// asked. The client asks after each 407 of a known proxy until the proxy accepts, the user
/// declines or `proxyCredentialPromptNumRetries` of the client's configuration (default 3) is
/// used up.
///
/// @par Thread safety
/// An implementation must be thread-safe if its transport hands the same object to several
/// requests: the client takes no lock and asks from every thread that serves a proxy.
///
/// @par Example
/// Answers once, and declines if the proxy refused that:
/// @code{.cpp}
/// class FixedAnswer : public ProxyCredentialPrompt {
///     using Answer = std::optional<ProxyCredentials>;
///     Answer promptForCredentials(bool again, int, std::int64_t) override {
///         return again ? Answer() : ProxyCredentials("ann", "secret");
///     }
/// } fixed;
/// ProxyCredentialPrompt& prompt = fixed;
/// assert(prompt.promptForCredentials(false, 3, 120000)->username() == "ann");
/// assert(!prompt.promptForCredentials(true, 2, 120000).has_value());
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API ProxyCredentialPrompt {
public:
    /// Destroys the prompt. The client holds a handle only while it serves one attempt.
    virtual ~ProxyCredentialPrompt();

    /// Returns the user's answer, or nothing if the user declined: the request then ends with the
    /// 407 it has, unless a strategy says otherwise.
    ///
    /// Runs on the thread of makeRequest(), or on the thread on which the transport ends an
    /// asynchronous attempt, and blocks it as long as it takes. No lock is held. An exception
    /// becomes the error of the attempt.
    /// @param previousAttemptFailed false at the first call for an attempt; true later, when the
    ///     proxy has refused the answer before.
    /// @param remainingAttempts how often the user can be asked, with this time: the configured
    ///     number at the first call, one less at each further call, never below 1.
    /// @param timeoutMs how long to wait for the user, in milliseconds, 120000 unless a transport
    ///     has set it. The client does not enforce it; what it means is up to the prompt.
    virtual std::optional<ProxyCredentials> promptForCredentials(bool previousAttemptFailed,
                                                                 int remainingAttempts,
                                                                 std::int64_t timeoutMs) = 0;
};

}  // namespace foundation::httpclient_core
