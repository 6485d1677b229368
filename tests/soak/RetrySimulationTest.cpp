#include "tests/soak/RetrySimulation.h"

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <iostream>

namespace foundation::httpclient_core::testing {
namespace {

class RetrySimulationTest : public ::testing::Test {
protected:
    RetrySimulationTest() { boost::log::core::get()->set_logging_enabled(false); }

    static RetryLoad simulate(std::uint64_t requests, std::uint64_t seed) {
        RetryLoad load = simulateRetries(requests, seed);
        std::cout << load << std::endl;
        return load;
    }
};

TEST_F(RetrySimulationTest, RetriesAddLoadInTheOutageOnly) {
    const RetryLoad load = simulate(20000, 1);
    EXPECT_EQ(load.defects, std::vector<std::string>());
    EXPECT_EQ(load.succeeded + load.refused + load.failed, 20000U);
    ASSERT_EQ(load.phases.size(), 3U);
    // A request in a thousand fails on a good day.
    EXPECT_GT(load.phases[0].amplification(), 1.0);
    EXPECT_LT(load.phases[0].amplification(), 1.01);
    // Nearly every request of the outage, here of two seconds, is sent again, half of them when it is over.
    EXPECT_GT(load.phases[1].amplification(), 1.5);
    EXPECT_LT(load.phases[1].amplification(), 6.0);
    EXPECT_LT(load.phases[2].amplification(), 2.0);
    EXPECT_GT(load.peak, 1.5);
    // No request waits longer than ten seconds for its next attempt, by then all are through.
    EXPECT_LE(load.secondsToCalm, 10U);
    EXPECT_GT(load.succeeded, 18000U);
}

TEST_F(RetrySimulationTest, EverythingFollowsFromTheSeed) {
    const std::uint64_t first = simulate(5000, 7).fingerprint;
    EXPECT_EQ(simulate(5000, 7).fingerprint, first);
    EXPECT_NE(simulate(5000, 8).fingerprint, first);
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
