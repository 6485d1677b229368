#pragma once
#include <foundation/httpclient_curl/CancellableCredentialPrompt.h>
#include <foundation/httpclient_curl/Export.h>

#include <cstdint>
#include <optional>
#include <stop_token>

namespace foundation::httpclient_curl {

/// Asks for the credentials of a proxy at the terminal that controls the process, `/dev/tty`, whatever
/// standard input and output are.
///
/// The user types a name and a password, each ended by Enter; the password is not shown. An empty name is
/// an answer like any other: with it, a CurlHttpClient uses Negotiate. Up to 1024 bytes of a line are
/// taken. The keys of the terminal for erasing, end of file, interrupt, quit and stop work; other control
/// keys do nothing.
///
/// Nothing is answered, which declines, where the process has no terminal or does not run in its
/// foreground, after end of file on an empty line, after the interrupt or quit key, when the time is over,
/// and within 20 ms or so after the request was cancelled. The interrupt and quit keys send
/// SIGINT or SIGQUIT to the process group, as always; a program that goes on after that gets its answer
/// when it has cancelled the request, or after a second.
///
/// The terminal is left as it was in every case, also when the process ends or stops: of the signals
/// SIGHUP, SIGINT, SIGQUIT, SIGALRM, SIGTERM, SIGTSTP and SIGCONT, those that have their default action are
/// caught while the user is asked, and have that action once the terminal's settings are restored. When the
/// process is continued in the foreground, the question is put again with what was typed. A signal that
/// the program handles itself is left to it: its handler must not end the process without cancelling the
/// request. SIGKILL and SIGSTOP cannot be caught.
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
    : public CancellableCredentialPrompt {
public:
    ~TerminalCredentialPrompt() override;

    /// Asks for name and password. Throws nothing but std::bad_alloc.
    /// @param previousAttemptFailed whether to say first that the proxy refused the last answer
    /// @param remainingAttempts told to the user with that
    /// @param timeoutMs milliseconds for name and password together; no limit if zero or less
    /// @param cancelled ends the question when it asks to stop
    std::optional<httpclient_core::ProxyCredentials> ask(bool previousAttemptFailed,
                                                         int remainingAttempts,
                                                         std::int64_t timeoutMs,
                                                         std::stop_token cancelled) override;
};

}  // namespace foundation::httpclient_curl
