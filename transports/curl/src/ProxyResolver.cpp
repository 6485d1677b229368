#include "ProxyResolver.h"

#include "CurlTypes.h"
#include "HeaderText.h"

#include <cstdlib>
#include <initializer_list>
#include <string_view>

namespace foundation::httpclient_curl {
namespace {

std::string firstSet(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        const char* value =
            std::getenv(name);  // NOLINT(concurrency-mt-unsafe): see the class comment
        if (value != nullptr && *value != '\0') {
            return value;
        }
    }
    return {};
}

std::string part(CURLU* url, CURLUPart which, unsigned int flags) {
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK) {
        return {};
    }
    const CurlText owned(text);
    return text;
}

}  // namespace

ProxyResolver::ProxyResolver()
    // HTTP_PROXY in capitals is left alone: in a CGI program a client can set it.
    : http_(firstSet({"http_proxy", "all_proxy", "ALL_PROXY"})),
      https_(firstSet({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})),
      exempt_(firstSet({"no_proxy", "NO_PROXY"})) {}

bool ProxyResolver::isExempt(const std::string& host) const {
    std::string_view rest = exempt_;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of(", "), rest.size());
        std::string_view entry = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (entry == "*") {
            return true;
        }
        if (entry.starts_with('.')) {
            entry.remove_prefix(1);
        }
        if (entry.empty() || host.size() < entry.size()) {
            continue;
        }
        const std::size_t before = host.size() - entry.size();
        if (sameName(std::string_view(host).substr(before), entry) &&
            (before == 0 || host[before - 1] == '.')) {
            return true;
        }
    }
    return false;
}

std::optional<Proxy> ProxyResolver::proxyFor(const Origin& origin,
                                             const std::string& configured) const {
    Proxy proxy;
    proxy.url = configured;
    if (configured.empty()) {
        proxy.url = origin.scheme == "https" ? https_ : http_;
        if (proxy.url.empty() || isExempt(origin.host)) {
            return std::nullopt;
        }
    }
    const UrlHandle url(requireMemory(curl_url()));
    const std::string text =
        proxy.url.find("://") == std::string::npos ? "http://" + proxy.url : proxy.url;
    if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
        CURLUE_OK) {
        // The text may hold a password.
        throw core::HttpRequestFailedException("The URL of the proxy is malformed");
    }
    const std::string port = part(url.get(), CURLUPART_PORT, 0);
    proxy.info = part(url.get(), CURLUPART_HOST, 0) + ":" + (port.empty() ? "1080" : port);
    proxy.hasCredentials = !part(url.get(), CURLUPART_USER, 0).empty();
    return proxy;
}

}  // namespace foundation::httpclient_curl
