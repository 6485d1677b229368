#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// What the caller gets should this have been the last attempt, while the response body is kept for the
/// next one. The core keeps a body only where the response says "Accept-Ranges: bytes", so the response
/// says that in the meantime, and an error page waits here.
class HeldAnswer {
public:
    /// The largest page that is held aside.
    static constexpr std::size_t largestPage = 262144;

    /// `headers` are those that the caller gets, with the body that the response has.
    HeldAnswer(httpclient_core::HttpResponseCode code, httpclient_core::HttpHeaders headers);

    /// From here on an answer with a body of its own, in place of that of the response, which leaves `tail`
    /// bytes in its stream when it starts over.
    void beginPage(std::int64_t tail);
    bool hasPage() const noexcept { return hasPage_; }
    /// Adds to the page. False where it would grow too large; it is as before then.
    bool add(std::string_view data);
    const std::string& page() const noexcept { return page_; }
    const httpclient_core::HttpHeaders& headers() const noexcept { return headers_; }

    /// The headers that make the core keep the body.
    static httpclient_core::HttpHeaders keeping(httpclient_core::HttpHeaders headers);

    /// Makes the response what the caller gets; nothing if it is not that of the attempt any more. Throws
    /// HttpRequestFailedException where the body stream refuses the page or cannot get rid of what it
    /// holds.
    void deliverTo(httpclient_core::HttpResponse& response) const;

private:
    httpclient_core::HttpResponseCode code_;
    httpclient_core::HttpHeaders headers_;
    bool hasPage_ = false;
    std::int64_t tail_ = 0;
    std::string page_;
};

}  // namespace foundation::httpclient_curl
