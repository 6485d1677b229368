#include "entity/Completeness.h"

#include "entity/ContentRange.h"

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::HttpHeaders;
using httpclient_core::HttpResponse;
using httpclient_core::HttpResponseCode;

const char* const onlyPart = "the server sent only a part";

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
        const auto range = ContentRange::parse(headers.getHeaderValueOr("Content-Range", ""));
        if (!range.has_value() || (range->total >= 0 && range->total != range->last + 1)) {
            return onlyPart;
        }
        return whyDifferent(size, range->last + 1);
    }
    if (headers.hasHeader(HttpHeaders::TRANSFER_ENCODING)) {
        return std::nullopt;
    }
    const auto length = parseSize(headers.getHeaderValueOr(HttpHeaders::CONTENT_LENGTH, ""));
    return length.has_value() ? whyDifferent(size, *length) : std::nullopt;
}

std::optional<std::string> whyIncompletePart(const HttpResponse& response, std::int64_t size) {
    if (response.getResponseCode() != HttpResponseCode::PartialContent) {
        return whyIncomplete(response, size);
    }
    const auto range =
        ContentRange::parse(response.getHeaders().getHeaderValueOr("Content-Range", ""));
    // Several ranges come as one multipart body, which is framed in another way.
    const std::int64_t announced = range.has_value() ? range->last - range->first + 1 : 0;
    return size < announced ? whyDifferent(size, announced) : std::nullopt;
}

}  // namespace foundation::httpclient_tool
