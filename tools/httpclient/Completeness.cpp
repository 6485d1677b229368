#include "tools/httpclient/Completeness.h"

#include <charconv>
#include <memory>
#include <string_view>
#include <system_error>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpHeaders;
using httpclient_core::HttpResponse;
using httpclient_core::HttpResponseCode;

// 64 bits: the library's own getContentLength() ends at 2 GiB.
std::optional<std::int64_t> parseSize(std::string_view text) {
    std::int64_t value = 0;
    const char* end = std::to_address(text.end());
    const auto [stop, error] = std::from_chars(std::to_address(text.begin()), end, value);
    return error == std::errc() && stop == end && value >= 0 ? std::optional(value) : std::nullopt;
}

// The size of the whole that "bytes FIRST-LAST/TOTAL" completes, with "*" for an unknown total. Nothing
// when the text is malformed or bytes are missing after LAST.
std::optional<std::int64_t> sizeAfterRange(std::string_view text) {
    const std::string_view unit = "bytes ";
    const std::size_t dash = text.find('-');
    const std::size_t slash = text.find('/');
    if (!text.starts_with(unit) || dash == std::string_view::npos ||
        slash == std::string_view::npos || slash < dash) {
        return std::nullopt;
    }
    const auto last = parseSize(text.substr(dash + 1, slash - dash - 1));
    const std::string_view total = text.substr(slash + 1);
    if (!last.has_value() || (total != "*" && parseSize(total) != *last + 1)) {
        return std::nullopt;
    }
    return *last + 1;
}

std::optional<std::string> whyDifferent(std::int64_t size, std::int64_t announced) {
    if (size == announced) {
        return std::nullopt;
    }
    return "received " + std::to_string(size) + " of " + std::to_string(announced) + " bytes";
}

}  // namespace

std::optional<std::string> whyIncomplete(const HttpResponse& response, std::int64_t size) {
    const HttpHeaders headers = response.getHeaders();
    if (response.getResponseCode() == HttpResponseCode::PartialContent) {
        const auto whole = sizeAfterRange(headers.getHeaderValueOr("Content-Range", ""));
        return whole.has_value() ? whyDifferent(size, *whole)
                                 : std::optional<std::string>("the server sent only a part");
    }
    if (headers.hasHeader(HttpHeaders::TRANSFER_ENCODING)) {
        return std::nullopt;
    }
    const auto length = parseSize(headers.getHeaderValueOr(HttpHeaders::CONTENT_LENGTH, ""));
    return length.has_value() ? whyDifferent(size, *length) : std::nullopt;
}

}  // namespace foundation::httpclient_tool
