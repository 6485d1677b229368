#include "command/CommandLine.h"

#include "report/Failure.h"
#include "text/LowerCase.h"

#include <foundation/httpclient_core/Version.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpMethod;

const char* const versionText = "httpclient " FOUNDATION_HTTPCLIENT_VERSION;

const char* const footer = R"(
Only the body of a 2xx answer is put out, and nothing but the body of one version of the resource. Standard
output gets the bytes as they come; a download that broke off goes on behind the last byte put out. With
-o and -O the body is collected in FILE.part, which takes the place of FILE when it is whole; an existing
FILE stays as it is until then. Where it can be continued FILE.part stays behind after a failure, with
FILE.part.journal, and --resume goes on with it, also after a crash.

Exit status:
    0  the answer is a 2xx and complete
    1  any other failure: no connection, a broken body, output that cannot be written
    2  timed out
    3  the final answer is a 3xx
    4  the final answer is a 4xx
    5  the final answer is a 5xx
    6  too many redirects
    7  TLS: the server cannot be trusted, or no secure connection
    8  the proxy wants a user name and password
    9  the partial file cannot be continued, or the resource changed after bytes went out
   64  wrong usage
  130  interrupted by SIGINT, SIGTERM or SIGHUP
With several URLs it is 130 after an interrupt, else that of the first one, in the order given, that failed.

Environment: http_proxy, https_proxy, all_proxy and no_proxy name the proxy; NO_COLOR turns colours off.)";

/// The numbers of an option in seconds, 0 where it is not there.
struct Seconds {
    double retryDeadline = 0;
    double maxTime = 0;
    double connectTimeout = 0;
    double idleTimeout = 0;
};

struct Parsed {
    RequestOptions options;
    Seconds seconds;
    std::vector<std::string> headers;
    bool outputGiven = false;
};

// CLI11's own range repeats the value, which may be the header that was meant for another option.
CLI::Validator wholeNumber(int least, int most) {
    const std::string limits = std::to_string(least) + " to " + std::to_string(most);
    return {[=](const std::string& text) {
                int value = 0;
                const bool isFit =
                    CLI::detail::lexical_cast(text, value) && value >= least && value <= most;
                return isFit ? std::string() : "takes a number, " + limits;
            },
            limits};
}

// It also lets "nan" through.
std::string whyNoSeconds(const std::string& text) {
    double value = 0;
    constexpr double shortest = 0.001;
    constexpr double longest = 1e9;
    const bool isFit =
        CLI::detail::lexical_cast(text, value) && value >= shortest && value <= longest;
    return isFit ? "" : "takes seconds, from 0.001 to 1000000000";
}

void addSeconds(CLI::App& command, const char* name, double& value, const char* text) {
    command.add_option(name, value, text)->type_name("SECONDS")->check(whyNoSeconds);
}

void describeRequest(CLI::App& command, HttpMethod method, Parsed& parsed) {
    RequestOptions& options = parsed.options;
    command
        .add_option("URL", options.urls,
                    method == HttpMethod::HEAD ? "http:// or https:// URL, or several"
                                               : "http:// or https:// URL; several need -O")
        ->required();
    command
        .add_option("-H,--header", parsed.headers,
                    "send this header too, in place of one that is sent otherwise")
        ->type_name("'NAME: VALUE'")
        ->allow_extra_args(false);
    command
        .add_option("--retries", options.retries, "further attempts after a failure that may pass")
        ->type_name("N")
        ->check(wholeNumber(0, 1000))
        ->capture_default_str();
    addSeconds(command, "--retry-deadline", parsed.seconds.retryDeadline,
               "begin no further attempt after this time");
    addSeconds(command, "--max-time", parsed.seconds.maxTime,
               "give up after this time, everything together");
    addSeconds(command, "--connect-timeout", parsed.seconds.connectTimeout,
               "time for a connection to stand, TLS and proxy included (default 5)");
    addSeconds(command, "--idle-timeout", parsed.seconds.idleTimeout,
               "longest time without a byte (default 30)");
    command
        .add_option("--max-redirects", options.maxRedirects,
                    "redirects to follow; 0 takes a redirect for the answer")
        ->type_name("N")
        ->check(wholeNumber(0, 1000))
        ->capture_default_str();
    command.add_option("--proxy", options.proxy, "proxy to use, http://[USER:PASSWORD@]HOST:PORT")
        ->type_name("URL");
    command
        .add_option("--cacert", options.certificateFile,
                    "trust the certificates in FILE (PEM) instead of the system's")
        ->type_name("FILE")
        ->check(CLI::ExistingFile);
    command
        .add_option("--unix-socket", options.unixSocket,
                    "connect to this unix domain socket instead of the URL's host")
        ->type_name("PATH");
    command.add_option("--parallel", options.parallel, "URLs worked on at once")
        ->type_name("N")
        ->check(wholeNumber(1, 64))
        ->capture_default_str();
    command
        .add_flag("--json", options.json,
                  "report on standard output as one JSON document; bodies then need -o or -O")
        ->disable_flag_override();
    command
        .add_flag("--explain", options.explain,
                  "tell each attempt on standard error: cause, wait, bytes, timings")
        ->disable_flag_override();
    command
        .add_flag("-i,--include", options.includeHead,
                  "put status line and headers out before the body, on standard output")
        ->disable_flag_override();
    CLI::Option* quiet =
        command.add_flag("-q,--quiet", options.quiet, "no progress on a terminal, errors only")
            ->disable_flag_override();
    command
        .add_flag("-v,--verbose", options.verbose,
                  "headers, retries, log records and a summary on standard error, without secrets")
        ->disable_flag_override()
        ->excludes(quiet);
}

