#pragma once
#include "engine/RequestHistory.h"
#include "response/HeaderBlock.h"
#include "resume/ResumeGuard.h"

#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/Progress.h>

#include <cstdint>
#include <string_view>

namespace foundation::httpclient_curl {

/// Puts the answer of one attempt into the response: into its body, or aside while the body is kept for
/// the next attempt.
class ResponseDelivery {
public:
    /// All of them must outlive the delivery. A negative limit is none.
    ResponseDelivery(httpclient_core::HttpResponse& response,
                     ResumeGuard& guard,
                     RequestHistory& history,
                     std::int64_t maxBodyBytes);

    /// Delivers the code and the headers, which are taken out of the block. Throws
    /// HttpRequestFailedException where a body of the declared length would be too large; `declared` is 0
    /// where none is.
    void begin(HeaderBlock& block,
               AnswerTerms terms,
               ResumeGuard::Verdict verdict,
               std::int64_t declared);
    bool isBegun() const noexcept { return begun_; }
    /// Takes the next bytes of the body. Throws HttpRequestFailedException where they are too many or the
    /// stream refuses them.
    void add(std::string_view data);
    /// After the last byte. Throws HttpRequestFailedException where the stream refuses its end.
    void finish();
    /// At the end of an attempt that may be followed by another: what the body holds stays, if it can be
    /// continued.
    void keepForRetry(const httpclient_core::HttpRequest& request, bool resumeOnRetry);

    /// Fills in the download; `length` is that of the answer's body, or negative.
    void describe(httpclient_core::Progress& progress, std::int64_t length) const;

private:
    void append(std::string_view data);
    void spillPage();
    void requireRoomFor(std::int64_t bytes) const;

    httpclient_core::HttpResponse& response_;
    ResumeGuard& guard_;
    RequestHistory& history_;
    std::int64_t maxBodyBytes_;
    bool begun_ = false;
    bool bodyBegun_ = false;
    std::int64_t appended_ = 0;
};

}  // namespace foundation::httpclient_curl
