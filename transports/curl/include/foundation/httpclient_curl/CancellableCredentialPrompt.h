#pragma once
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>
#include <foundation/httpclient_curl/Export.h>

#include <cstdint>
#include <optional>
#include <stop_token>

namespace foundation::httpclient_curl {

/// A prompt that can be told to stop asking. A CurlHttpClient does so when the request that asks is
/// cancelled or the client is destroyed; any other prompt keeps its request, and the destructor of the
/// client, waiting until the user has answered.
///
/// @par Thread safety
/// thread-compatible; a derived class says what it adds
///
/// @par Example
/// A prompt that waits until it is told to stop, as one with a window would for its user:
/// @code{.cpp}
/// struct Window : foundation::httpclient_curl::CancellableCredentialPrompt {
///     std::optional<ProxyCredentials> ask(bool, int, std::int64_t, std::stop_token stop) override {
///         std::promise<void> closed;
///         const std::stop_callback close(stop, [&closed] { closed.set_value(); });
///         closed.get_future().wait();
///         return std::nullopt;
///     }
/// };
/// std::stop_source cancelled;
/// cancelled.request_stop();
/// assert(!Window().ask(false, 3, 120000, cancelled.get_token()).has_value());
/// @endcode
class FOUNDATION_HTTPCLIENT_CURL_API CancellableCredentialPrompt
    : public httpclient_core::ProxyCredentialPrompt {
public:
    ~CancellableCredentialPrompt() override;

    /// Asks the user, on the calling thread. The first three arguments are those of
    /// promptForCredentials().
    /// @param cancelled once it asks to stop, from whatever thread, an answer is of no use any more: the
    /// function returns nothing as soon as it can. Its callbacks are run by the thread that cancels, with
    /// no lock of the client held; they must not wait for this function.
    virtual std::optional<httpclient_core::ProxyCredentials> ask(bool previousAttemptFailed,
                                                                 int remainingAttempts,
                                                                 std::int64_t timeoutMs,
                                                                 std::stop_token cancelled) = 0;

    /// Asks without a way to cancel.
    std::optional<httpclient_core::ProxyCredentials> promptForCredentials(
        bool previousAttemptFailed,
        int remainingAttempts,
        std::int64_t timeoutMs) final;
};

}  // namespace foundation::httpclient_curl
