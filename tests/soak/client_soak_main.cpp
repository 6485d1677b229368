// client_soak REQUESTS [SEED]    sends them and prints one line of summary behind the defects
// client_soak serve              is the server for it, in a process of its own
//
// Without a seed another one is used each time. Exit status 0 only if there was no defect; 2 for wrong
// arguments.
#include "tests/soak/ClientSoak.h"
#include "tests/soak/SoakServer.h"
#include "tests/support/RunLength.h"

#include <boost/log/core/core.hpp>

#include <chrono>
#include <iostream>
#include <malloc.h>
#include <string>

int main(int argc, char** argv) {
    using namespace foundation::httpclient_curl::testing;
    if (argc == 2 && std::string(argv[1]) == "serve") {
        return serveSoak();
    }
    const auto length =
        foundation::httpclient_core::testing::runLength(argc, argv, "client_soak REQUESTS [SEED]");
    if (!length.has_value()) {
        return 2;
    }
    const auto [requests, seed] = *length;
#if defined(FOUNDATION_SANITIZED)
    // It keeps what was freed.
    constexpr bool checksMemory = false;
#else
    constexpr bool checksMemory = true;
#endif
    boost::log::core::get()->set_logging_enabled(false);
    // With an arena for each thread the memory that is held depends on which threads met.
    ::mallopt(M_ARENA_MAX, 1);
    const SoakServer server(argv[0]);
    const auto begun = std::chrono::steady_clock::now();
    const SoakResult result = soakClients(server.port(), requests, seed, checksMemory);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
    constexpr std::size_t shown = 20;
    for (std::size_t i = 0; i < result.defects.size() && i < shown; ++i) {
        std::cout << "DEFECT: " << result.defects[i] << '\n';
    }
    std::cout << "clients: " << result << (checksMemory ? "" : ", memory not judged") << "; "
              << taken.count() << " s" << std::endl;
    return result.defects.empty() && result.requests == requests ? 0 : 1;
}
