#include "examples/InMemoryTransport.h"
#include "tests/faults/ScheduleRun.h"
#include "tests/headers/RandomRun.h"

#include <foundation/httpclient_core.h>

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

using namespace httpclient_core;
using httpclient_core::testing::RandomRun;

TEST(RandomScheduleTest, NoBodyIsSilentlyWrong) {
    const RandomRun run(500);
    SCOPED_TRACE(run);
    const Tally tally = runSchedules(run.seed(), run.operations());
    std::cout << run << ": " << tally << std::endl;
    EXPECT_EQ(tally.defects, std::vector<std::string>());
    EXPECT_EQ(tally.schedules, run.operations());
    // A client that gave up at once would never be wrong. Most schedules end well with patience.
    EXPECT_GT(tally.exact, run.operations() * 3 / 4) << tally;
}

// Without what depends on the time of day.
std::string described(std::uint64_t seed) {
    Schedule schedule = makeSchedule(seed);
    for (Version& version : schedule.versions) {
        version.modified.clear();
    }
    for (Step& step : schedule.steps) {
        step.retryAfter.clear();
    }
    return (std::ostringstream() << schedule).str();
}

TEST(RandomScheduleTest, FollowsFromItsSeed) {
    for (std::uint64_t seed = 0; seed < 20; ++seed) {
        EXPECT_EQ(described(seed), described(seed));
        EXPECT_NE(described(seed), described(seed + 1));
    }
}

TEST(RandomScheduleTest, CoversEveryFault) {
    std::vector<int> counts(static_cast<std::size_t>(Fault::Count));
    for (std::uint64_t seed = 0; seed < 500; ++seed) {
        for (const Step& step : makeSchedule(seed).steps) {
            ++counts[static_cast<std::size_t>(step.fault)];
        }
    }
    EXPECT_GT(*std::min_element(counts.begin(), counts.end()), 10);
}

// ---- the judge: a transport that delivers what the test says

Schedule twoVersions() {
    Schedule schedule;
    schedule.versions = {{"0123456789", "", "", false}, {"abcdefghij", "", "", false}};
    schedule.steps = {Step()};
    return schedule;
}

Ending endingOf(const Schedule& schedule, const examples::Reply& reply) {
    boost::log::core::get()->set_logging_enabled(false);
    examples::InMemoryTransport client([&reply](const HttpRequest&) { return reply; });
    FaultPeer peer;
    return runSchedule(client, peer, schedule, std::filesystem::temp_directory_path()).ending;
}

examples::Reply success(std::string body) {
    return {HttpResponseCode::OK, "OK", {}, std::move(body)};
}

TEST(ScheduleJudgeTest, TakesOneWholeVersionOnly) {
    const Schedule schedule = twoVersions();
    EXPECT_EQ(endingOf(schedule, success("0123456789")), Ending::Exact);
    EXPECT_EQ(endingOf(schedule, success("abcdefghij")), Ending::Exact);
    EXPECT_EQ(endingOf(schedule, success("01234fghij")), Ending::Corruption);
    EXPECT_EQ(endingOf(schedule, success("012345678")), Ending::Corruption);
    EXPECT_EQ(endingOf(schedule, success("0123456789a")), Ending::Corruption);
    EXPECT_EQ(endingOf(schedule, success("")), Ending::Corruption);
}

TEST(ScheduleJudgeTest, TakesTheRangeOfACallerInPartOnly) {
    Schedule schedule = twoVersions();
    schedule.callersRange = "bytes=3-6";
    examples::Reply part{HttpResponseCode::PartialContent, "Partial Content",
                         HttpHeaders({{"Content-Range", "bytes 3-6/10"}}), "3456"};
    EXPECT_EQ(endingOf(schedule, part), Ending::Exact);
    part.body = "345";
    EXPECT_EQ(endingOf(schedule, part), Ending::Corruption);
    part.body = "0123456789";
    EXPECT_EQ(endingOf(schedule, part), Ending::Corruption);
    EXPECT_EQ(endingOf(schedule, success("0123456789")), Ending::Exact);
    EXPECT_EQ(endingOf(schedule, success("3456")), Ending::Corruption);
}

TEST(ScheduleJudgeTest, RefusesAPageThatWasNeverSent) {
    const examples::Reply page{HttpResponseCode::NotFound, "Not Found", {}, "01234"};
    EXPECT_EQ(endingOf(twoVersions(), page), Ending::Corruption);
}

TEST(ScheduleJudgeTest, KnowsTheFamilyOfFailures) {
    const auto ending = [](auto exception) {
        boost::log::core::get()->set_logging_enabled(false);
        examples::InMemoryTransport client(
            [&exception](const HttpRequest&) -> examples::Reply { throw exception; });
        FaultPeer peer;
        const Schedule schedule = twoVersions();
        return runSchedule(client, peer, schedule, std::filesystem::temp_directory_path()).ending;
    };
    EXPECT_EQ(ending(HttpRequestTimeoutException()), Ending::Failure);
    EXPECT_EQ(ending(std::runtime_error("other")), Ending::Foreign);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
