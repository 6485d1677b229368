#pragma once
#include <foundation/httpclient_core/ProxyCredentialPrompt.h>
#include <foundation/httpclient_curl/Export.h>

#include <cstdint>
#include <optional>

namespace foundation::httpclient_curl {

/// Asks for the credentials of a proxy at the terminal that controls the process, `/dev/tty`, whatever
/// standard input and output are.
///
/// The user types a name and a password, each ended by Enter; the password is not shown. An empty name is
/// an answer like any other: with it, a CurlHttpClient uses Negotiate. Up to 1024 bytes of a line are
/// taken. The erase, kill, end-of-file and interrupt keys of the terminal work; other control keys do
/// nothing.
///
/// Nothing is answered, which declines, where the process has no terminal or does not run in its
/// foreground, after end of file on an empty line, after the interrupt key (Ctrl-C), and when the time is
/// over. Ctrl-C also sends SIGINT to the process, once the terminal is as it was before. The terminal's
/// settings are restored in every one of these cases; only a signal that ends the process from outside
/// while the user is typing leaves them changed.
///
/// @par Thread safety
/// thread-safe; a second question waits for the end of the first, however long that takes
///
/// @par Example
/// A client that asks at the terminal:
/// @code{.cpp}
/// using foundation::httpclient_curl::CurlHttpClient;
/// using foundation::httpclient_curl::TerminalCredentialPrompt;
/// const CurlHttpClient client(std::make_shared<TerminalCredentialPrompt>());
/// assert(client.proxyCredentialPrompt(HttpResponse(), nullptr) != nullptr);
/// @endcode
class FOUNDATION_HTTPCLIENT_CURL_API TerminalCredentialPrompt final
    : public httpclient_core::ProxyCredentialPrompt {
public:
    ~TerminalCredentialPrompt() override;

    /// Asks for name and password. Throws nothing but std::bad_alloc.
    /// @param previousAttemptFailed whether to say first that the proxy refused the last answer
    /// @param remainingAttempts told to the user with that
    /// @param timeoutMs milliseconds for name and password together; no limit if zero or less
    std::optional<httpclient_core::ProxyCredentials> promptForCredentials(
        bool previousAttemptFailed,
        int remainingAttempts,
        std::int64_t timeoutMs) override;
};

}  // namespace foundation::httpclient_curl
