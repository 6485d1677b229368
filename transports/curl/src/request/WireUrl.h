#pragma once
#include "request/Origin.h"

#include <foundation/httpclient_core/Fwd.h>

#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// The absolute URL of one hop, as it goes to libcurl: http or https, no fragment, no user information,
/// unsafe bytes percent-encoded.
class WireUrl {
public:
    /// The URL of a request: its URL, then its query parameters joined by "?" or "&".
    /// Throws HttpRequestFailedException for a URL that cannot be sent, and for one whose host libcurl reads
    /// differently than the core does: what was checked before must be what is connected to.
    explicit WireUrl(const httpclient_core::HttpRequest& request);

    /// The URL that a Location field found in an answer from here names.
    /// Throws HttpRequestFailedException for one that is malformed or neither http nor https.
    WireUrl resolve(const std::string& location) const;

    const std::string& text() const noexcept { return text_; }
    const Origin& origin() const noexcept { return origin_; }
    /// The URL without its query, which may hold secrets, for messages.
    std::string display() const;
    /// The URL as a value of the core, also where its text form cannot be parsed back.
    httpclient_core::URL toUrl() const;

private:
    WireUrl() = default;

    std::string text_;
    Origin origin_;

    void split(const char* base, const std::string& text, bool keepPath);
};

/// Bytes that must not stand in a URL percent-encoded; "%" stays.
std::string encodeUnsafe(std::string_view text);

}  // namespace foundation::httpclient_curl
