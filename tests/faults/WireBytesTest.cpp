#include "tests/faults/FaultPeer.h"
#include "tests/faults/ScheduleRun.h"
#include "tests/headers/RandomRun.h"

#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <utility>

namespace foundation::httpclient_curl::testing {
namespace {

using httpclient_core::testing::RandomRun;

constexpr std::size_t fileSize = 1000000;

// A file that does not change, under a strong validator, and a network that breaks off up to twelve times:
// in the body, before an answer, inside its head, or with an error page in place of the rest.
Schedule brokenOffAgainAndAgain(RandomRun& run, Validators validators) {
    Schedule schedule;
    schedule.seed = run.below(1000000);
    schedule.validators = validators;
    Version version;
    version.data.resize(fileSize);
    for (char& byte : version.data) {
        byte = static_cast<char>(run.below(256));
    }
    (validators == Validators::Date ? version.modified : version.etag) =
        validators == Validators::Date ? httpDate(-1000000) : "\"v\"";
    schedule.versions.push_back(std::move(version));
    schedule.usesResumingStrategy = true;
    schedule.isAsynchronous = run.below(2) == 0;
    for (std::size_t i = run.below(13); i > 0; --i) {
        Step step;
        step.cutAfter = run.below(fileSize / 16);
        constexpr std::array others{Fault::NoAnswer, Fault::CutHead, Fault::ErrorPage};
        step.fault = run.below(3) == 0 ? others[run.below(others.size())] : Fault::None;
        step.framing = run.below(3) == 0 ? Framing::Chunked : Framing::Length;
        // The bytes of a chunk: many, so that their sizes weigh little.
        step.number = 20000 + run.below(1000);
        schedule.steps.push_back(step);
    }
    return schedule;
}

class WireBytesTest : public ::testing::TestWithParam<Validators> {};

INSTANTIATE_TEST_SUITE_P(StrongValidators,
                         WireBytesTest,
                         ::testing::Values(Validators::StrongEtag, Validators::Date),
                         [](const auto& validators) {
                             return validators.param == Validators::Date ? "Date" : "ETag";
                         });

TEST_P(WireBytesTest, NothingIsFetchedTwiceUnderAStrongValidator) {
    boost::log::core::get()->set_logging_enabled(false);
    RandomRun run(20);
    SCOPED_TRACE(run);
    std::size_t most = 0;
    for (std::uint64_t i = 0; i < run.operations(); ++i) {
        const Schedule schedule = brokenOffAgainAndAgain(run, GetParam());
        FaultPeer peer;
        CurlHttpClient client;
        const Verdict verdict =
            runSchedule(client, peer, schedule, std::filesystem::temp_directory_path());
        ASSERT_EQ(verdict.ending, Ending::Exact) << verdict.text << schedule;
        EXPECT_EQ(verdict.requests, static_cast<int>(schedule.steps.size()) + 1) << schedule;
        EXPECT_LE(static_cast<double>(verdict.bytesSent), 1.05 * fileSize)
            << verdict.requests << " requests\n"
            << schedule;
        most = std::max(most, verdict.bytesSent);
    }
    RecordProperty("bytesAtMostForOneMillion", std::to_string(most));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
