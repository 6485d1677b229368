#pragma once
#include <cstdint>

namespace foundation::httpclient_tool {

/// What the process tells the shell. The numbers are part of the interface; --help lists them.
enum class ExitCode : std::uint8_t {
    Success = 0,
    Failed = 1,  ///< No complete answer came, or it could not be written where it was wanted.
    TimedOut = 2,
    Redirection = 3,          ///< The final answer has a status from 300 to 399.
    ClientError = 4,          ///< The final answer has a status from 400 to 499.
    ServerError = 5,          ///< The final answer has a status from 500 on.
    TooManyRedirects = 6,     ///< Also when `--max-redirects` was reached.
    Tls = 7,                  ///< The connection is not secure: certificate, handshake, CA file.
    ProxyAuthentication = 8,  ///< The proxy wants a user name and password, or others.
    ResumeRefused =
        9,       ///< The partial file cannot be continued, or the resource changed on the way.
    Usage = 64,  ///< The command line was wrong; nothing was sent.
    Interrupted = 130  ///< Ended by SIGINT, SIGTERM or SIGHUP; 128 + SIGINT as shells have it.
};

}  // namespace foundation::httpclient_tool
