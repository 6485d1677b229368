#include "Tool.h"
#include "signals/SignalThread.h"

#include <foundation/httpclient_curl/CurlHttpClient.h>
#include <foundation/httpclient_curl/TerminalCredentialPrompt.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace {

// A program may be started without standard input, output or error. Files opened later would get their
// numbers, and the body would be printed into one of them. Each is opened the wrong way, so that using it
// still fails: a closed standard input is no empty body.
void occupyStandardDescriptors() {
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg): the system's own interface
        if (::fcntl(descriptor, F_GETFD) < 0) {
            // Takes the lowest number that is free, which is this one.
            const int direction = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
            ::open("/dev/null", direction | O_CLOEXEC);
        }
    }
}

// See no-color.org: any value but the empty one asks for none.
bool wantsColours() {
    // NOLINTBEGIN(concurrency-mt-unsafe): no other thread changes the environment
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    // NOLINTEND(concurrency-mt-unsafe)
    return (noColour == nullptr || *noColour == '\0') && terminal != nullptr &&
           std::string_view(terminal) != "dumb";
}

}  // namespace

int main(int argc, char** argv) {
    using namespace foundation;
    using namespace foundation::httpclient_tool;
    occupyStandardDescriptors();
    // For host names beyond ASCII.
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread has started
    std::setlocale(LC_CTYPE, "");
    // Errors of the write instead: a reader that went away, a file size limit.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Interrupts interrupts;
    const SignalThread signals(interrupts);
    const bool isTerminal = ::isatty(STDERR_FILENO) == 1;
    ErrorOutput errors(std::cerr, isTerminal, isTerminal && wantsColours());
    Environment environment{
        .makeClient =
            [](httpclient_curl::CurlClientOptions options) {
                options.credentialPrompt =
                    std::make_shared<httpclient_curl::TerminalCredentialPrompt>();
                return std::make_unique<httpclient_curl::CurlHttpClient>(std::move(options));
            },
        .standardOutput = STDOUT_FILENO,
        .errors = errors,
        .interrupts = interrupts,
        .standardInput = STDIN_FILENO};
    return static_cast<int>(run({argv + 1, argv + argc}, environment));
}