void describeOutput(CLI::App& command, RequestOptions& options) {
    CLI::Option* output = command.add_option("-o,--output", options.output,
                                             "write the body to FILE, - is standard output");
    output->type_name("FILE");
    command
        .add_flag("-O,--remote-name", options.remoteName,
                  "write each body to a file named like the end of the URL's path")
        ->disable_flag_override()
        ->excludes(output);
}

void describeResume(CLI::App& command, RequestOptions& options) {
    command
        .add_flag("-C,--resume", options.resume,
                  "go on with what an earlier run left in FILE.part; needs -o or -O")
        ->disable_flag_override();
}

void describeBody(CLI::App& command, RequestOptions& options) {
    CLI::Option* data = command.add_option(
        "-d,--data", options.data, "send this body: a text, @FILE, or @- for standard input");
    data->type_name("DATA");
    command
        .add_option("-F,--form", options.form,
                    "send a multipart form with this field: NAME=VALUE or NAME=@FILE[;type=TYPE]")
        ->type_name("FIELD")
        ->allow_extra_args(false)
        ->excludes(data);
}

struct Subcommand {
    const char* name;
    const char* text;
    HttpMethod method;
    bool hasBody;
};

constexpr std::array<Subcommand, 6> subcommands = {{
    {"get", "Download what is at a URL", HttpMethod::GET, false},
    {"head", "Ask for status and headers alone", HttpMethod::HEAD, false},
    {"put", "Upload a body to a URL", HttpMethod::PUT, true},
    {"post", "Send a body or a form to a URL", HttpMethod::POST, true},
    {"delete", "Delete what is at a URL", HttpMethod::DELETE, true},
    {"patch", "Send a change to a URL", HttpMethod::PATCH, true},
}};

[[noreturn]] void misuse(const std::string& text) {
    throw Failure(ExitCode::Usage, text);
}

bool isToken(std::string_view text) {
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    return !text.empty() && std::all_of(text.begin(), text.end(), [marks](char character) {
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') ||
               marks.find(character) != std::string_view::npos;
    });
}

std::pair<std::string, std::string> parseHeader(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || !isToken(std::string_view(text).substr(0, colon))) {
        misuse("-H takes 'NAME: VALUE'");
    }
    const std::size_t first = text.find_first_not_of(" \t", colon + 1);
    const std::size_t last = text.find_last_not_of(" \t");
    std::string value =
        first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
    if (std::any_of(value.begin(), value.end(), [](unsigned char byte) {
            return (byte < 0x20 && byte != '\t') || byte == 0x7F;
        })) {
        misuse("the value of a header has a control character");
    }
    return {text.substr(0, colon), std::move(value)};
}

std::optional<std::chrono::milliseconds> milliseconds(double seconds) {
    return seconds > 0 ? std::optional(std::chrono::milliseconds(std::llround(seconds * 1000)))
                       : std::nullopt;
}

