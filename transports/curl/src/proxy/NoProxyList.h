#pragma once
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// The hosts that are reached without a proxy, as the environment variable `no_proxy` lists them, read
/// the way libcurl 7.88 reads it.
///
/// Entries are separated by commas, blanks or tabs. A name matches itself and the names below it, in any
/// letter case; one leading and one trailing dot make no difference. An IPv4 address matches an equal
/// address or, with "/8" and the like, every address of that network; a prefix of 0 stands for the whole
/// address. IPv6 addresses are compared as text, without brackets. "*" is every host, but only as the
/// whole list.
class NoProxyList {
public:
    NoProxyList() = default;
    explicit NoProxyList(std::string text);

    /// `host` as it stands in a URL, IPv6 addresses in brackets.
    bool contains(std::string_view host) const;

private:
    std::string text_;
};

}  // namespace foundation::httpclient_curl
