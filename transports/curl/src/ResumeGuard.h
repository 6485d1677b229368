#pragma once
#include "HeaderBlock.h"
#include "ResumeMark.h"

#include <foundation/httpclient_core/HttpResponse.h>

#include <string>

namespace foundation::httpclient_curl {

/// Keeps the response body whole over the attempts of a request. The core asks for the rest of a body
/// by a Range header whose offset is a stream position; that is only a signal here. The range on the
/// wire is computed from what the body holds of which version of the resource, and an answer that does
/// not continue exactly that never reaches the body.
class ResumeGuard {
public:
    /// What to do with an answer whose header block is complete.
    enum class Verdict {
        Accept,     ///< Deliver it; its body follows what the response body holds.
        Replace,    ///< Deliver it; the response body starts over first.
        StartOver,  ///< Not what was asked for: send again, without resuming.
    };

    /// At the entry of an attempt. Takes the mark of the one before off the request and resets the
    /// response body where it cannot be continued.
    ResumeGuard(httpclient_core::HttpRequest& request,
                httpclient_core::HttpResponse& response,
                bool resumeOnRetry);

    /// The Range and If-Range values to send; empty for none.
    const std::string& range() const noexcept { return range_; }
    const std::string& ifRange() const noexcept { return ifRange_; }

    /// Throws HttpRequestFailedException for an answer that can neither be delivered nor be asked for
    /// again.
    Verdict judge(const HeaderBlock& block);
    /// Resets the body for a second request within the attempt, which asks for all of it.
    void startOver();
    /// The answer is delivered from here on. Resets the body for `Verdict::Replace`.
    void commit(const HeaderBlock& block, Verdict verdict);
    /// Counts bytes written to the response body.
    void addReceived(std::size_t count);
    /// Bytes of the resource that the response body holds.
    std::int64_t held() const noexcept { return mark_.held; }
    /// After a transfer that libcurl calls complete. Throws HttpRequestFailedException when the body is
    /// not what its headers promise.
    void requireWhole();
    /// At the end of an attempt.
    void leaveMark(bool failed);

private:
    void resetBody();
    bool continuesBody(const HeaderBlock& block) const;

    httpclient_core::HttpRequest& request_;
    httpclient_core::HttpResponse& response_;
    bool resumeOnRetry_;
    bool hasMark_ = false;
    bool resuming_ = false;
    bool committed_ = false;
    bool resumable_ = false;
    std::int64_t received_ = 0;   ///< Bytes of this answer.
    std::int64_t expected_ = -1;  ///< Bytes that the answer's Content-Range promises, or -1.
    ResumeMark mark_;
    std::string range_;
    std::string ifRange_;
};

}  // namespace foundation::httpclient_curl
