#pragma once
#include "benchmarks/support/Samples.h"
#include "headers/IdentityEncoder.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core.h>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/// The library's side of every workload, written as a caller writes it.
namespace foundation::httpclient_core::benchmarks {

struct LibraryHeaders {
    using Headers = HttpHeaders;

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

    /// Cuts the lines out of the block, as it came from the network, into a buffer that stays.
    class Parser {
    public:
        Headers operator()(const std::string& block) {
            Headers headers;
            std::size_t start = block.find("\r\n") + 2;
            for (std::size_t end = 0; (end = block.find("\r\n", start)) != start; start = end + 2) {
                line_.assign(block, start, end - start);
                headers.addHeader(line_);
            }
            return headers;
        }

    private:
        std::string line_ = std::string(200, ' ');
    };

    class Printer {
    public:
        explicit Printer(Headers headers) : headers_(std::move(headers)) {}
        std::string operator()() const {
            return headers_.toString(entrySeparator_, keyValueSeparator_, encoder_);
        }

    private:
        Headers headers_;
        std::string entrySeparator_ = "\r\n";
        std::string keyValueSeparator_ = ": ";
        NameValueCollection::Encoder encoder_ = identityEncoder;
    };
};

struct LibraryTexts {
    static std::string encode(const std::string& text) {
        static const PercentEncoder encoder("%20");
        return encoder(text);
    }
    static std::string decode(const std::string& text) { return percentDecode(text); }
    static ContentType contentType(const std::string& text) { return ContentType::parse(text); }
    static Accept accept(const std::string& text) { return Accept::parse(text); }
    static NameValueCollection cookie(const std::string& text) { return Cookie::parse(text); }
    static SetCookie setCookie(const std::string& text) { return SetCookie::parse(text); }
};

struct LibraryURL {
    using URL = httpclient_core::URL;
    struct Parts {
        std::string scheme;
        std::string host;
        std::uint16_t port;
        std::string path;
    };

    static Parts read(const URL& url) {
        return {url.getProtocol(), url.getDomain(), url.getPort(), url.getPath()};
    }
    static std::string print(const URL& url) { return url.toAsciiString(); }
};

struct LibraryQuery {
    template <class Take>
    static void parse(const std::string& text, const Take& take) {
        const QueryParameters query(text);
        for (const auto& [key, value] : query) {
            take(key, value);
        }
    }

    class Printer {
    public:
        explicit Printer(const samples::Fields& parameters) {
            for (const auto& [key, value] : parameters) {
                query_.addQueryParameter(key, value);
            }
        }
        std::string operator()() const { return query_.toString(); }

    private:
        QueryParameters query_;
    };
};

struct LibraryBody {
    static std::unique_ptr<std::iostream> make() {
        return defaultResponseStreamFactory()(HttpResponseCode::OK, "OK", HttpHeaders());
    }
};

}  // namespace foundation::httpclient_core::benchmarks
