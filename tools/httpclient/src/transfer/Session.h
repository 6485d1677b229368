#pragma once
#include "Tool.h"
#include "command/CommandLine.h"

namespace foundation::httpclient_tool {

/// Works on all URLs of the options, up to `parallel` at once, with one client. Each failure is one line on
/// standard error; with --json the report goes to standard output.
/// @return the exit code of the first URL, in the order of the command line, that failed.
/// @throws Failure for what ends everything before a request: wrong usage, a body that cannot be read.
ExitCode runSession(const RequestOptions& options, Environment& environment);

}  // namespace foundation::httpclient_tool
