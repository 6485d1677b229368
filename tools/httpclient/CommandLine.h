#pragma once
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace foundation::httpclient_tool {

/// `httpclient get`.
struct GetOptions {
    std::string url;
    std::filesystem::path output;  ///< Empty: standard output.
    int retries = 8;
    std::optional<std::chrono::milliseconds> maxTime;
    std::filesystem::path certificateFile;  ///< Empty: the system's certificates.
    bool quiet = false;
    bool verbose = false;
};

/// --help and --version: a text for standard output instead of any work.
struct Information {
    std::string text;
};

using Command = std::variant<GetOptions, Information>;

/// Reads the arguments, without the name of the program.
/// @throws Failure with `ExitCode::Usage`.
Command parseCommandLine(std::vector<std::string> arguments);

}  // namespace foundation::httpclient_tool
