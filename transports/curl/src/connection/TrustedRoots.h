#pragma once
#include <openssl/types.h>
#include <string>

namespace foundation::httpclient_curl {

/// The certificates of the authorities that this system trusts, as libcurl was built to find them: a bundle
/// of all of them, and often a directory of the same ones, named by the hash of their subject. libcurl
/// reads the bundle anew for every connection that it makes, which takes longer than all the rest of a TLS
/// handshake. Thread-safe.
struct TrustedRoots {
    std::string bundle;  ///< Empty for none.
    bool areFoundByName =
        false;  ///< The directory can be searched, so the bundle need not be read first.

    static TrustedRoots ofSystem();
    /// `directory` and `bundle` may be null.
    static TrustedRoots in(const char* directory, const char* bundle);

    /// Has contexts read the bundle once an authority is found nowhere else. The path is copied; the first
    /// one given to a context stays.
    static void readBundleLate(SSL_CTX* context, const std::string& bundle);
};

}  // namespace foundation::httpclient_curl
