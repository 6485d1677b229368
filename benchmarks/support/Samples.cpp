#include "benchmarks/support/Samples.h"

#include <algorithm>
#include <cctype>
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

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

Fields request() {
    return {
        {"Host", "example.test"},
        {"Connection", "keep-alive"},
        {"Cache-Control", "max-age=0"},
        {"Upgrade-Insecure-Requests", "1"},
        {"User-Agent", "Mozilla/5.0 (X11; Linux x86_64; rv:123.0) Example/20240305 Reader/123.0"},
        {"Accept", "text/html,application/xhtml+xml,application/xml;q=0.9,image/webp,*/*;q=0.8"},
        {"Accept-Language", "en-GB,en;q=0.5"},
        {"Accept-Encoding", "gzip, deflate, br"},
        {"Referer", "https://example.test/articles/list?page=2"},
        {"Cookie", "session=4c1f0a9e7d; theme=dark; language=en; visits=17"},
        {"If-None-Match", "\"33a64df551425fcc55e4d42a148795d9f25f89d4\""},
        {"If-Modified-Since", "Tue, 05 Mar 2024 10:00:00 GMT"},
        {"Sec-Fetch-Mode", "navigate"},
        {"DNT", "1"},
    };
}

/// The first 18 are the usual response.
Fields response() {
    return {
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
        {"Age", "120"},
        {"Via", "1.1 proxy.example.test"},
        {"Expires", "Tue, 05 Mar 2024 11:00:00 GMT"},
        {"Pragma", "cache"},
        {"Alt-Svc", "h3=\":443\"; ma=86400"},
        {"Link", "</style.css>; rel=preload; as=style"},
        {"Content-Language", "en"},
        {"Content-Location", "/articles/list.en"},
        {"Content-Disposition", "inline"},
        {"Content-Security-Policy", "default-src 'self'; img-src 'self' data:; object-src 'none'"},
        {"Referrer-Policy", "strict-origin-when-cross-origin"},
        {"Permissions-Policy", "camera=(), microphone=(), geolocation=()"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
        {"Cross-Origin-Embedder-Policy", "require-corp"},
        {"Cross-Origin-Resource-Policy", "same-site"},
        {"Origin-Agent-Cluster", "?1"},
        {"Access-Control-Allow-Origin", "https://example.test"},
        {"Access-Control-Allow-Methods", "GET, HEAD, OPTIONS"},
        {"Access-Control-Allow-Headers", "Content-Type, X-Request-Id"},
        {"Access-Control-Allow-Credentials", "true"},
        {"Access-Control-Expose-Headers", "X-Request-Id"},
        {"Access-Control-Max-Age", "600"},
        {"Timing-Allow-Origin", "*"},
        {"Server-Timing", "db;dur=53, app;dur=47.2"},
        {"Report-To", "{\"group\":\"default\",\"max_age\":86400}"},
        {"NEL", "{\"report_to\":\"default\",\"max_age\":86400}"},
        {"Accept-CH", "Sec-CH-UA-Mobile"},
        {"Priority", "u=1"},
        {"X-XSS-Protection", "0"},
        {"X-DNS-Prefetch-Control", "off"},
        {"X-Permitted-Cross-Domain-Policies", "none"},
        {"X-Download-Options", "noopen"},
        {"X-Robots-Tag", "noarchive"},
        {"X-Cache", "HIT"},
        {"X-Cache-Hits", "3"},
        {"X-Served-By", "cache-example-1234"},
        {"X-Timer", "S1709632800.123456,VS0,VE1"},
        {"X-Runtime", "0.048213"},
        {"X-Correlation-Id", "7d9f0c1e5b3a4d6f"},
        {"X-RateLimit-Limit", "1000"},
        {"X-RateLimit-Remaining", "987"},
        {"X-RateLimit-Reset", "1709636400"},
    };
}

}  // namespace

Fields headers(std::size_t count) {
    Fields fields = count == 14 ? request() : response();
    if (count < fields.size()) {
        fields.resize(count);
    }
    while (fields.size() < count) {
        const std::string number = std::to_string(fields.size());
        fields.emplace_back("X-Application-Field-" + number, "value of the field " + number);
    }
    return fields;
}

std::string headerBlock(std::size_t count) {
    std::string block = "HTTP/1.1 200 OK\r\n";
    for (const auto& [name, value] : headers(count)) {
        block.append(name).append(": ").append(value).append("\r\n");
    }
    return block + "\r\n";
}

std::vector<std::string> presentNames(std::size_t count) {
    constexpr std::size_t wanted = 16;
    const Fields fields = headers(count);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < wanted; ++i) {
        // 7 and 16 have no common factor, so each place comes once.
        const std::string& name = fields[i * 7 % wanted * fields.size() / wanted].first;
        names.push_back(i % 2 == 0 ? name : lowerCase(name));
    }
    return names;
}

