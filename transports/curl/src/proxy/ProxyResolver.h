#pragma once
#include "proxy/NoProxyList.h"
#include "request/WireUrl.h"

#include <optional>
#include <string>

namespace foundation::httpclient_curl {

/// The proxy of one hop.
struct Proxy {
    std::string url;   ///< Without user information.
    std::string info;  ///< "host:port", what the credential store knows it by.
    std::string user;  ///< Of its URL, decoded, as is the password.
    std::string password;
    bool hasCredentials = false;  ///< The URL names a user or a password.
    bool speaksHttp = true;       ///< Else it is a SOCKS proxy, which never answers 407.
};

/// Chooses the proxy of each hop: the configured one for every host, else the one that the environment
/// names. The environment is read once, when the client is made: later reads would race with programs
/// that set variables.
class ProxyResolver {
public:
    ProxyResolver();

    /// Nothing for a direct connection. Throws HttpRequestFailedException for a proxy URL that is
    /// malformed or of a scheme other than http, https, socks4, socks4a, socks5 and socks5h.
    std::optional<Proxy> proxyFor(const Origin& origin, const std::string& configured) const;

private:
    std::string http_;
    std::string https_;
    NoProxyList exempt_;
};

}  // namespace foundation::httpclient_curl
