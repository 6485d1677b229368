#pragma once
#include "benchmarks/support/Samples.h"

#include <boost/url.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// Boost.URL. It hands out views into the text of its URL where the library hands out strings.
namespace foundation::httpclient_core::benchmarks {

struct BoostTexts {
    static std::string encode(const std::string& text) {
        return boost::urls::encode(text, boost::urls::unreserved_chars);
    }
    static std::string decode(const std::string& text) {
        boost::urls::encoding_opts options;
        options.space_as_plus = true;
        return boost::urls::pct_string_view(text).decode(options);
    }
};

struct BoostURL {
    using URL = boost::urls::url;
    struct Parts {
        boost::urls::string_view scheme;
        boost::urls::string_view host;
        std::uint16_t port;
        boost::urls::string_view path;
    };

    static Parts read(const URL& url) {
        return {url.scheme(), url.encoded_host(), url.port_number(), url.encoded_path()};
    }
    static std::string print(const URL& url) { return std::string(url.buffer()); }
};

struct BoostQuery {
    template <class Take>
    static void parse(const std::string& text, const Take& take) {
        const boost::urls::params_view query{boost::urls::string_view(text)};
        for (const auto& parameter : query) {
            take(parameter.key, parameter.value);
        }
    }

    class Printer {
    public:
        /// The text of the query, "?" included, is the whole URL.
        using Text = boost::urls::url;

        explicit Printer(samples::Fields parameters) : parameters_(std::move(parameters)) {
            for (const auto& [key, value] : parameters_) {
                views_.emplace_back(boost::urls::string_view(key), boost::urls::string_view(value));
            }
        }
        Printer(Printer&&) = default;

        Text operator()() const {
            boost::urls::url url;
            url.params(boost::urls::encoding_opts(false)).assign(views_.begin(), views_.end());
            return url;
        }

    private:
        samples::Fields parameters_;
        std::vector<boost::urls::param_view> views_;
    };
};

}  // namespace foundation::httpclient_core::benchmarks