std::vector<std::string> absentNames() {
    return {"Retry-After",
            "location",
            "WWW-Authenticate",
            "proxy-authenticate",
            "Trailer",
            "transfer-encoding",
            "Upgrade",
            "warning",
            "Refresh",
            "content-range",
            "Allow",
            "content-encoding",
            "Location-Id",
            "x-forwarded-for",
            "Content-MD5",
            "x-powered-by"};
}

std::string url(std::size_t length) {
    std::string text;
    if (length == 19) {
        text = "https://a.test/path";
    } else if (length == 85) {
        text =
            "https://server.example.test:8443/shop/articles/list?page=2&order=by%20price#article-7";
    } else if (length == 480) {
        text = "https://server.example.test/catalogue/search?" + query() + "#results";
    }
    if (text.size() != length) {
        throw std::invalid_argument("no sample URL of " + std::to_string(length) + " characters");
    }
    return text;
}

Fields parameters() {
    return {
        {"q", "wireless headphones"},
        {"category", "consumer electronics"},
        {"brand", "\xC3\x89toile Audio"},
        {"min_price", "25"},
        {"max_price", "250"},
        {"currency", "EUR"},
        {"sort", "price_ascending"},
        {"page", "3"},
        {"per_page", "48"},
        {"color", "midnight blue"},
        {"rating", "4"},
        {"in_stock", "true"},
        {"shipping", "next_day_before_noon"},
        {"locale", "en-GB"},
        {"session", "4c1f0a9e7d2b6a58f3c0"},
        {"from", "home & garden corner"},
        {"source", "newsletter_of_march"},
        {"medium", "email"},
        {"campaign", "spring sale for readers"},
        {"view", "grid with large pictures"},
    };
}

std::string query() {
    return "q=wireless%20headphones&category=consumer%20electronics&brand=%C3%89toile%20Audio"
           "&min_price=25&max_price=250&currency=EUR&sort=price_ascending&page=3&per_page=48"
           "&color=midnight%20blue&rating=4&in_stock=true&shipping=next_day_before_noon"
           "&locale=en-GB&session=4c1f0a9e7d2b6a58f3c0&from=home%20%26%20garden%20corner"
           "&source=newsletter_of_march&medium=email&campaign=spring%20sale%20for%20readers"
           "&view=grid%20with%20large%20pictures";
}

std::string query(std::size_t count) {
    std::string text;
    for (std::size_t number = 0; number < count; ++number) {
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

std::string contentType(int parameters) {
    if (parameters == 1) {
        return "text/html; charset=utf-8";
    }
    if (parameters == 3) {
        return "multipart/form-data; charset=utf-8; boundary=----boundary7MA4YWxkTrZu0gW; "
               "version=1.0";
    }
    throw std::invalid_argument("no sample media type of " + std::to_string(parameters) +
                                " parameters");
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
    return "session=4c1f0a9e7d2b; Path=/; Domain=example.test; Max-Age=3600; Secure; "
           "HttpOnly; SameSite=Lax";
}

bool isLong(const std::string& text) {
    constexpr std::size_t keptInside = 15;
    return text.size() > keptInside;
}

std::uint64_t longStrings(const Fields& fields) {
    std::uint64_t count = 0;
    for (const auto& [name, value] : fields) {
        count += (isLong(name) ? 1U : 0U) + (isLong(value) ? 1U : 0U);
    }
    return count;
}

std::uint64_t longValues(const Fields& fields, const std::string& name) {
    return static_cast<std::uint64_t>(std::count_if(
        fields.begin(), fields.end(),
        [&name](const auto& field) { return field.first == name && isLong(field.second); }));
}

std::uint64_t longPieces(const std::string& text) {
    const std::string marks = ",;= ";
    std::uint64_t count = 0;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find_first_of(marks, start), text.size());
        count += isLong(text.substr(start, end - start)) ? 1U : 0U;
        start = end + 1;
    }
    return count;
}

std::uint64_t longParts(std::size_t length) {
    const std::string text = url(length);
    const std::size_t host = text.find("://") + 3;
    const std::size_t path = text.find('/', host);
    const std::size_t hostEnd = text.find_first_of(":/", host);
    const std::size_t pathEnd = std::min(text.find_first_of("?#", path), text.size());
    return (isLong(text.substr(host, hostEnd - host)) ? 1U : 0U) +
           (isLong(text.substr(path, pathEnd - path)) ? 1U : 0U);
}

}  // namespace foundation::httpclient_core::benchmarks::samples
