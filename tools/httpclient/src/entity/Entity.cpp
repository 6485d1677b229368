#include "entity/Entity.h"

#include "entity/ContentRange.h"

#include <ctime>
#include <optional>
#include <string_view>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpHeaders;
using httpclient_core::HttpResponseCode;

std::optional<std::time_t> parseDate(const std::string& text) {
    std::tm fields{};
    const char* end = ::strptime(text.c_str(), "%a, %d %b %Y %H:%M:%S GMT", &fields);
    return end != nullptr && *end == '\0' ? std::optional(::timegm(&fields)) : std::nullopt;
}

std::string strongValidator(const HttpHeaders& headers) {
    std::string etag = headers.getHeaderValueOr("ETag", "");
    if (etag.size() >= 2 && etag.front() == '"' && etag.back() == '"') {
        return etag;
    }
    // A weak tag says that versions may differ in bytes; the date cannot say more.
    if (!etag.empty()) {
        return {};
    }
    const std::string modified = headers.getHeaderValueOr("Last-Modified", "");
    const auto changed = parseDate(modified);
    const auto answered = parseDate(headers.getHeaderValueOr("Date", ""));
    const bool isStrong = changed.has_value() && answered.has_value() && *answered - *changed >= 60;
    return isStrong ? modified : std::string();
}

bool isCoded(const HttpHeaders& headers) {
    const std::string coding = headers.getHeaderValueOr("Content-Encoding", "");
    return !coding.empty() && coding != "identity";
}

}  // namespace

Entity Entity::fromHead(HttpResponseCode code, const HttpHeaders& headers) {
    Entity entity;
    entity.validator = strongValidator(headers);
    const bool isPart = code == HttpResponseCode::PartialContent;
    if (isPart) {
        const auto range = ContentRange::parse(headers.getHeaderValueOr("Content-Range", ""));
        entity.total = range.has_value() ? range->total : -1;
    } else if (!headers.hasHeader(HttpHeaders::TRANSFER_ENCODING)) {
        entity.total =
            parseSize(headers.getHeaderValueOr(HttpHeaders::CONTENT_LENGTH, "")).value_or(-1);
    }
    const bool knowsRanges = isPart || headers.getHeaderValueOr("Accept-Ranges", "") == "bytes";
    entity.continuable = !entity.validator.empty() && knowsRanges && !isCoded(headers) &&
                         (isPart || code == HttpResponseCode::OK);
    return entity;
}

}  // namespace foundation::httpclient_tool
