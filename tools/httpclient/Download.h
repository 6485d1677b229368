#pragma once
#include "tools/httpclient/CommandLine.h"
#include "tools/httpclient/Tool.h"

namespace foundation::httpclient_tool {

/// Downloads what the options name. Returns only when the whole body is where it belongs.
/// @throws Failure for everything that ends otherwise.
void download(const GetOptions& options, Environment& environment);

}  // namespace foundation::httpclient_tool
