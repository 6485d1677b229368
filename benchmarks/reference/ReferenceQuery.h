#pragma once
#include "benchmarks/reference/ReferenceHeaders.h"
#include "benchmarks/reference/ReferencePercentEncoder.h"

#include <cstddef>
#include <sstream>
#include <string>

namespace foundation::httpclient_core::benchmarks {

/// A query as the library parses and prints it, kept in the reference collection.
struct ReferenceQuery {
    ReferenceQuery() = default;
    explicit ReferenceQuery(std::string query) {
        if (!query.empty() && query.front() == '?') {
            query = query.substr(1);
        }
        rawQuery = query;
        std::istringstream entries(query);
        for (std::string entry; std::getline(entries, entry, '&');) {
            const std::size_t equals = entry.find('=');
            const std::string key = referenceDecode(entry.substr(0, equals));
            const std::string value = equals == std::string::npos
                                          ? std::string()
                                          : referenceDecode(entry.substr(equals + 1));
            if (!key.empty()) {
                parameters.add(key, value);
            }
        }
    }

    std::string toString() const {
        std::ostringstream text;
        std::string separator = "?";
        for (const auto& [key, value] : parameters) {
            text << separator << referenceEncode(key, "%20");
            if (!value.empty()) {
                text << '=' << referenceEncode(value, "%20");
            }
            separator = "&";
        }
        return text.str();
    }

    std::string toUnencodedString() const {
        return rawQuery.empty() ? std::string() : "?" + rawQuery;
    }

    ReferenceHeaders parameters;
    std::string rawQuery;
};

}  // namespace foundation::httpclient_core::benchmarks
