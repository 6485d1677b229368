// retry_simulation REQUESTS [SEED]
//
// Simulates so many requests through an outage, in virtual time, with a seed (at random without it), and
// prints one line with the load that the retries add. Exit status 0 only if there was no defect; 2 for
// wrong arguments.
#include "tests/soak/RetrySimulation.h"

#include <boost/log/core/core.hpp>

#include <chrono>
#include <exception>
#include <iostream>
#include <random>

int main(int argc, char** argv) {
    using namespace foundation::httpclient_core::testing;
    std::uint64_t requests = 0;
    std::uint64_t seed = std::random_device()();
    try {
        requests = argc > 1 ? std::stoull(argv[1]) : 0;
        seed = argc > 2 ? std::stoull(argv[2]) : seed;
    } catch (const std::exception&) {
        requests = 0;
    }
    if (requests == 0 || argc > 3) {
        std::cerr << "usage: retry_simulation REQUESTS [SEED]\n";
        return 2;
    }
    boost::log::core::get()->set_logging_enabled(false);
    const auto begun = std::chrono::steady_clock::now();
    const RetryLoad load = simulateRetries(requests, seed);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
    for (const std::string& defect : load.defects) {
        std::cout << "DEFECT: " << defect << '\n';
    }
    std::cout << "retries: " << load << "; " << taken.count() << " s" << std::endl;
    return load.defects.empty() ? 0 : 1;
}
