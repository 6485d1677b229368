#pragma once
#include "report/Failure.h"

#include <string>

namespace foundation::httpclient_tool {

/// The failure, with `ExitCode::Failed`, of something that the system refused here, not a server: "WHAT: the
/// text of the errno; what to try".
/// @param what names the place, as in "cannot write FILE".
Failure systemFailure(const std::string& what, int error);

}  // namespace foundation::httpclient_tool
