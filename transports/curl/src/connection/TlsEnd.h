#pragma once
#include "connection/CurlTypes.h"

#include <openssl/types.h>

namespace foundation::httpclient_curl {

/// Whether the peer said that its TLS connection is over (close_notify). Whoever sits on the network can
/// end a connection early, and a body that ends with its connection would look whole; libcurl lets that
/// pass. watch() and stop() are called on the thread that drives the transfer. Knows nothing, and finds no
/// fault, where libcurl is not built on OpenSSL.
class TlsEnd {
public:
    /// Sees to it that the connections of this context can be watched.
    static void announceIn(SSL_CTX* context);
    /// From here on the connection that the handle has is watched; nothing without TLS.
    void watch(CURL* easy);
    /// The transfer is over.
    void stop();
    /// After stop(): the connection was watched, and nothing was said.
    bool isMissing() const noexcept { return isMissing_; }

private:
    const void* connection_ = nullptr;
    bool isMissing_ = false;
};

}  // namespace foundation::httpclient_curl
