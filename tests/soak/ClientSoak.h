#pragma once
#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// What the process holds. Memory in bytes.
struct Footprint {
    std::int64_t threads = 0;
    std::int64_t descriptors = 0;
    std::int64_t memory = 0;
};

/// What came of a soak.
struct SoakResult {
    std::uint64_t seed = 0;
    std::uint64_t requests = 0;
    std::uint64_t synchronous = 0;
    std::uint64_t faulty = 0;  ///< Asked for something that goes wrong.
    std::uint64_t exact = 0;
    std::uint64_t pages = 0;     ///< Ended with an error status and its page.
    std::uint64_t failures = 0;  ///< Ended with an exception, but not a cancellation.
    std::uint64_t cancelled = 0;
    std::uint64_t attempts = 0;
    Footprint before;  ///< When one round with all clients was over.
    Footprint after;   ///< When another nine were.
    std::vector<std::string> defects;
};

/// One line.
std::ostream& operator<<(std::ostream& os, const SoakResult& result);

/// Sends so many requests to the server on that port, by ten generations of sixteen clients with a thread
/// of its own each, two in five of them to what goes wrong, on both roads, with random cancellations. The
/// end of each request is checked: its handler runs once, its body is exact or it fails where it has to, the
/// ids and the numbers of its attempts have no gap. `checksMemory` says whether growth by more than 2 MiB is
/// a defect; under a sanitizer it says nothing.
SoakResult soakClients(int port, std::uint64_t requests, std::uint64_t seed, bool checksMemory);

}  // namespace foundation::httpclient_curl::testing
