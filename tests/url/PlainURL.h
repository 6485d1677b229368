#pragma once
#include <foundation/httpclient_core/URL.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {

/// The cuts of a URL written down once more, with copies of strings and the port read digit by digit.
struct PlainURL {
    std::string error;
    std::string protocol;
    std::string domain;
    std::uint16_t port = 0;
    std::string path;
    std::string rawQuery;
    std::string fragment;

    explicit PlainURL(std::string s) {
        if (const std::size_t i = s.find('#'); i != std::string::npos) {
            fragment = s.substr(i + 1);
            s = s.substr(0, i);
        }
        if (s.length() >= 3) {
            if (const std::size_t p = s.find("://"); p != std::string::npos) {
                protocol = s.substr(0, p);
                s = s.substr(p + 3);
            }
        }
        std::string authority = s;
        std::optional<std::string> rest;
        if (const std::size_t q = s.find('/'); q != std::string::npos) {
            authority = s.substr(0, q);
            rest = s.substr(q);
        }
        domain = authority;
        if (const std::size_t c = authority.find(':'); c != std::string::npos) {
            domain = authority.substr(0, c);
            readPort(authority.substr(c + 1));
        }
        if (rest) {
            path = *rest;
            if (const std::size_t r = rest->find('?'); r != std::string::npos) {
                path = rest->substr(0, r);
                rawQuery = rest->substr(r + 1);
            }
        }
    }

    void readPort(const std::string& text) {
        std::size_t i = 0;
        while (i < text.size() && std::string(" \t\n\v\f\r").find(text[i]) != std::string::npos) {
            ++i;
        }
        bool negative = false;
        if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
            negative = text[i++] == '-';
        }
        if (i == text.size() || text[i] < '0' || text[i] > '9') {
            error = "invalid stoi argument";
            return;
        }
        long long value = 0;
        for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
            value = std::min(value * 10 + (text[i] - '0'), 10'000'000'000LL);
        }
        value = negative ? -value : value;
        if (value > 2147483647LL || value < -2147483648LL) {
            error = "stoi argument out of range";
        } else if (value < 0 || value > 65535) {
            error = "URL port out of uint16_t range: " + std::to_string(value);
        } else {
            port = static_cast<std::uint16_t>(value);
        }
    }

    std::string print() const {
        return (protocol.empty() ? "" : protocol + "://") + domain +
               (port == 0 ? "" : ":" + std::to_string(port)) + path +
               (rawQuery.empty() ? "" : "?" + rawQuery) + (fragment.empty() ? "" : "#" + fragment);
    }
};

/// What a URL holds, or the text of its failure.
/// @{
inline std::vector<std::string> outcome(const std::string& text) {
    try {
        const URL url(text);
        return {"",
                url.getProtocol(),
                url.getDomain(),
                std::to_string(url.getPort()),
                url.getPath(),
                url.getQueryParameters().toUnencodedString(),
                url.getFragment(),
                url.toAsciiString()};
    } catch (const std::exception& exception) {
        return {exception.what()};
    }
}

inline std::vector<std::string> outcome(const PlainURL& url) {
    if (!url.error.empty()) {
        return {url.error};
    }
    return {"",           url.protocol,
            url.domain,   std::to_string(url.port),
            url.path,     url.rawQuery.empty() ? "" : "?" + url.rawQuery,
            url.fragment, url.print()};
}
/// @}

}  // namespace foundation::httpclient_core::testing
