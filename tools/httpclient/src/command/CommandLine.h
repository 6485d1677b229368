#pragma once
#include <foundation/httpclient_core/HttpMethod.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace foundation::httpclient_tool {

/// `httpclient get`, `head`, `put`, `post`, `delete` and `patch`. Where an option is left out the field
/// has its default; times without a value leave the library's own in force.
struct RequestOptions {
    httpclient_core::HttpMethod method = httpclient_core::HttpMethod::GET;
    std::vector<std::string> urls;  ///< At least one.

    std::vector<std::pair<std::string, std::string>> headers;  ///< Names are tokens, values safe.
    std::optional<std::string> data;                           ///< As given: text, "@file" or "@-".
    std::vector<std::string> form;  ///< As given: "name=value" or "name=@file;type=media/type".

    std::filesystem::path output;  ///< Empty: standard output, unless `remoteName` is set.
    bool remoteName = false;       ///< Each body into a file named like the end of its URL's path.
    bool resume = false;           ///< Continue what an earlier run left.

    int retries = 8;
    std::optional<std::chrono::milliseconds> retryDeadline;
    std::optional<std::chrono::milliseconds> maxTime;
    std::optional<std::chrono::milliseconds> connectTimeout;
    std::optional<std::chrono::milliseconds> idleTimeout;
    int maxRedirects = 5;  ///< 0: redirects are not followed.

    std::string proxy;                      ///< Empty: that of the environment.
    std::filesystem::path certificateFile;  ///< Empty: the system's certificates.
    std::filesystem::path unixSocket;       ///< Empty: TCP.
    int parallel = 1;

    bool json = false;
    bool explain = false;
    bool includeHead = false;
    bool quiet = false;
    bool verbose = false;

    /// Whether bodies go to standard output.
    bool writesToStandardOutput() const noexcept { return output.empty() && !remoteName; }
    /// Whether the caller set a header of that name, in any letter case.
    bool hasHeader(const std::string& name) const;
};

/// --help and --version: a text for standard output instead of any work.
struct Information {
    std::string text;
};

using Command = std::variant<RequestOptions, Information>;

/// Reads the arguments, without the name of the program.
/// @throws Failure with `ExitCode::Usage`; its text never repeats a header, a body or a proxy.
Command parseCommandLine(std::vector<std::string> arguments);

}  // namespace foundation::httpclient_tool
