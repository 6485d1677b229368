#pragma once
#include "connection/CurlTypes.h"
#include "proxy/DigestNonce.h"

#include <foundation/httpclient_core/HttpHeaders.h>

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace foundation::httpclient_curl {

/// What the refusals of its proxies have taught a client: the schemes that each one understands, and
/// nonces for Digest. A nonce is lent to one hop at a time, since a proxy wants its uses in order.
/// Internally locked: one mutex covers all of it.
class ProxyKnowledge {
public:
    /// What a proxy said with a refusal.
    struct Refusal {
        std::optional<DigestNonce> nonce;
        bool isStale = false;  ///< The credentials were right, only the nonce was too old.
    };

    /// Takes note of the schemes in the Proxy-Authenticate fields.
    Refusal learn(const std::string& proxyInfo, const core::HttpHeaders& headers);
    /// The scheme to use as a value of CURLOPT_PROXYAUTH; 0 while nothing is known of the proxy.
    long schemeFor(const std::string& proxyInfo, bool asksForNegotiate) const;
    /// The nonce with the fewest uses, the newest of them; nothing if none is left.
    std::optional<DigestNonce> takeNonce(const std::string& proxyInfo);
    /// Keeps a nonce for the next hop.
    void giveNonce(const std::string& proxyInfo, DigestNonce nonce);
    /// One nonce was too old, so that the others will be.
    void dropNonces(const std::string& proxyInfo);

private:
    struct Entry {
        long offered = 0;
        std::vector<DigestNonce> nonces;  ///< Oldest first.
    };

    mutable std::mutex mutex_;
    std::map<std::string, Entry> entries_;
};

}  // namespace foundation::httpclient_curl
