#pragma once
#include "connection/CurlTypes.h"
#include "connection/TransferShares.h"
#include "exchange/TransferSettings.h"

namespace foundation::httpclient_curl {

/// Sets all of a handle's options that concern its connection and are the same for every hop of a
/// request: TLS, the time to connect, the unix domain socket, HSTS, and that there is no proxy unless one
/// is set afterwards.
void setConnectionOptions(CURL* easy,
                          const TransferSettings& settings,
                          const TransferShares& shares);

}  // namespace foundation::httpclient_curl
