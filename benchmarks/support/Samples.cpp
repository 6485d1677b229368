#include "benchmarks/support/Samples.h"

#include <stdexcept>
#include <string_view>

namespace foundation::httpclient_core::benchmarks::samples {
namespace {

std::string repeated(std::string_view pattern, std::size_t size) {
    std::string text;
    while (text.size() < size) {
        text += pattern;
    }
    text.resize(size);
    return text;
}

}  // namespace

Fields headers(std::size_t count) {
    Fields fields = {
        {"Date", "Tue, 05 Mar 2024 10:00:00 GMT"},
        {"Server", "example"},
        {"Content-Type", "text/html; charset=utf-8"},
        {"Content-Length", "48213"},
        {"Connection", "keep-alive"},
        {"Cache-Control", "max-age=3600, public"},
        {"ETag", "\"5f1b2c3d4e5f6a7b\""},
        {"Last-Modified", "Mon, 04 Mar 2024 18:30:00 GMT"},
        {"Vary", "Accept-Encoding"},
        {"Accept-Ranges", "bytes"},
        {"Strict-Transport-Security", "max-age=31536000; includeSubDomains"},
        {"X-Content-Type-Options", "nosniff"},
        {"X-Frame-Options", "SAMEORIGIN"},
        {"X-Request-Id", "0b9f7e1c-6d0c-4f5e-9a67-2f7d1c3b5a49"},
        {"Set-Cookie", "session=4c1f0a9e7d; Path=/; Secure; HttpOnly"},
        {"Set-Cookie", "theme=dark; Path=/; Max-Age=31536000"},
        {"Set-Cookie", "language=en; Path=/; Max-Age=31536000"},
        {"Set-Cookie", "visits=17; Path=/; SameSite=Lax"},
    };
    if (count < fields.size()) {
        fields.resize(count);
    }
    while (fields.size() < count) {
        const std::string number = std::to_string(fields.size());
        fields.emplace_back("X-Application-Field-" + number, "value of the field " + number);
    }
    return fields;
}

std::vector<std::string> headerLines(std::size_t count) {
    std::vector<std::string> lines;
    for (const auto& [name, value] : headers(count)) {
        lines.push_back(name + ": " + value);
    }
    return lines;
}

std::string url(std::size_t length) {
    std::string text;
    if (length == 19) {
        text = "https://a.test/path";
    } else if (length == 85) {
        text =
            "https://server.example.test:8443/shop/articles/list?page=2&order=by%20price#article-7";
    } else if (length == 480) {
        text = "https://server.example.test/search?" + query() + "#";
        text += repeated("result", length - text.size());
    }
    if (text.size() != length) {
        throw std::invalid_argument("no sample URL of " + std::to_string(length) + " characters");
    }
    return text;
}

std::string query() {
    std::string text;
    for (int number = 0; number < 20; ++number) {
        text += text.empty() ? "" : "&";
        text += "key" + std::to_string(number);
        text += number % 3 == 0 ? "=two%20words%2C" : "=plain-value";
    }
    return text;
}

std::string plainText() {
    return repeated("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789", 4096);
}

std::string proseText() {
    return repeated(
        "It was late, and the library was quiet: only the clock could be heard. \"Who reads here "
        "at "
        "this hour?\" she asked (nobody answered). ",
        4096);
}

std::string utf8Text() {
    return repeated(
        "\xC3\xBC\xC3\xA9\xC3\xB1 \xD0\xBF\xD1\x80\xD0\xB8\xE6\x97\xA5\xE6\x9C\xAC "
        "word ",
        4096);
}

std::string shortText() {
    return "two words and a half";
}

std::string contentType() {
    return "multipart/form-data; charset=utf-8; boundary=----boundary7MA4YWxkTrZu0gW";
}

std::string accept() {
    return "text/html, application/xhtml+xml, application/xml;q=0.9, image/avif, image/webp, "
           "*/*;q=0.8";
}

std::string cookie() {
    return "session=4c1f0a9e7d; theme=dark; language=en; visits=17; "
           "consent=necessary-and-statistics; cart=7f3e";
}

std::string setCookie() {
    return "session=4c1f0a9e7d2b; Path=/; Domain=server.example.test; Max-Age=3600; Secure; "
           "HttpOnly; SameSite=Lax";
}

}  // namespace foundation::httpclient_core::benchmarks::samples
