#pragma once
#include "connection/CurlTypes.h"

#include <foundation/httpclient_curl/AttemptReport.h>

namespace foundation::httpclient_curl {

/// Fills in what libcurl knows of a transfer that has ended: times, peer, connection.
void describeTransfer(CURL* easy, AttemptReport& report);

}  // namespace foundation::httpclient_curl
