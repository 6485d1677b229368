// The synchronous and the asynchronous road must do the same with every request. Random scripts run
// through both; what the transport saw, the log records, what the strategies were told and the outcome
// are compared. The differences that callers may rely on are predicted, not ignored.
#include "tests/client/RoadAgreement.h"
#include "tests/support/RandomRuns.h"

#include <boost/log/core/core.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::randomRuns;
using testing::agreement::Coverage;
using testing::agreement::Draws;
using testing::agreement::Line;
using testing::agreement::predictOutcome;
using testing::agreement::predictSynchronous;
using testing::agreement::randomScript;
using testing::agreement::RecordSink;
using testing::agreement::Script;
using testing::agreement::World;

class Random : public Draws {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// Not a distribution of the library: those differ from one to the next.
    std::size_t below(std::size_t count) override { return engine_() % count; }

private:
    std::mt19937_64 engine_;
};

std::uint64_t fromEnvironment(const char* name, std::uint64_t otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

class RoadAgreementTest : public ::testing::Test {
protected:
    RoadAgreementTest()
        : backend_(boost::make_shared<RecordSink>()), sink_(boost::make_shared<Sink>(backend_)) {
        boost::log::core::get()->add_sink(sink_);
    }
    ~RoadAgreementTest() override { boost::log::core::get()->remove_sink(sink_); }

    RecordSink& sink() { return *backend_; }

private:
    using Sink = boost::log::sinks::synchronous_sink<RecordSink>;

    boost::shared_ptr<RecordSink> backend_;
    boost::shared_ptr<Sink> sink_;
};

// FOUNDATION_AGREEMENT_SCRIPTS scripts run, 20000 by default and 2000 under a sanitizer, from
// FOUNDATION_AGREEMENT_SEED on. Script number i is made from seed + i, so one of them can be repeated alone.
TEST_F(RoadAgreementTest, BothRoadsDoTheSame) {
    const std::uint64_t seed = fromEnvironment("FOUNDATION_AGREEMENT_SEED", 20240607);
    const std::uint64_t count = fromEnvironment("FOUNDATION_AGREEMENT_SCRIPTS", randomRuns(20000));
    RecordProperty("seed", std::to_string(seed));
    std::cout << "seed " << seed << ", " << count << " scripts\n";
    Coverage coverage;
    for (std::uint64_t i = 0; i < count; ++i) {
        SCOPED_TRACE("to repeat: FOUNDATION_AGREEMENT_SEED=" + std::to_string(seed + i) +
                     " FOUNDATION_AGREEMENT_SCRIPTS=1");
        Random random(seed + i);
        const Script script = randomScript(random);
        World synchronous(script);
        synchronous.runSynchronously(sink());
        World asynchronous(script);
        asynchronous.runAsynchronously(sink());

        std::vector<std::string> happened;
        for (const Line& line : synchronous.lines) {
            happened.push_back(line.print());
        }
        ASSERT_EQ(happened, predictSynchronous(asynchronous.lines));
        ASSERT_EQ(synchronous.outcome.text, predictOutcome(asynchronous, script));
        ASSERT_FALSE(HasFailure());
        coverage.count(asynchronous);
    }
    if (count >= 1000) {
        // Every kind of event is met often enough to mean something.
        EXPECT_GE(static_cast<std::uint64_t>(coverage.least()), count / 100);
    }
    std::cout << "retried " << coverage.retried << ", resumed " << coverage.resumed << ", rebuilt "
              << coverage.rebuilt << ", refused ranges " << coverage.refusedRanges << ", not made "
              << coverage.notMade << ", prompted " << coverage.prompted << ", again "
              << coverage.refusedPrompts << ", lost " << coverage.lost << ", failed "
              << coverage.failed << ", retried successes " << coverage.retriedSuccesses
              << ", content types kept " << coverage.keptContentTypes << "\n";
}

}  // namespace
}  // namespace foundation::httpclient_core
