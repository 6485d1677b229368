#pragma once
#include <cstdint>

namespace foundation::httpclient_tool {

/// What the process tells the shell. The numbers are part of the interface; --help lists them.
enum class ExitCode : std::uint8_t {
    Success = 0,
    HttpStatus = 1,     ///< The server answered, with a status that is no success.
    Usage = 2,          ///< The command line was wrong; nothing was sent.
    RequestFailed = 3,  ///< No complete answer came.
    TimedOut = 4,
    OutputFailed = 5,  ///< The body could not be written where it was wanted.
    Interrupted = 130  ///< Ended by SIGINT, SIGTERM or SIGHUP; 128 + SIGINT as shells have it.
};

}  // namespace foundation::httpclient_tool
