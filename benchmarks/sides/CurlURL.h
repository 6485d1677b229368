#pragma once
#include <curl/curl.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

/// libcurl's parser of URLs and its percent-encoding.
namespace foundation::httpclient_core::benchmarks {

struct CurlFree {
    void operator()(char* text) const noexcept { curl_free(text); }
};

using CurlText = std::unique_ptr<char, CurlFree>;

struct CurlURL {
    class URL {
    public:
        explicit URL(const std::string& text) : handle_(curl_url()) {
            if (curl_url_set(handle_.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) {
                throw std::runtime_error("libcurl does not parse the sample");
            }
        }
        /// Null where the URL has no such part.
        CurlText part(CURLUPart part) const {
            char* text = nullptr;
            curl_url_get(handle_.get(), part, &text, 0);
            return CurlText(text);
        }

    private:
        struct Cleanup {
            void operator()(CURLU* handle) const noexcept { curl_url_cleanup(handle); }
        };
        std::unique_ptr<CURLU, Cleanup> handle_;
    };
    struct Parts {
        CurlText scheme;
        CurlText host;
        int port;
        CurlText path;
    };

    static Parts read(const URL& url) {
        const CurlText port = url.part(CURLUPART_PORT);
        return {url.part(CURLUPART_SCHEME), url.part(CURLUPART_HOST),
                port ? std::atoi(port.get()) : 0, url.part(CURLUPART_PATH)};
    }
    static CurlText print(const URL& url) { return url.part(CURLUPART_URL); }
};

struct CurlTexts {
    static CurlText encode(const std::string& text) {
        return CurlText(curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size())));
    }
    static CurlText decode(const CurlText& text) { return decode(std::string(text.get())); }
    static CurlText decode(const std::string& text) {
        return CurlText(
            curl_easy_unescape(nullptr, text.data(), static_cast<int>(text.size()), nullptr));
    }
};

}  // namespace foundation::httpclient_core::benchmarks
