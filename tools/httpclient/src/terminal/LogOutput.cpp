#include "terminal/LogOutput.h"

#include <foundation/httpclient_core/LoggingChannels.h>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>

#include <string>

namespace foundation::httpclient_tool {
namespace {

const char* severityName(int severity) {
    switch (static_cast<std::uint32_t>(severity)) {
        case httpclient_core::SEVERITY_PROGRESS:
            return "progress: ";
        case httpclient_core::SEVERITY_CAUGHT:
            return "caught: ";
        case httpclient_core::SEVERITY_ERROR:
            return "error: ";
        default:
            return "log: ";
    }
}

class Backend
    : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
public:
    explicit Backend(ErrorOutput& errors) : errors_(errors) {}

    void consume(const boost::log::record_view& record) {
        const int severity = boost::log::extract_or_default<int>("Severity", record, 0);
        errors_.note(severityName(severity) +
                     boost::log::extract_or_default<std::string>("Message", record, std::string()));
    }

private:
    ErrorOutput& errors_;
};

}  // namespace

LogOutput::LogOutput(ErrorOutput& errors, bool verbose)
    : sink_(boost::make_shared<boost::log::sinks::synchronous_sink<Backend>>(
          boost::make_shared<Backend>(errors))) {
    const boost::log::core_ptr core = boost::log::core::get();
    core->add_sink(sink_);
    formerlyEnabled_ = core->set_logging_enabled(verbose);
}

LogOutput::~LogOutput() {
    const boost::log::core_ptr core = boost::log::core::get();
    core->set_logging_enabled(formerlyEnabled_);
    core->remove_sink(sink_);
}

}  // namespace foundation::httpclient_tool
