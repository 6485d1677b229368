#pragma once
#include "tests/faults/FaultSchedule.h"
#include "tests/support/LoopbackServer.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// A server that plays schedules, each under a URL of its own.
class FaultPeer {
public:
    FaultPeer();
    FaultPeer(const FaultPeer&) = delete;
    FaultPeer& operator=(const FaultPeer&) = delete;
    ~FaultPeer();

    /// The schedule begins with the first request of the URL; it must live until forget().
    std::string add(const Schedule& schedule);
    /// No request for the schedule is answered any more.
    void forget(const Schedule& schedule);

    /// The bodies of the error pages sent for the schedule so far.
    std::vector<std::string> pages(const Schedule& schedule) const;
    /// Whether some range was answered with 416, after which a client may ask for all.
    bool refusedARange(const Schedule& schedule) const;
    int requestCount(const Schedule& schedule) const;
    /// All bytes given to the network for the schedule, heads included.
    std::size_t bytesSent(const Schedule& schedule) const;

private:
    struct Play {
        const Schedule* schedule;
        std::size_t requests = 0;
        std::size_t bytesSent = 0;
        bool refusedARange = false;
        std::vector<std::string> pages;
    };

    void answer(const httpclient_core::testing::ReceivedRequest& request,
                httpclient_core::testing::Connection& connection);

    mutable std::mutex mutex_;  ///< Guards the plays.
    std::map<std::uint64_t, Play> plays_;
    std::unique_ptr<httpclient_core::testing::LoopbackServer> server_;  // Last: it uses the rest.
};

}  // namespace foundation::httpclient_curl::testing
