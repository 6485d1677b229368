// The URL that goes over the wire against libcurl's own parser: whatever is accepted has the scheme, host
// and port that libcurl will connect to, and the host that the core reads. The first line of the input is the
// URL of a request, the second its query parameters, each further one a Location to go on with.
#include "connection/CurlTypes.h"
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Target.h"
#include "request/PlainUrl.h"
#include "request/WireUrl.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::fuzz {
namespace {

namespace core = httpclient_core;
using httpclient_curl::CurlText;
using httpclient_curl::Origin;
using httpclient_curl::UrlHandle;
using httpclient_curl::WireUrl;

std::string lowered(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return text;
}

std::string partOf(CURLU* url, CURLUPart which, unsigned int flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK) {
        return "none";
    }
    const CurlText owned(text);
    return text;
}

// What libcurl makes of a text.
struct Parsed {
    explicit Parsed(const std::string& text) : handle(curl_url()) {
        isUrl =
            curl_url_set(handle.get(), CURLUPART_URL, text.c_str(), CURLU_PATH_AS_IS) == CURLUE_OK;
    }
    std::string part(CURLUPart which, unsigned int flags = 0) const {
        return partOf(handle.get(), which, flags);
    }

    UrlHandle handle;
    bool isUrl;
};

void check(const WireUrl& url) {
    const std::string& text = url.text();
    const Origin& origin = url.origin();
    const Parsed parsed(text);
    require(parsed.isUrl, "libcurl takes the URL", shown(text));
    requireSame(parsed.part(CURLUPART_URL), text, "libcurl prints the URL as it is");
    requireSame(lowered(parsed.part(CURLUPART_SCHEME)), origin.scheme, "scheme of " + shown(text));
    requireSame(lowered(parsed.part(CURLUPART_HOST)), origin.host, "host of " + shown(text));
    requireSame(parsed.part(CURLUPART_PORT, CURLU_DEFAULT_PORT), origin.port,
                "port of " + shown(text));
    require(origin.scheme == "http" || origin.scheme == "https", "scheme is spoken", shown(text));
    requireSame(parsed.part(CURLUPART_USER), "none", "no user in " + shown(text));
    requireSame(parsed.part(CURLUPART_PASSWORD), "none", "no password in " + shown(text));
    requireSame(parsed.part(CURLUPART_FRAGMENT), "none", "no fragment in " + shown(text));
    // Hosts may have letters of other languages, which libcurl spells in ASCII.
    std::string rest = text;
    rest.erase(rest.find("://") + 3, parsed.part(CURLUPART_HOST).size());
    require(std::all_of(rest.begin(), rest.end(), [](char c) { return c > ' ' && c < '\x7F'; }),
            "nothing unsafe is sent", shown(text));
    require(std::none_of(origin.host.begin(), origin.host.end(),
                         [](char c) { return (c >= '\0' && c <= ' ') || c == '\x7F'; }),
            "no control byte in a host", shown(text));
    require(url.display().find('?') == std::string::npos, "no query is displayed", url.display());
    // As a value of the core it prints the same, but for a question mark with nothing behind it.
    std::string printed = text;
    if (printed.find('?') + 1 == printed.size()) {
        printed.pop_back();
    }
    // There is no port 0 for the core, and nobody to connect to.
    if (origin.port != "0") {
        requireSame(url.toUrl().toAsciiString(), printed, "as a value of the core");
    }
}

// The quick reading and libcurl's may not differ.
void checkPlain(const std::string& text) {
    const std::string encoded = httpclient_curl::encodeUnsafe(text);
    const std::optional<Origin> origin = httpclient_curl::originOfPlainUrl(encoded);
    if (!origin.has_value()) {
        return;
    }
    const Parsed parsed(encoded);
    require(parsed.isUrl, "libcurl takes the plain URL", shown(encoded));
    requireSame(parsed.part(CURLUPART_URL), encoded, "a plain URL is printed as it is");
    requireSame(parsed.part(CURLUPART_SCHEME), origin->scheme, "scheme of a plain URL");
    requireSame(parsed.part(CURLUPART_HOST), origin->host, "host of a plain URL");
    requireSame(parsed.part(CURLUPART_PORT, CURLU_DEFAULT_PORT), origin->port,
                "port of a plain URL");
    requireSame(parsed.part(CURLUPART_USER), "none", "no user in a plain URL");
}

// Nothing where the transport or the core refuses the text.
template <class Make>
std::optional<WireUrl> accepted(const Make& make) {
    try {
        return make();
    } catch (const core::HttpRequestFailedException&) {
        return std::nullopt;
    }
}

std::optional<core::URL> urlOf(const std::string& text) {
    try {
        return core::URL(text);
    } catch (const std::logic_error&) {
        return std::nullopt;  // The port is none.
    }
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    std::string rest = textOf(data, size);
    const std::string text = takeLine(rest);
    checkPlain(text);
    const std::optional<core::URL> parsed = urlOf(text);
    if (!parsed.has_value()) {
        return 0;
    }
    core::HttpRequest request(core::HttpMethod::GET, *parsed, {});
    request.setQueryParameters(core::QueryParameters(takeLine(rest)));
    std::optional<WireUrl> url = accepted([&] { return WireUrl(request); });
    if (!url.has_value()) {
        return 0;
    }
    check(*url);
    // The host that the caller may have checked before.
    const std::string domain = parsed->getDomain();
    requireSame(url->origin().host, lowered(domain.substr(0, domain.find('?'))),
                "host as the core reads it");
    while (url.has_value() && !rest.empty()) {
        const std::string location = takeLine(rest);
        checkPlain(location);
        url = accepted([&] { return url->resolve(location); });
        if (url.has_value()) {
            check(*url);
        }
    }
    return 0;
}
