#include "request/WireUrl.h"

#include "connection/CurlTypes.h"
#include "request/HeaderText.h"
#include "request/HexDigits.h"
#include "request/PlainUrl.h"

#include <foundation/httpclient_core/HttpRequest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), lowerCase);
    return text;
}

constexpr std::array<bool, 256> unsafeBytes = [] {
    std::array<bool, 256> table{};
    for (unsigned int byte = 0; byte != table.size(); ++byte) {
        table[byte] = byte <= 0x20 || byte >= 0x7F;
    }
    for (const char c : std::string_view("\"<>\\^`{|}")) {
        table[static_cast<unsigned char>(c)] = true;
    }
    return table;
}();

bool isUnsafe(char c) {
    return unsafeBytes[static_cast<unsigned char>(c)];
}

// The host as the core sees it, whose cut at the first "/" leaves a query without a path in it.
std::string hostOf(const core::URL& url) {
    const std::string domain = url.getDomain();
    return lowered(domain.substr(0, domain.find('?')));
}

std::string requestText(const core::HttpRequest& request) {
    core::URL url = request.getURL();
    if (url.getProtocol().empty()) {
        throw core::HttpRequestFailedException("The URL of the request names no protocol");
    }
    if (!url.getFragment().empty()) {
        url.setFragment({});
    }
    std::string text = url.toAsciiString();
    std::string query = request.getQueryParameters().toString();
    if (!query.empty()) {
        if (text.find('?') != std::string::npos) {
            query.front() = '&';
        }
        text += query;
    }
    return encodeUnsafe(text);
}

}  // namespace

std::string encodeUnsafe(std::string_view text) {
    if (std::none_of(text.begin(), text.end(), isUnsafe)) {
        return std::string(text);
    }
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (isUnsafe(c)) {
            encoded += '%';
            appendHex(encoded, byte, upperHexDigits);
        } else {
            encoded += c;
        }
    }
    return encoded;
}

WireUrl::WireUrl(const core::HttpRequest& request) {
    std::string text = requestText(request);
    if (std::optional<Origin> origin = originOfPlainUrl(text)) {
        text_ = std::move(text);
        origin_ = std::move(*origin);
    } else {
        split(nullptr, text, true);
    }
    if (origin_.host != hostOf(request.getURL())) {
        throw core::HttpRequestFailedException("The URL of the request has no clear host");
    }
}

WireUrl WireUrl::resolve(const std::string& location) const {
    WireUrl next;
    next.split(text_.c_str(), encodeUnsafe(location), false);
    return next;
}

void WireUrl::split(const char* base, const std::string& text, bool keepPath) {
    const UrlHandle url(requireMemory(curl_url()));
    const unsigned int flags = keepPath ? CURLU_PATH_AS_IS : 0;
    CURLUcode code = CURLUE_OK;
    if (base != nullptr) {
        code = curl_url_set(url.get(), CURLUPART_URL, base, CURLU_PATH_AS_IS);
    }
    if (code == CURLUE_OK) {
        code = curl_url_set(url.get(), CURLUPART_URL, text.c_str(), flags);
    }
    const auto requireUsable = [base](CURLUcode result) {
        if (result != CURLUE_OK) {
            throw core::HttpRequestFailedException(
                std::string(base != nullptr ? "The redirect names no usable URL: "
                                            : "The request names no usable URL: ") +
                curl_url_strerror(result));
        }
    };
    requireUsable(code);
    // Credentials in a URL would travel to whatever host it names.
    curl_url_set(url.get(), CURLUPART_USER, nullptr, 0);
    curl_url_set(url.get(), CURLUPART_PASSWORD, nullptr, 0);
    curl_url_set(url.get(), CURLUPART_FRAGMENT, nullptr, 0);
    text_ = part(url.get(), CURLUPART_URL);
    origin_ = {lowered(part(url.get(), CURLUPART_SCHEME)), lowered(part(url.get(), CURLUPART_HOST)),
               part(url.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT)};
    // Decoded by libcurl, which reads it in no URL.
    requireUsable(origin_.host.find('\x7F') == std::string::npos ? CURLUE_OK : CURLUE_BAD_HOSTNAME);
    if (origin_.scheme != "http" && origin_.scheme != "https") {
        throw core::HttpRequestFailedException("Protocol \"" + origin_.scheme +
                                               "\" is neither http nor https");
    }
}

std::string WireUrl::display() const {
    return text_.substr(0, text_.find('?'));
}

core::URL WireUrl::toUrl() const {
    core::URL url("");
    const std::size_t authority = text_.find("://") + 3;
    const std::size_t slash = std::min(text_.find('/', authority), text_.size());
    const std::string host = text_.substr(authority, slash - authority);
    url.setProtocol(text_.substr(0, authority - 3));
    // A bracketed address has colons of its own.
    const std::size_t bracket = host.find(']');
    const std::size_t colon = host.find(':', bracket == std::string::npos ? 0 : bracket);
    url.setDomain(host.substr(0, colon));
    if (colon != std::string::npos) {
        std::uint16_t port = 0;
        std::from_chars(host.data() + colon + 1, host.data() + host.size(), port);
        url.setPort(port);
    }
    const std::size_t query = std::min(text_.find('?', slash), text_.size());
    url.setPath(text_.substr(slash, query - slash));
    if (query + 1 < text_.size()) {
        url.setQueryParameters(core::QueryParameters(text_.substr(query)));
    }
    return url;
}

}  // namespace foundation::httpclient_curl
