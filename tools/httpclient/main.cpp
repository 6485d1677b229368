#include "tools/httpclient/SignalThread.h"
#include "tools/httpclient/Tool.h"

#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <clocale>
#include <csignal>
#include <iostream>
#include <unistd.h>

int main(int argc, char** argv) {
    using namespace foundation;
    using namespace foundation::httpclient_tool;
    std::setlocale(LC_ALL, "");  // for host names beyond ASCII
    // Errors of the write instead: a reader that went away, a file size limit.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    Interrupts interrupts;
    const SignalThread signals(interrupts);
    ErrorOutput errors(std::cerr, ::isatty(STDERR_FILENO) == 1);
    Environment environment{[] { return std::make_unique<httpclient_curl::CurlHttpClient>(); },
                            STDOUT_FILENO, errors, interrupts};
    return static_cast<int>(run({argv + 1, argv + argc}, environment));
}
