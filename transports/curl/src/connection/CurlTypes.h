#pragma once
#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <curl/curl.h>

#include <memory>
#include <new>
#include <string>

namespace foundation::httpclient_curl {

namespace core = foundation::httpclient_core;

/// Frees what libcurl made. By function and not by type: several of its handle types are all void.
template <auto release>
struct Release {
    template <class Handle>
    void operator()(Handle* handle) const noexcept {
        release(handle);
    }
};

using EasyHandle = std::unique_ptr<CURL, Release<curl_easy_cleanup>>;
using MultiHandle = std::unique_ptr<CURLM, Release<curl_multi_cleanup>>;
using UrlHandle = std::unique_ptr<CURLU, Release<curl_url_cleanup>>;
using HeaderLines = std::unique_ptr<curl_slist, Release<curl_slist_free_all>>;
using FormHandle = std::unique_ptr<curl_mime, Release<curl_mime_free>>;
using ShareHandle = std::unique_ptr<CURLSH, Release<curl_share_cleanup>>;
using CurlText = std::unique_ptr<char, Release<curl_free>>;

/// Throws std::bad_alloc for the null that libcurl answers where it has no memory.
template <class Pointer>
Pointer requireMemory(Pointer pointer) {
    if (pointer == nullptr) {
        throw std::bad_alloc();
    }
    return pointer;
}

/// Appends a line that libcurl copies.
inline void appendLine(HeaderLines& lines, const std::string& line) {
    curl_slist* extended = requireMemory(curl_slist_append(lines.get(), line.c_str()));
    // The list's head stays the same but for the first line.
    // NOLINTNEXTLINE(bugprone-unused-return-value): `extended` is the same list
    static_cast<void>(lines.release());
    lines.reset(extended);
}

/// Appends the line of one header field.
inline void appendField(HeaderLines& lines, const std::string& name, const std::string& value) {
    std::string line;
    line.reserve(name.size() + 2 + value.size());
    line.append(name).append(": ").append(value);
    appendLine(lines, line);
}

/// Sets an option; one that libcurl refuses fails the request before anything is sent.
template <class Value>
void setOption(CURL* handle, CURLoption option, Value value) {
    const CURLcode code = curl_easy_setopt(handle, option, value);
    if (code == CURLE_OUT_OF_MEMORY) {
        throw std::bad_alloc();
    }
    if (code != CURLE_OK) {
        throw core::HttpRequestFailedException(
            "A transfer option was refused: " + std::string(curl_easy_strerror(code)) +
            " (libcurl " + std::to_string(code) + ")");
    }
}

/// A part of a URL; empty where it has none.
inline std::string part(CURLU* url, CURLUPart which, unsigned int flags = 0) {
    char* text = nullptr;
    if (curl_url_get(url, which, &text, flags) != CURLUE_OK) {
        return {};
    }
    const CurlText owned(text);
    return text;
}

/// What libcurl tells of a transfer; nothing known is the value of its type made of nothing.
template <class Value>
Value info(CURL* handle, CURLINFO which) {
    Value value{};
    curl_easy_getinfo(handle, which, &value);
    return value;
}

}  // namespace foundation::httpclient_curl
