#include "proxy/ProxyResolver.h"

#include "connection/CurlTypes.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <initializer_list>
#include <string_view>

namespace foundation::httpclient_curl {
namespace {

using namespace std::string_view_literals;

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

bool has(CURLU* url, CURLUPart which) {
    char* text = nullptr;
    const CURLUcode code = curl_url_get(url, which, &text, 0);
    const CurlText owned(text);
    return code == CURLUE_OK;
}

Proxy parse(const std::string& text) {
    const UrlHandle url(requireMemory(curl_url()));
    const std::string whole = text.find("://") == std::string::npos ? "http://" + text : text;
    if (curl_url_set(url.get(), CURLUPART_URL, whole.c_str(), CURLU_NON_SUPPORT_SCHEME) !=
        CURLUE_OK) {
        // The text may hold a password.
        throw core::HttpRequestFailedException("The URL of the proxy is malformed");
    }
    const std::string scheme = part(url.get(), CURLUPART_SCHEME);
    constexpr std::array socks{"socks4"sv, "socks4a"sv, "socks5"sv, "socks5h"sv};
    Proxy proxy;
    proxy.speaksHttp = scheme == "http" || scheme == "https";
    if (!proxy.speaksHttp && std::find(socks.begin(), socks.end(), scheme) == socks.end()) {
        throw core::HttpRequestFailedException("The scheme of the proxy is not supported");
    }
    proxy.user = part(url.get(), CURLUPART_USER, CURLU_URLDECODE);
    proxy.password = part(url.get(), CURLUPART_PASSWORD, CURLU_URLDECODE);
    proxy.hasCredentials = has(url.get(), CURLUPART_USER);
    // The ports that libcurl takes where the URL names none.
    const std::string port = part(url.get(), CURLUPART_PORT);
    const char* const usual = scheme == "https" ? "443" : "1080";
    proxy.info = part(url.get(), CURLUPART_HOST) + ":" + (port.empty() ? usual : port);
    proxy.url = scheme + "://" + proxy.info;
    return proxy;
}

}  // namespace

ProxyResolver::ProxyResolver()
    // HTTP_PROXY in capitals is left alone: in a CGI program a client can set it.
    : http_(firstSet({"http_proxy", "all_proxy", "ALL_PROXY"})),
      https_(firstSet({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})),
      exempt_(firstSet({"no_proxy", "NO_PROXY"})) {}

std::optional<Proxy> ProxyResolver::proxyFor(const Origin& origin,
                                             const std::string& configured) const {
    if (!configured.empty()) {
        return parse(configured);
    }
    const std::string& fromEnvironment = origin.scheme == "https" ? https_ : http_;
    if (fromEnvironment.empty() || exempt_.contains(origin.host)) {
        return std::nullopt;
    }
    return parse(fromEnvironment);
}

}  // namespace foundation::httpclient_curl
