// fault_schedules COUNT [SEED]
//
// Runs COUNT random fault schedules against the transport, with the seeds SEED, SEED + 1 and so on (at
// random without it), and prints one line of summary behind a description of each defect. A single
// schedule is described in any case. Exit status 0 only if there was none; 2 for wrong arguments.
#include "tests/faults/ScheduleRun.h"
#include "tests/support/RunLength.h"

#include <iostream>

int main(int argc, char** argv) {
    using namespace foundation::httpclient_curl::testing;
    const auto length =
        foundation::httpclient_core::testing::runLength(argc, argv, "fault_schedules COUNT [SEED]");
    if (!length.has_value()) {
        return 2;
    }
    const auto [count, seed] = *length;
    if (count == 1) {
        std::cout << makeSchedule(seed);
    }
    const Tally tally = runSchedules(seed, count);
    for (const std::string& defect : tally.defects) {
        std::cout << "DEFECT: " << defect;
    }
    std::cout << "schedules from seed " << seed << ": " << tally << std::endl;
    return tally.defects.empty() && tally.schedules == count ? 0 : 1;
}
