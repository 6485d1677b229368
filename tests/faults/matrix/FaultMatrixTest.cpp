#include "tests/faults/matrix/Families.h"

#include <cstdlib>
#include <iostream>
#include <string_view>

namespace foundation::httpclient_curl::testing {
namespace {

using MakeFamily = Family (*)();

constexpr MakeFamily families[] = {
    headCuts,
    headCutsThenRetry,
    headSplits,
    headStalls,
    bodyCuts,
    bodyCutsThenResume,
    largeBodyCutsThenResume,
    repeatedCuts,
    bodyDrips,
    contentLengths,
    chunkSizes,
    transferCodings,
    statusLines,
    headerLines,
    interimAnswers,
    headerFloods,
    resumeAnswers,
    redirectChains,
    redirectPlaces,
    upgradeChains,
    retryAfters,
    tlsCuts,
    tlsFlips,
    tlsPeers,
    nameFaults,
    unixSockets,
    uploadCuts,
    proxyFaults,
    tunnelCuts,
    squidChains,
    refusingSinks,
    fullDisks,
};

// With FOUNDATION_FAULT_FAMILY only the families whose name begins so, without the check of the total.
TEST(FaultMatrixTest, EachCaseEndsInTheExactBodyOrAFailure) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing changes the environment
    const char* wanted = std::getenv("FOUNDATION_FAULT_FAMILY");
    FamilyTally total;
    total.name = "all";
    for (const MakeFamily make : families) {
        const Family family = make();
        if (wanted != nullptr && !std::string_view(family.name).starts_with(wanted)) {
            continue;
        }
        const FamilyTally tally = runFamily(family);
        std::cout << tally << std::endl;
        for (const std::string& defect : tally.defects) {
            ADD_FAILURE() << defect;
        }
        EXPECT_GT(tally.cases, 0U) << tally.name;
        total.cases += tally.cases;
        total.runs += tally.runs;
        total.exact += tally.exact;
        total.failures += tally.failures;
        total.longest = std::max(total.longest, tally.longest);
        total.defects.insert(total.defects.end(), tally.defects.begin(), tally.defects.end());
    }
    std::cout << total << std::endl;
    if (wanted == nullptr) {
        EXPECT_GE(total.cases, 2300U);
    }
    EXPECT_LT(total.longest, std::chrono::seconds(10));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
