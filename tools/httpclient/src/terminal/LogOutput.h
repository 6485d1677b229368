#pragma once
#include "terminal/ErrorOutput.h"

#include <boost/log/sinks/sink.hpp>
#include <boost/smart_ptr/shared_ptr.hpp>

namespace foundation::httpclient_tool {

/// Sends the library's log records to standard error, or nowhere, while it lives. There is a sink either
/// way: without one Boost.Log would print records to standard output, into the body.
class LogOutput {
public:
    LogOutput(ErrorOutput& errors, bool verbose);
    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;
    ~LogOutput();

private:
    boost::shared_ptr<boost::log::sinks::sink> sink_;
    bool formerlyEnabled_;
};

}  // namespace foundation::httpclient_tool
