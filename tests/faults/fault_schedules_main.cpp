// fault_schedules COUNT [SEED]
//
// Runs COUNT random fault schedules against the transport, with the seeds SEED, SEED + 1 and so on (at
// random without it), and prints one line of summary behind a description of each defect. A single
// schedule is described in any case. Exit status 0 only if there was none; 2 for wrong arguments.
#include "tests/faults/ScheduleRun.h"

#include <exception>
#include <iostream>
#include <random>
#include <string>

int main(int argc, char** argv) {
    using namespace foundation::httpclient_curl::testing;
    std::uint64_t count = 0;
    std::uint64_t seed = std::random_device()();
    try {
        count = argc > 1 ? std::stoull(argv[1]) : 0;
        seed = argc > 2 ? std::stoull(argv[2]) : seed;
    } catch (const std::exception&) {
        count = 0;
    }
    if (count == 0 || argc > 3) {
        std::cerr << "usage: fault_schedules COUNT [SEED]\n";
        return 2;
    }
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
