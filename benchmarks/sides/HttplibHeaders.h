#pragma once
#include <cstddef>
#include <httplib.h>
#include <string>
#include <utility>
#include <vector>

/// cpp-httplib: multimaps of strings, and the functions that its client and server use on them.
namespace foundation::httpclient_core::benchmarks {

struct HttplibHeaders {
    using Headers = httplib::Headers;

    static void add(Headers& headers, const std::string& name, const std::string& value) {
        headers.emplace(name, value);
    }
    static std::size_t valueSize(const Headers& headers, const std::string& name) {
        const auto found = headers.find(name);
        return found == headers.end() ? 0 : found->second.size();
    }
    static std::vector<std::string> all(const Headers& headers, const std::string& name) {
        std::vector<std::string> values;
        const auto [first, last] = headers.equal_range(name);
        for (auto field = first; field != last; ++field) {
            values.push_back(field->second);
        }
        return values;
    }
    static void erase(Headers& headers, const std::string& name) { headers.erase(name); }
};

struct HttplibTexts {
    static std::string encode(const std::string& text) {
        return httplib::detail::encode_query_param(text);
    }
    static std::string decode(const std::string& text) {
        return httplib::detail::decode_url(text, true);
    }
};

struct HttplibQuery {
    template <class Take>
    static void parse(const std::string& text, const Take& take) {
        httplib::Params query;
        httplib::detail::parse_query_text(text, query);
        for (const auto& [key, value] : query) {
            take(key, value);
        }
    }
};

}  // namespace foundation::httpclient_core::benchmarks
