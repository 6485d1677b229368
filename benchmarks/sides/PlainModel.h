#pragma once
#include "benchmarks/reference/ReferenceHeaderText.h"
#include "benchmarks/reference/ReferenceHeaders.h"
#include "benchmarks/reference/ReferencePercentEncoder.h"
#include "benchmarks/reference/ReferenceQuery.h"
#include "benchmarks/reference/ReferenceURL.h"
#include "benchmarks/support/Samples.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// The side of the obvious implementation: a list and a map, string streams and string copies.
namespace foundation::httpclient_core::benchmarks {

struct ModelHeaders {
    using Headers = ReferenceHeaders;

    static void add(Headers& headers, const std::string& name, const std::string& value) {
        headers.add(name, value);
    }
    static std::size_t valueSize(const Headers& headers, const std::string& name) {
        const auto found = headers.find(name);
        return found == headers.end() ? 0 : found->second.size();
    }
    static std::vector<std::string> all(const Headers& headers, const std::string& name) {
        return headers.getAll(name);
    }
    static void erase(Headers& headers, const std::string& name) { headers.erase(name); }

    struct Parser {
        Headers operator()(const std::string& block) const {
            Headers headers;
            std::size_t start = block.find("\r\n") + 2;
            for (std::size_t end = 0; (end = block.find("\r\n", start)) != start; start = end + 2) {
                const auto [name, value] =
                    referenceParameter(block.substr(start, end - start), ':', false);
                headers.add(name, value);
            }
            return headers;
        }
    };

    struct Printer {
        explicit Printer(Headers filled) : headers(std::move(filled)) {}
        std::string operator()() const {
            return headers.toString("\r\n", ": ", [](std::string text) { return text; });
        }
        Headers headers;
    };
};

struct ModelTexts {
    static std::string encode(const std::string& text) { return referenceEncode(text, "%20"); }
    static std::string decode(const std::string& text) { return referenceDecode(text); }
    static ReferenceValue contentType(const std::string& text) {
        return referenceContentType(text);
    }
    static std::vector<ReferenceValue> accept(const std::string& text) {
        return referenceAccept(text);
    }
    static ReferenceHeaders cookie(const std::string& text) { return referenceCookie(text); }
    static auto setCookie(const std::string& text) { return referenceSetCookie(text); }
};

struct ModelURL {
    using URL = ReferenceURL;
    struct Parts {
        std::string scheme;
        std::string host;
        int port;
        std::string path;
    };

    static Parts read(const URL& url) { return {url.protocol, url.domain, url.port, url.path}; }
    static std::string print(const URL& url) { return url.toAsciiString(); }
};

struct ModelQuery {
    template <class Take>
    static void parse(const std::string& text, const Take& take) {
        const ReferenceQuery query(text);
        for (const auto& [key, value] : query.parameters) {
            take(key, value);
        }
    }

    struct Printer {
        explicit Printer(const samples::Fields& parameters) {
            for (const auto& [key, value] : parameters) {
                query.parameters.add(key, value);
            }
        }
        std::string operator()() const { return query.toString(); }
        ReferenceQuery query;
    };
};

}  // namespace foundation::httpclient_core::benchmarks
