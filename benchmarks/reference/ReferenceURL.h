#pragma once
#include "benchmarks/reference/ReferenceQuery.h"

#include <cstddef>
#include <sstream>
#include <string>

namespace foundation::httpclient_core::benchmarks {

/// A URL as the library cuts and prints it, each cut on a copy of the text.
struct ReferenceURL {
    explicit ReferenceURL(std::string text) {
        const std::size_t hash = text.find('#');
        if (hash != std::string::npos) {
            fragment = text.substr(hash + 1);
            text = text.substr(0, hash);
        }
        const std::size_t marker = text.find("://");
        if (marker != std::string::npos) {
            protocol = text.substr(0, marker);
            text = text.substr(marker + 3);
        }
        const std::size_t slash = text.find('/');
        std::string authority = text.substr(0, slash);
        const std::string rest = slash == std::string::npos ? std::string() : text.substr(slash);
        const std::size_t colon = authority.find(':');
        if (colon != std::string::npos) {
            port = std::stoi(authority.substr(colon + 1));
            authority = authority.substr(0, colon);
        }
        domain = authority;
        const std::size_t question = rest.find('?');
        path = rest.substr(0, question);
        if (question != std::string::npos) {
            query = ReferenceQuery(rest.substr(question));
        }
    }

    std::string toAsciiString() const {
        std::ostringstream text;
        if (!protocol.empty()) {
            text << protocol << "://";
        }
        text << domain;
        if (port != 0) {
            text << ':' << port;
        }
        text << path << query.toUnencodedString();
        if (!fragment.empty()) {
            text << '#' << fragment;
        }
        return text.str();
    }

    std::string protocol;
    std::string domain;
    int port = 0;
    std::string path;
    ReferenceQuery query;
    std::string fragment;
};

}  // namespace foundation::httpclient_core::benchmarks
