#pragma once
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {

/// The attempts for each logical request that arrives, which is the load that retries add.
struct LoadPhase {
    std::string name;
    std::uint64_t arrivals = 0;
    std::uint64_t attempts = 0;

    double amplification() const {
        return arrivals == 0 ? 0 : static_cast<double>(attempts) / static_cast<double>(arrivals);
    }
};

/// What came of a simulation.
struct RetryLoad {
    std::uint64_t seed = 0;
    std::uint64_t requests = 0;
    std::uint64_t succeeded = 0;
    std::uint64_t refused = 0;  ///< Ended with an error status.
    std::uint64_t failed = 0;   ///< Ended with an exception.
    std::uint64_t attempts = 0;
    int mostAttempts = 0;  ///< For one request.
    std::vector<LoadPhase> phases;
    double peak = 0;  ///< Attempts of the worst second for each arrival in a second.
    std::uint64_t secondsToCalm = 0;  ///< From the end of the outage until retries add no load.
    std::uint64_t fingerprint = 0;    ///< Of every attempt and its time.
    std::vector<std::string> defects;
};

/// One line.
std::ostream& operator<<(std::ostream& os, const RetryLoad& load);

/// So many logical requests, 1,000 in each second of virtual time, through an outage in the middle tenth of
/// that time: at first the server is slow, then it answers 503, with Retry-After or without, or not at all.
/// The default strategy makes up to six attempts with jitter. Everything follows from the seed.
RetryLoad simulateRetries(std::uint64_t requests, std::uint64_t seed);

}  // namespace foundation::httpclient_core::testing
