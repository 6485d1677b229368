// Uses the library while the static objects of the program are destroyed. Prints each error it met and
// each record that reached its sink; exit_logging.cmake compares the output.
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/LoggingChannels.h>

#include <boost/log/core/core.hpp>
#include <boost/log/expressions/message.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>

#include <cstdio>
#include <stdexcept>

namespace {

namespace core = foundation::httpclient_core;

void lookUp(const char* name) {
    try {
        core::HttpHeaders().getHeaderValue(name);
    } catch (const std::out_of_range& error) {
        std::printf("error: %s\n", error.what());
    }
}

struct PrintingBackend
    : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
    static void consume(const boost::log::record_view& record) {
        std::printf("record: %s\n", record[boost::log::expressions::smessage]->c_str());
    }
};

// Complete before the channel, so destroyed after it.
struct BeforeTheChannel {
    ~BeforeTheChannel() { lookUp("AfterTheChannel"); }
} beforeTheChannel;

// Makes the channel before it is complete itself, so destroyed before it.
struct AfterTheChannel {
    AfterTheChannel() { core::coreChannel(); }
    ~AfterTheChannel() { lookUp("BeforeTheEndOfTheChannel"); }
} afterTheChannel;

}  // namespace

int main() {
    boost::log::core::get()->add_sink(
        boost::make_shared<boost::log::sinks::synchronous_sink<PrintingBackend>>());
    lookUp("InMain");
}
