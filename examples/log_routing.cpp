// Where the library's log records go. They are Boost.Log records with two attributes, "Channel"
// (std::string) and "Severity" (int: 4 progress, 16 a tolerated exception, 512 an error). Without a sink
// Boost.Log prints every record to standard output, so a program installs one before its first request.
#include "InMemoryTransport.h"
#include "Require.h"

#include <foundation/httpclient_core.h>

#include <boost/core/null_deleter.hpp>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core/core.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/sinks/text_ostream_backend.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <iostream>
#include <ostream>
#include <sstream>
#include <string>

using namespace foundation::httpclient_core;
using examples::InMemoryTransport;
using examples::Reply;
using examples::require;

namespace expr = boost::log::expressions;
namespace sinks = boost::log::sinks;
using TextSink = sinks::synchronous_sink<sinks::text_ostream_backend>;

namespace {

// Writes the records of this library with at least that severity to `os`, one in a line.
boost::shared_ptr<TextSink> routeTo(std::ostream& os, int leastSeverity) {
    auto backend = boost::make_shared<sinks::text_ostream_backend>();
    backend->add_stream(boost::shared_ptr<std::ostream>(&os, boost::null_deleter()));
    backend->auto_flush(true);
    auto sink = boost::make_shared<TextSink>(backend);
    sink->set_filter(expr::begins_with(expr::attr<std::string>("Channel").or_default(std::string()),
                                       "foundation::httpclient_core") &&
                     expr::attr<int>("Severity").or_default(0) >= leastSeverity);
    sink->set_formatter(expr::stream << expr::attr<int>("Severity") << " "
                                     << expr::attr<std::string>("Channel") << ": "
                                     << expr::smessage);
    boost::log::core::get()->add_sink(sink);
    return sink;
}

// One attempt fails, the next succeeds: a tolerated exception and some progress.
void makeRequest() {
    int attempts = 0;
    InMemoryTransport client([&attempts](const HttpRequest&) -> Reply {
        if (++attempts == 1) {
            throw HttpRequestFailedException("connection lost");
        }
        return {};
    });
    HttpRequest request(HttpMethod::GET, "http://server.test/", HttpHeaders());
    request.setClientConfiguration(ClientConfiguration().withRetryStrategy(defaultRetryStrategy(
        2, 0, std::chrono::seconds(1), [](HttpMethod, bool, HttpResponseCode) { return true; })));
    client.makeRequest(std::move(request));
}

}  // namespace

int main() {
    try {
        std::ostringstream everything;
        std::ostringstream warnings;
        const auto allSink = routeTo(everything, 0);
        const auto warningSink = routeTo(warnings, static_cast<int>(SEVERITY_CAUGHT));

        makeRequest();
        std::cout << "all records:\n" << everything.str();
        std::cout << "from severity 16 on:\n" << warnings.str();
        const std::string caught =
            "16 foundation::httpclient_core: Exception caught: connection lost\n";
        require(warnings.str().find(caught) != std::string::npos, "the exception is a record");
        require(warnings.str().find("4 foundation") == std::string::npos, "progress is not");
        require(everything.str().find("\n4 foundation::httpclient_core: ") != std::string::npos,
                "progress reaches the other sink");

        // Cheaper than a filter: the mask of the channel. A record that it leaves out is not even built.
        everything.str("");
        coreChannel().set_filter_mask(SEVERITY_CAUGHT | SEVERITY_ERROR);
        makeRequest();
        std::cout << "with a mask on the channel:\n" << everything.str();
        require(everything.str().find("4 foundation") == std::string::npos, "the mask holds");
        require(everything.str().find(caught) != std::string::npos, "and lets the rest through");

        boost::log::core::get()->remove_sink(allSink);
        boost::log::core::get()->remove_sink(warningSink);
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
    return 0;
}
