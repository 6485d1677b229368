#pragma once
#include "resume/AnswerTerms.h"
#include "resume/Overlap.h"
#include "resume/ResumeMark.h"

#include <foundation/httpclient_core/HttpResponse.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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
        Compare,    ///< As Accept, once the beginning of its body was found equal to what is held.
        Replace,    ///< Deliver it; the response body starts over first.
        HoldAside,  ///< Deliver code and headers only; its body must not touch the response body.
        StartOver,  ///< Not what was asked for: send again, without resuming.
    };

    /// How many body bytes became what; see AttemptReport.
    struct Account {
        std::int64_t kept = 0;
        std::int64_t discarded = 0;
    };

    /// At the entry of an attempt. Takes the mark of the one before off the request and resets the
    /// response body where it cannot be continued. Answers are held aside only if `mayHoldAside`.
    ResumeGuard(httpclient_core::HttpRequest& request,
                httpclient_core::HttpResponse& response,
                bool resumeOnRetry,
                bool mayHoldAside);

    /// The Range and If-Range values to send; empty for none.
    const std::string& range() const noexcept { return range_; }
    const std::string& ifRange() const noexcept { return ifRange_; }

    /// Throws HttpRequestFailedException for an answer that can neither be delivered nor be asked for
    /// again.
    Verdict judge(const AnswerTerms& terms) const;
    /// Resets the body for a second request within the attempt, which asks for all of it.
    void startOver();
    /// After `Verdict::Compare`, with the next bytes of the body; `data` is left with those to append.
    /// False once they differ: the answer does not continue the body.
    bool compare(std::string_view& data);
    bool isComparing() const noexcept { return overlap_.has_value() && !overlap_->isComplete(); }
    /// The answer is delivered from here on. Resets the body unless the answer continues it or is held
    /// aside, so that a stream factory sees the head of the answer which its stream is for.
    void commit(AnswerTerms terms, Verdict verdict);
    /// The body of an answer that was held aside goes into the response body after all, with the `size`
    /// bytes of it that were dropped.
    void replaceByPage(std::size_t size);
    /// Counts bytes written to the response body.
    void addReceived(std::size_t count);
    /// Counts bytes that came and did not go into it.
    void addDropped(std::size_t count) noexcept;
    /// Nothing is built on the bytes of this attempt.
    void distrust() noexcept { trusted_ = false; }
    /// After a transfer that libcurl calls complete. Throws HttpRequestFailedException when the body is
    /// not what its headers promise.
    void requireWhole();
    /// At the end of an attempt.
    void leaveMark(bool failed);

    /// Bytes of the resource that the response body holds.
    std::int64_t held() const noexcept { return mark_.held; }
    /// Bytes that stay in the stream when the body starts over.
    std::int64_t tail() const noexcept { return mark_.tailAfterReset(); }
    /// The answer continued a body of earlier attempts.
    bool isResumed() const noexcept { return committed_ && resuming_ && !isAside_; }
    /// Bytes at the beginning of the answer that were held before.
    std::int64_t overlapSize() const noexcept {
        return overlap_.has_value() && resuming_ ? Overlap::length : 0;
    }
    /// After leaveMark(): the next attempt can continue the body if the core keeps it.
    bool isResumable() const noexcept { return mark_.resumable; }
    const Account& account() const noexcept { return account_; }
    const std::string& validator() const noexcept { return mark_.validator.text(); }

private:
    void resetBody();
    bool canResume(const std::string& range);
    bool continuesBody(const AnswerTerms& terms) const;
    bool isBeyondPromise() const;

    httpclient_core::HttpRequest& request_;
    httpclient_core::HttpResponse& response_;
    bool resumeOnRetry_;
    bool mayHoldAside_;
    bool hasMark_ = false;
    bool resuming_ = false;
    bool committed_ = false;
    bool resumable_ = false;
    bool isAside_ = false;
    bool trusted_ = true;
    std::int64_t received_ = 0;   ///< Bytes of this answer.
    std::int64_t expected_ = -1;  ///< Bytes that the answer's Content-Range promises, or -1.
    ResumeMark mark_;
    std::optional<Overlap> overlap_;
    std::string range_;
    std::string ifRange_;
    Account account_;
};

}  // namespace foundation::httpclient_curl
