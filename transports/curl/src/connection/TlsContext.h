#pragma once
#include "connection/CurlTypes.h"

namespace foundation::httpclient_curl {

/// Prepares what OpenSSL does for the connections of this handle: that their ends can be watched (TlsEnd),
/// and, with `trustsSystem`, how the authorities that the system trusts are found (TrustedRoots). Nothing
/// where libcurl is not built on OpenSSL.
void prepareTlsContext(CURL* easy, bool trustsSystem);

}  // namespace foundation::httpclient_curl
