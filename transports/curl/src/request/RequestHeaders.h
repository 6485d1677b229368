#pragma once
#include "connection/CurlTypes.h"

#include <foundation/httpclient_core/HttpHeaders.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace foundation::httpclient_curl {

/// The header fields of one request as they may travel. Built once for each attempt; what only one hop
/// needs or must not have is said when the lines are made.
class RequestHeaders {
public:
    /// Throws HttpRequestFailedException for a name that is no token, a value with CR, LF or NUL, a
    /// Content-Length that is no number or contradicts another one, and a Transfer-Encoding that names
    /// chunks before another coding.
    explicit RequestHeaders(const core::HttpHeaders& headers);

    /// The declared length of the request body, where there is one.
    std::optional<std::int64_t> contentLength() const noexcept { return contentLength_; }
    bool hasExpect() const noexcept { return headers_.hasHeader("Expect"); }

    /// Whether the body has transfer codings of the caller's. They exist in HTTP/1.1 only.
    bool hasTransferCodings() const noexcept { return !codings_.empty(); }

    /// From here on without transfer codings: there is no body that is sent in chunks.
    void dropTransferCodings() noexcept { codings_.clear(); }
    /// From here on without the fields that only the first origin may see: the usual ones, and those of
    /// these names in any letter case.
    void dropSensitive(const std::vector<std::string>& names);
    /// From here on without the fields that describe a body.
    void dropBodyFields();
    /// The lines for libcurl, with these Range and If-Range values where they are not empty.
    HeaderLines lines(const std::string& range, const std::string& ifRange) const;

private:
    void addCodings(std::string_view value);

    core::HttpHeaders headers_;
    std::string codings_;  ///< Of the body before it goes into chunks, joined by ", ".
    bool isChunked_ = false;
    std::optional<std::int64_t> contentLength_;
};

/// Throws HttpRequestFailedException for a text with CR, LF or NUL; `what` names it in the message.
void requireOneLine(const std::string& what, const std::string& text);
/// Throws HttpRequestFailedException unless the field can travel as one line.
void requireSafeField(const std::string& name, const std::string& value);

}  // namespace foundation::httpclient_curl
