#include "tools/httpclient/CommandLine.h"

#include "tools/httpclient/Failure.h"

#include <foundation/httpclient_core/Version.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <cmath>

namespace foundation::httpclient_tool {
namespace {

const char* const footer = R"(
The body goes to FILE, or to standard output, only when all of it has come and the server said 2xx: it
is collected in FILE.part (for standard output, pipes and devices in an unnamed file in $TMPDIR or /tmp),
which is removed on every failure. An existing FILE stays as it is until then. A broken download is
resumed where it stopped if the server allows it.

Exit status:
    0  the body is complete
    1  the server answered with a status that is no success
    2  wrong usage
    3  the request failed
    4  the request timed out
    5  the body could not be written
  130  interrupted by SIGINT, SIGTERM or SIGHUP)";

void describeGet(CLI::App& get, GetOptions& options, double& maxTime) {
    get.add_option("URL", options.url, "http:// or https:// URL")->required();
    get.add_option("-o,--output", options.output, "write to FILE, - is standard output")
        ->type_name("FILE");
    get.add_option("--retries", options.retries, "further attempts after a failure that may pass")
        ->type_name("N")
        ->check(CLI::Range(0, 1000))
        ->capture_default_str();
    get.add_option("--max-time", maxTime, "give up after this time, all attempts together")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.001, 1e9));
    get.add_option("--cacert", options.certificateFile,
                   "trust the certificates in FILE (PEM) instead of the system's")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    CLI::Option* quiet =
        get.add_flag("-q,--quiet", options.quiet, "no progress on a terminal, errors only");
    get.add_flag("-v,--verbose", options.verbose,
                 "retries, log records and a summary on standard error")
        ->excludes(quiet);
}

void complete(GetOptions& options, bool outputGiven, double maxTime) {
    if (outputGiven && options.output.empty()) {
        throw Failure(ExitCode::Usage, "-o needs the name of a file");
    }
    if (options.output == "-") {
        options.output.clear();
    }
    if (maxTime > 0) {
        options.maxTime = std::chrono::milliseconds(std::llround(maxTime * 1000));
    }
}

}  // namespace

Command parseCommandLine(std::vector<std::string> arguments) {
    GetOptions options;
    double maxTime = 0;
    CLI::App app(
        "Downloads over bad networks: retries, resumes, and never leaves a file that is not whole.",
        "httpclient");
    app.set_version_flag("--version", "httpclient " FOUNDATION_HTTPCLIENT_VERSION);
    app.require_subcommand(1);
    app.footer(footer);
    CLI::App* get = app.add_subcommand("get", "Download what is at a URL");
    get->footer(footer);
    describeGet(*get, options, maxTime);
    // CLI11 takes them last first.
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::CallForVersion& version) {
        return Information{std::string(version.what()) + "\n"};
    } catch (const CLI::CallForHelp&) {
        return Information{app.help()};
    } catch (const CLI::ParseError& error) {
        throw Failure(ExitCode::Usage, std::string(error.what()) + " (see httpclient --help)");
    }
    complete(options, get->count("--output") > 0, maxTime);
    return options;
}

}  // namespace foundation::httpclient_tool