void requireSense(const RequestOptions& options) {
    if (options.urls.size() > 1 && !options.remoteName && options.method != HttpMethod::HEAD) {
        misuse("several URLs need -O, a file for each");
    }
    if (options.resume && options.writesToStandardOutput()) {
        misuse("--resume needs -o FILE or -O: standard output cannot be continued");
    }
    if (options.resume && options.hasHeader("Range")) {
        misuse("--resume asks for ranges of its own; leave out the header Range");
    }
    if (!options.form.empty() && options.hasHeader("Content-Type")) {
        misuse("-F makes the header Content-Type itself; leave it out");
    }
    if (options.json && options.writesToStandardOutput() && options.method != HttpMethod::HEAD) {
        misuse("--json needs -o FILE or -O: standard output is for the report");
    }
    if (options.data == "@-" && options.urls.size() > 1) {
        misuse("standard input can be sent to one URL only");
    }
}

RequestOptions complete(Parsed parsed, HttpMethod method) {
    RequestOptions& options = parsed.options;
    options.method = method;
    if (parsed.outputGiven && options.output.empty()) {
        misuse("-o needs the name of a file");
    }
    if (options.output == "-") {
        options.output.clear();
    }
    for (const std::string& header : parsed.headers) {
        options.headers.push_back(parseHeader(header));
    }
    options.retryDeadline = milliseconds(parsed.seconds.retryDeadline);
    options.maxTime = milliseconds(parsed.seconds.maxTime);
    options.connectTimeout = milliseconds(parsed.seconds.connectTimeout);
    options.idleTimeout = milliseconds(parsed.seconds.idleTimeout);
    requireSense(options);
    return std::move(options);
}

// What a misspelt option is called, without the value that may stand behind it.
std::string unknownOption(const std::vector<std::string>& surplus) {
    for (const std::string& word : surplus) {
        if (word.starts_with("--")) {
            return "there is no option " + word.substr(0, word.find('='));
        }
        if (word.starts_with('-')) {
            return "there is no option " + word.substr(0, 2);
        }
    }
    return "there are words too many";
}

// CLI11's text in one line. Surplus words are taken for URLs, so it repeats names of options and of missing
// files only.
std::string usageText(const CLI::ParseError& error) {
    std::string text = error.what();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text + " (see httpclient --help)";
}

}  // namespace

bool RequestOptions::hasHeader(const std::string& name) const {
    return std::any_of(headers.begin(), headers.end(),
                       [wanted = lowerCase(name)](const auto& header) {
                           return lowerCase(header.first) == wanted;
                       });
}

Command parseCommandLine(std::vector<std::string> arguments) {
    Parsed parsed;
    CLI::App app(
        "Downloads and uploads over bad networks: retries, resumes, and never passes a part of a "
        "body "
        "for the whole.",
        "httpclient");
    app.set_version_flag("--version", versionText);
    app.require_subcommand(1);
    app.footer(footer);
    std::vector<CLI::App*> apps;
    for (const Subcommand& subcommand : subcommands) {
        CLI::App* command = app.add_subcommand(subcommand.name, subcommand.text);
        command->footer(footer);
        command->set_version_flag("--version", versionText);
        describeRequest(*command, subcommand.method, parsed);
        if (subcommand.method != HttpMethod::HEAD) {
            describeOutput(*command, parsed.options);
        }
        if (subcommand.method == HttpMethod::GET) {
            describeResume(*command, parsed.options);
        }
        if (subcommand.hasBody) {
            describeBody(*command, parsed.options);
        }
        apps.push_back(command);
    }
    // CLI11 takes them last first.
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::CallForVersion& version) {
        return Information{std::string(version.what()) + "\n"};
    } catch (const CLI::CallForHelp&) {
        return Information{app.help()};
    } catch (const CLI::ExtrasError&) {
        misuse(unknownOption(app.remaining(true)) + " (see httpclient --help)");
    } catch (const CLI::ParseError& error) {
        throw Failure(ExitCode::Usage, usageText(error));
    }
    for (std::size_t index = 0; index < apps.size(); ++index) {
        if (apps[index]->parsed()) {
            const HttpMethod method = subcommands.at(index).method;
            parsed.outputGiven = method != HttpMethod::HEAD && apps[index]->count("--output") > 0;
            return complete(std::move(parsed), method);
        }
    }
    misuse("a command is missing (see httpclient --help)");
}

}  // namespace foundation::httpclient_tool
