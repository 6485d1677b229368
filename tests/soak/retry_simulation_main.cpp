// retry_simulation REQUESTS [SEED]
//
// Simulates so many requests through an outage, in virtual time, with a seed (at random without it), and
// prints one line with the load that the retries add. Exit status 0 only if there was no defect; 2 for
// wrong arguments.
#include "tests/soak/RetrySimulation.h"
#include "tests/support/RunLength.h"

#include <boost/log/core/core.hpp>

#include <chrono>
#include <iostream>

int main(int argc, char** argv) {
    using namespace foundation::httpclient_core::testing;
    const auto length = foundation::httpclient_core::testing::runLength(
        argc, argv, "retry_simulation REQUESTS [SEED]");
    if (!length.has_value()) {
        return 2;
    }
    const auto [requests, seed] = *length;
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
