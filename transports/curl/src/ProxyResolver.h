#pragma once
#include "WireUrl.h"

#include <optional>
#include <string>

namespace foundation::httpclient_curl {

/// The proxy of one hop.
struct Proxy {
    std::string url;   ///< As configured, maybe with credentials.
    std::string info;  ///< "host:port", what the credential store knows it by.
    bool hasCredentials = false;
};

/// Chooses the proxy of each hop: the configured one for every host, else the one that the environment
/// names. The environment is read once, when the client is made: later reads would race with programs
/// that set variables.
class ProxyResolver {
public:
    ProxyResolver();

    /// Nothing for a direct connection. Throws HttpRequestFailedException for a malformed proxy URL.
    std::optional<Proxy> proxyFor(const Origin& origin, const std::string& configured) const;

private:
    bool isExempt(const std::string& host) const;

    std::string http_;
    std::string https_;
    std::string exempt_;
};

}  // namespace foundation::httpclient_curl
