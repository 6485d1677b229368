#pragma once
#include "benchmarks/support/Samples.h"

#include <boost/asio/buffer.hpp>
#include <boost/beast/http.hpp>

#include <cstddef>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::benchmarks {

/// Boost.Beast's `fields`, its parser and its printer.
struct BeastHeaders {
    using Headers = boost::beast::http::fields;

    static void add(Headers& headers, const std::string& name, const std::string& value) {
        headers.insert(name, value);
    }
    static std::size_t valueSize(const Headers& headers, const std::string& name) {
        const auto found = headers.find(name);
        return found == headers.end() ? 0 : found->value().size();
    }
    static std::vector<std::string> all(const Headers& headers, const std::string& name) {
        const auto [first, last] = headers.equal_range(name);
        std::vector<std::string> values;
        values.reserve(static_cast<std::size_t>(std::distance(first, last)));
        for (auto field = first; field != last; ++field) {
            values.emplace_back(field->value());
        }
        return values;
    }
    static void erase(Headers& headers, const std::string& name) { headers.erase(name); }

    struct Parser {
        Headers operator()(const std::string& block) const {
            namespace http = boost::beast::http;
            http::response_parser<http::empty_body> parser;
            boost::beast::error_code error;
            parser.put(boost::asio::buffer(block), error);
            if (error || !parser.is_header_done()) {
                throw std::runtime_error("Boost.Beast does not parse the sample");
            }
            return std::move(parser.get().base());
        }
    };

    /// The stream stays, so that what it costs to make one is not counted; its text starts with the
    /// request line and ends with an empty line.
    class Printer {
    public:
        explicit Printer(Headers headers) {
            static_cast<Headers&>(header_) = std::move(headers);
            header_.method(boost::beast::http::verb::get);
            header_.target("/");
        }
        std::string operator()() {
            text_.seekp(0);
            text_ << header_;
            return std::string(text_.view());
        }

    private:
        boost::beast::http::request_header<> header_;
        std::ostringstream text_;
    };
};

}  // namespace foundation::httpclient_core::benchmarks
