#pragma once
#include "CurlTypes.h"

namespace foundation::httpclient_curl {

/// Sees to it that the TLS connections of this handle can be watched.
void prepareTlsEnd(CURL* easy);

/// Whether the peer said that its TLS connection is over (close_notify). Whoever sits on the network can
/// end a connection early, and a body that ends with its connection would look whole; libcurl lets that
/// pass. All of it happens on one thread. Knows nothing, and finds no fault, where libcurl is not built on
/// OpenSSL.
class TlsEnd {
public:
    TlsEnd() = default;
    TlsEnd(const TlsEnd&) = delete;
    TlsEnd& operator=(const TlsEnd&) = delete;
    ~TlsEnd();

    /// From here on the connection that the handle has is watched; nothing without TLS.
    void watch(CURL* easy);
    /// After the transfer.
    bool isMissing() const;

private:
    const void* connection_ = nullptr;
};

}  // namespace foundation::httpclient_curl
