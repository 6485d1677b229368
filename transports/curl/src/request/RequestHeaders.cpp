#include "request/RequestHeaders.h"

#include "request/HeaderText.h"
#include "request/WholeNumber.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace foundation::httpclient_curl {
namespace {

using namespace std::string_view_literals;

template <std::size_t count>
bool isOneOf(std::string_view name, const std::array<std::string_view, count>& names) {
    return std::any_of(names.begin(), names.end(),
                       [name](std::string_view candidate) { return sameName(name, candidate); });
}

// Fields that the transport writes itself. Proxy fields would reach the origin through a tunnel.
bool isWrittenHere(std::string_view name) {
    constexpr std::array names{"Content-Length"sv, "Transfer-Encoding"sv, "Range"sv,
                               "Proxy-Authorization"sv, "Proxy-Connection"sv};
    return isOneOf(name, names) || isInternalName(name);
}

std::int64_t parseLength(std::string_view text) {
    const std::optional<std::int64_t> length = wholeNumber<std::int64_t>(trimmed(text));
    if (!length.has_value() || *length < 0) {
        throw core::HttpRequestFailedException("Content-Length of the request is no length");
    }
    return *length;
}

}  // namespace

void requireSafeField(const std::string& name, const std::string& value) {
    if (!isToken(name)) {
        throw core::HttpRequestFailedException("A header name of the request is no token");
    }
    requireOneLine("The request header " + name, value);
}

void requireOneLine(const std::string& what, const std::string& text) {
    if (text.find_first_of("\r\n\0"sv) != std::string::npos) {
        throw core::HttpRequestFailedException(what + " holds a line break or a NUL");
    }
}

RequestHeaders::RequestHeaders(const core::HttpHeaders& headers) {
    for (const auto& [name, value] : headers) {
        requireSafeField(name, value);
        if (sameName(name, "Content-Length")) {
            const std::int64_t length = parseLength(value);
            if (contentLength_.has_value() && *contentLength_ != length) {
                throw core::HttpRequestFailedException(
                    "The request has two different Content-Length headers");
            }
            contentLength_ = length;
        }
        if (sameName(name, "Transfer-Encoding")) {
            addCodings(value);
        }
        if (!isWrittenHere(name)) {
            headers_.add(name, value);
        }
    }
}

void RequestHeaders::addCodings(std::string_view value) {
    while (!value.empty()) {
        const std::size_t comma = std::min(value.find(','), value.size());
        const std::string_view coding = trimmed(value.substr(0, comma));
        value.remove_prefix(std::min(comma + 1, value.size()));
        if (coding.empty() || sameName(coding, "identity")) {
            continue;
        }
        if (isChunked_) {
            throw core::HttpRequestFailedException(
                "Transfer-Encoding of the request does not end with its chunks");
        }
        isChunked_ = sameName(coding, "chunked");
        if (!isChunked_) {
            codings_.append(codings_.empty() ? "" : ", ").append(coding);
        }
    }
}

void RequestHeaders::dropSensitive(const std::vector<std::string>& names) {
    for (const char* name : {"Authorization", "Cookie", "Host"}) {
        headers_.erase(name);
    }
    for (const std::string& name : names) {
        headers_.erase(name);
    }
}

void RequestHeaders::dropBodyFields() {
    for (const char* name :
         {"Content-Type", "Content-Encoding", "Content-Language", "Content-Location", "Expect"}) {
        headers_.erase(name);
    }
    dropTransferCodings();
    contentLength_.reset();
}

HeaderLines RequestHeaders::lines(const std::string& range, const std::string& ifRange) const {
    HeaderLines lines;
    // The caller's own condition belongs to the caller's own range.
    const bool keepsIfRange = !range.empty() && ifRange.empty();
    for (const auto& [name, value] : headers_) {
        if (sameName(name, "If-Range") && !keepsIfRange) {
            continue;
        }
        if (trimmed(value).empty()) {
            // libcurl sends a field without a value only in this form.
            appendLine(lines, name + ";");
        } else {
            appendField(lines, name, value);
        }
    }
    if (hasTransferCodings()) {
        // libcurl makes chunks only where a given field says so, and without them nothing tells the
        // server where the body ends.
        appendLine(lines, "Transfer-Encoding: " + codings_ + ", chunked");
    }
    if (!range.empty()) {
        appendLine(lines, "Range: " + range);
    }
    if (!ifRange.empty()) {
        appendLine(lines, "If-Range: " + ifRange);
    }
    if (!hasExpect()) {
        // Waiting for "100 Continue" costs a second with servers that never send it.
        appendLine(lines, "Expect:");
    }
    return lines;
}

}  // namespace foundation::httpclient_curl
