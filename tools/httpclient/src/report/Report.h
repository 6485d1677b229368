#pragma once
#include "report/AttemptLog.h"
#include "report/ExitCode.h"

#include <foundation/httpclient_core/HttpHeaders.h>

#include <cstdint>
#include <string>
#include <vector>

namespace foundation::httpclient_tool {

/// What became of one URL.
struct TransferResult {
    ExitCode code = ExitCode::Failed;
    std::string failure;  ///< The line on standard error; empty for a success.
    std::string method;
    std::string url;  ///< As the user gave it; the report hides what may be secret in it.
    std::string output;
    int status = -1;  ///< As in the response; -1 where nothing was sent, 0 without an answer.
    std::string reason;
    httpclient_core::HttpHeaders headers;
    std::string effectiveUrl;
    int redirects = 0;
    std::int64_t bytes = 0;        ///< Of the body, those of earlier runs included.
    std::int64_t resumedFrom = 0;  ///< Bytes of an earlier run that this one built on.
    std::vector<AttemptRecord> attempts;
};

/// The document of --json: one object with "exit_code" and "results", one for each URL in order, and a line
/// end. Secrets are left out as in the lines on standard error; the values of headers that may hold one are
/// not in it.
std::string jsonReport(ExitCode code, const std::vector<TransferResult>& results);

}  // namespace foundation::httpclient_tool
