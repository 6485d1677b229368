// One request on both roads of the client, over a scripted transport: the input decides the request, the
// configuration, what the network does and what strategies and prompts answer. What happens on the
// asynchronous road predicts every step of the synchronous one.
#include "fuzz/support/Draws.h"
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Target.h"
#include "tests/client/RoadAgreement.h"

#include <boost/log/core/core.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace foundation::fuzz {
namespace {

namespace agreement = httpclient_core::testing::agreement;

class ScriptDraws : public agreement::Draws {
public:
    ScriptDraws(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}
    std::size_t below(std::size_t count) override { return bytes_.below(count); }

private:
    ByteDraws bytes_;
};

// The records are among what must agree, so this target has the log that the others do without.
agreement::RecordSink& sink() {
    using Sink = boost::log::sinks::synchronous_sink<agreement::RecordSink>;
    static const boost::shared_ptr<agreement::RecordSink> backend = [] {
        auto made = boost::make_shared<agreement::RecordSink>();
        boost::log::core::get()->add_sink(boost::make_shared<Sink>(made));
        boost::log::core::get()->set_logging_enabled(true);
        return made;
    }();
    return *backend;
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    ScriptDraws draws(data, size);
    const agreement::Script script = agreement::randomScript(draws);
    agreement::World synchronous(script);
    synchronous.runSynchronously(sink());
    agreement::World asynchronous(script);
    asynchronous.runAsynchronously(sink());
    std::vector<std::string> happened;
    for (const agreement::Line& line : synchronous.lines) {
        happened.push_back(line.print());
    }
    requireSame(happened, agreement::predictSynchronous(asynchronous.lines), "steps");
    requireSame(synchronous.outcome.text, agreement::predictOutcome(asynchronous, script),
                "outcome");
    return 0;
}
