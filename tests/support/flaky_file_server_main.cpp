// flaky_file_server SIZE DROP_AFTER DROPS FILE [BYTES_PER_SECOND]
//
// Serves one file of SIZE pseudo-random bytes at every path on a free port of 127.0.0.1 and breaks the
// connection after DROP_AFTER body bytes of each of the first DROPS requests; ranges are supported, so
// that a client can resume. The file is written to FILE first, for the caller to take its checksum.
// BYTES_PER_SECOND slows the bodies down; without it, or with 0, they go at full speed.
// Prints one line with the port number on standard output, then serves until standard input ends or
// SIGTERM or SIGINT comes. Exit status 0; 2 for wrong arguments, 1 when FILE cannot be written.
#include "tests/support/FlakyFileServer.h"

#include <array>
#include <fstream>
#include <iostream>
#include <poll.h>
#include <signal.h>
#include <string>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

using foundation::httpclient_core::testing::FlakyFileServer;

void waitForEnd(int signals) {
    std::array<pollfd, 2> watched{{{STDIN_FILENO, POLLIN, 0}, {signals, POLLIN, 0}}};
    std::array<char, 256> ignored{};
    while (::poll(watched.data(), watched.size(), -1) >= 0) {
        if (watched[1].revents != 0) {
            return;
        }
        if (watched[0].revents != 0 && ::read(STDIN_FILENO, ignored.data(), ignored.size()) <= 0) {
            return;
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5 && argc != 6) {
        std::cerr << "usage: flaky_file_server SIZE DROP_AFTER DROPS FILE [BYTES_PER_SECOND]\n";
        return 2;
    }
    FlakyFileServer::Options options;
    try {
        options.size = std::stoull(argv[1]);
        options.dropAfter = std::stoull(argv[2]);
        options.drops = std::stoi(argv[3]);
        options.bytesPerSecond = argc == 6 ? std::stoull(argv[5]) : 0;
    } catch (const std::exception& error) {
        std::cerr << "flaky_file_server: not a number: " << error.what() << '\n';
        return 2;
    }
    // Blocked before any thread starts, so that only the descriptor sees them.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    ::pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    const int signals = ::signalfd(-1, &ending, SFD_CLOEXEC);

    const FlakyFileServer server(options);
    std::ofstream file(argv[4], std::ios::binary);
    file << server.content() << std::flush;
    if (!file) {
        std::cerr << "flaky_file_server: cannot write " << argv[4] << '\n';
        return 1;
    }
    std::cout << server.port() << std::endl;
    waitForEnd(signals);
    return 0;
}
