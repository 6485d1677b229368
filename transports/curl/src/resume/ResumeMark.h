#pragma once
#include "resume/Validator.h"

#include <foundation/httpclient_core/HttpRequest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// What one attempt tells the next about the response body that it left behind. It travels as a header
/// of the request that is never sent, since request and response are all that an attempt inherits.
struct ResumeMark {
    bool resumable = false;
    std::int64_t first = 0;      ///< Offset in the resource of the first byte that the body holds.
    std::int64_t held = 0;       ///< Bytes of the resource that the body holds.
    std::int64_t position = -1;  ///< Write position of the body stream after them.
    std::int64_t tail = 0;    ///< Bytes that an earlier, longer body may have left in the stream.
    std::int64_t total = -1;  ///< Size of the resource, or -1.
    std::int64_t last = -1;   ///< Last byte that the caller wants, or -1 for the end.
    Validator validator;
    std::string callersRange;  ///< The Range header that the caller set, or empty.

    /// Whether the body stream began past position 0; such a stream is rewound, never replaced.
    bool beganInside() const noexcept { return position > held; }
    /// Bytes that stay in the stream when the body starts over.
    std::int64_t tailAfterReset() const noexcept;

    void leaveIn(httpclient_core::HttpRequest& request) const;
    /// Takes the mark off the request.
    static std::optional<ResumeMark> takeFrom(httpclient_core::HttpRequest& request);
    /// Takes the mark off a request that is not sent again.
    static void dropFrom(httpclient_core::HttpRequest& request);
};

/// A byte range as Range ("bytes=1-2") and Content-Range ("bytes 1-2/3") name it.
struct ByteRange {
    std::int64_t first = 0;
    std::int64_t last = -1;   ///< -1: to the end.
    std::int64_t total = -1;  ///< -1: unknown.

    /// Nothing for another form: a suffix, several ranges, another unit.
    static std::optional<ByteRange> fromRange(std::string_view text);
    /// Nothing for "bytes */N" and for text that makes no sense.
    static std::optional<ByteRange> fromContentRange(std::string_view text);
};

}  // namespace foundation::httpclient_curl
