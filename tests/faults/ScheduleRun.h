#pragma once
#include "tests/faults/FaultPeer.h"
#include "tests/faults/FaultSchedule.h"

#include <foundation/httpclient_core/HttpClient.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {

enum class Ending {
    Exact,       ///< Success, with one whole version.
    HttpError,   ///< A status that is no success, with the page that the server sent.
    Failure,     ///< An exception of the transport's family.
    Corruption,  ///< Success or a status over bytes that the server never had as a whole.
    Foreign      ///< An exception of another family.
};

struct Verdict {
    Ending ending = Ending::Exact;
    std::string text;  ///< What was seen.
    int requests = 0;
    std::size_t bytesSent = 0;
};

/// Runs one schedule through the client and judges what the caller got. A schedule that takes longer than
/// a minute ends the program. `folder` is for streams that are files.
Verdict runSchedule(httpclient_core::HttpClient& client,
                    FaultPeer& peer,
                    const Schedule& schedule,
                    const std::filesystem::path& folder);

/// What came out of many schedules.
struct Tally {
    std::uint64_t schedules = 0;
    std::uint64_t exact = 0;
    std::uint64_t httpErrors = 0;
    std::uint64_t failures = 0;
    std::uint64_t requests = 0;
    std::vector<std::string>
        defects;  ///< Of corruptions and foreign exceptions: all one needs to repeat.
};

/// One line.
std::ostream& operator<<(std::ostream& os, const Tally& tally);

/// Runs the schedules of the seeds from `first` on, several at a time, through one client after the other.
Tally runSchedules(std::uint64_t first, std::uint64_t count);

}  // namespace foundation::httpclient_curl::testing
