#include "resume/ResumeGuard.h"

#include "request/BodyStream.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <algorithm>
#include <iostream>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

using httpclient_core::HttpRequestFailedException;
using httpclient_core::HttpResponseCode;

bool isOneRangeOfBytes(const std::string& range) {
    return range.starts_with("bytes=") && range.find(',') == std::string::npos;
}

// The bytes that a Range field means in a resource of this size, -1 for an unknown one. Nothing for several
// ranges, and for the last bytes of a resource of unknown size.
std::optional<ByteRange> askedRange(const std::string& range, std::int64_t total) {
    constexpr std::string_view suffix = "bytes=-";
    std::optional<ByteRange> asked = ByteRange::fromRange(range);
    if (!asked.has_value() && range.starts_with(suffix) && total >= 0) {
        // The same text with a 0 in front names as many bytes from the beginning.
        asked = ByteRange::fromRange("bytes=0-" + range.substr(suffix.size()));
        if (asked.has_value()) {
            asked->first = std::max<std::int64_t>(0, total - asked->last);
            asked->last = -1;
        }
    }
    if (asked.has_value() && total >= 0) {
        asked->last = asked->last < 0 ? total - 1 : std::min(asked->last, total - 1);
    }
    return asked;
}

// The last byte to end with: of what was asked for, where the server sends less of it.
std::int64_t wantedLast(const std::string& range, const ByteRange& sent) {
    const std::optional<ByteRange> asked = askedRange(range, sent.total);
    return sent.total >= 0 && asked.has_value() ? std::max(asked->last, sent.last) : sent.last;
}

}  // namespace

ResumeGuard::ResumeGuard(httpclient_core::HttpRequest& request,
                         httpclient_core::HttpResponse& response,
                         bool resumeOnRetry,
                         bool mayHoldAside)
    : request_(request),
      response_(response),
      resumeOnRetry_(resumeOnRetry),
      mayHoldAside_(mayHoldAside) {
    const std::optional<ResumeMark> mark = ResumeMark::takeFrom(request);
    const std::string range = request.hasHeader("Range") ? request.getHeaderValue("Range") : "";
    if (!mark.has_value()) {
        mark_.callersRange = range;
        range_ = range;
        return;
    }
    mark_ = *mark;
    hasMark_ = true;
    account_.kept = mark_.held;
    resuming_ = canResume(range);
    if (!resuming_) {
        startOver();
        return;
    }
    range_ = "bytes=" + std::to_string(mark_.first + mark_.held - overlapSize()) + "-";
    if (mark_.last >= 0) {
        range_ += std::to_string(mark_.last);
    }
    ifRange_ = mark_.validator.ifRange();
}

bool ResumeGuard::canResume(const std::string& range) {
    if (!resumeOnRetry_ || !mark_.resumable ||
        range != "bytes=" + std::to_string(mark_.position) + "-" ||
        writePosition(response_.getResponseBody()) != mark_.position) {
        return false;
    }
    if (mark_.last >= 0 && mark_.first + mark_.held > mark_.last) {
        // Broken off behind the last byte wanted: no range names nothing.
        return false;
    }
    if (mark_.validator.strength == Validator::Strength::Sure) {
        return true;
    }
    // To fetch as much again as is held would gain nothing over starting over.
    if (mark_.held > Overlap::length) {
        overlap_ = Overlap::before(response_.getResponseBody(), mark_.position);
    }
    return overlap_.has_value();
}

void ResumeGuard::resetBody() {
    response_.resetResponseBody();
    account_.discarded += mark_.held;
    account_.kept = 0;
    mark_.tail = mark_.tailAfterReset();
    mark_.held = 0;
    mark_.resumable = false;
}

void ResumeGuard::startOver() {
    resetBody();
    resuming_ = false;
    overlap_.reset();
    received_ = 0;
    range_ = mark_.callersRange;
    ifRange_.clear();
}

bool ResumeGuard::continuesBody(const AnswerTerms& terms) const {
    const std::optional<ByteRange>& sent = terms.range;
    return sent.has_value() && terms.isPlain && mark_.validator.matches(terms.validator) &&
           sent->first == mark_.first + mark_.held - overlapSize() &&
           (mark_.last < 0 || sent->last <= mark_.last) &&
           (sent->total < 0 || mark_.total < 0 || sent->total == mark_.total) &&
           // Without any of these nothing would tell a part that ends early from the rest.
           (mark_.last >= 0 || sent->total >= 0 || mark_.total >= 0) &&
           (terms.length < 0 || terms.length == sent->last - sent->first + 1);
}

ResumeGuard::Verdict ResumeGuard::judge(const AnswerTerms& terms) const {
    if (resuming_) {
        if (terms.isPartial()) {
            const Verdict verdict = overlap_.has_value() ? Verdict::Compare : Verdict::Accept;
            return continuesBody(terms) ? verdict : Verdict::StartOver;
        }
        // The range was not the caller's, so the caller does not hear that it cannot be had.
        if (terms.code == HttpResponseCode::RangeNotSatisfiable) {
            return Verdict::StartOver;
        }
        return isSuccess(terms.code) || !mayHoldAside_ ? Verdict::Replace : Verdict::HoldAside;
    }
    if (!terms.isPartial()) {
        return range_.empty() ? Verdict::Accept : Verdict::Replace;
    }
    const std::optional<ByteRange>& sent = terms.range;
    const bool isWhole = sent.has_value() && sent->first == 0 && sent->last == sent->total - 1;
    if (range_.empty() && !isWhole) {
        throw HttpRequestFailedException(
            "The server sent part of the resource although no range was asked for");
    }
    if (isOneRangeOfBytes(range_) && (!sent.has_value() || terms.hasSeveralParts)) {
        throw HttpRequestFailedException("The server sent a part without saying which one");
    }
    const std::optional<ByteRange> asked = askedRange(range_, sent.has_value() ? sent->total : -1);
    if (asked.has_value() && sent.has_value() &&
        (sent->first != asked->first || (asked->last >= 0 && sent->last > asked->last))) {
        throw HttpRequestFailedException("The server sent another range than the one asked for");
    }
    return Verdict::Accept;
}

bool ResumeGuard::compare(std::string_view& data) {
    const std::size_t before = data.size();
    const bool isSame = overlap_.has_value() && overlap_->compare(data);
    const std::size_t compared = isSame ? before - data.size() : before;
    received_ += static_cast<std::int64_t>(compared);
    addDropped(compared);
    return isSame;
}

void ResumeGuard::commit(AnswerTerms terms, Verdict verdict) {
    committed_ = true;
    if (verdict == Verdict::HoldAside) {
        isAside_ = true;
        return;
    }
    if (verdict == Verdict::Replace) {
        resetBody();
    } else if (!resuming_ && hasMark_) {
        // Nothing is held; but the stream may have been made for an earlier answer, and a factory that
        // looks at the code wants to see this one. No effect on a stream that stands at its start. Without
        // an earlier attempt the body is the caller's, who may have put there what the answer continues.
        response_.resetResponseBody();
    }
    const std::optional<ByteRange>& sent = terms.range;
    if (sent.has_value()) {
        expected_ = sent->last - sent->first + 1;
        mark_.total = sent->total >= 0 ? sent->total : mark_.total;
    }
    if (!resuming_ || verdict == Verdict::Replace) {
        // A range that cannot be had would fail for ever. The core gives it up as well.
        if (!resuming_ && terms.code == HttpResponseCode::RangeNotSatisfiable) {
            mark_.callersRange.clear();
        }
        resuming_ = false;
        mark_.first = sent.has_value() ? sent->first : 0;
        mark_.last = sent.has_value() ? wantedLast(range_, *sent) : -1;
        mark_.total = sent.has_value() ? sent->total : terms.length;
        mark_.held = 0;
        mark_.validator = std::move(terms.validator);
    }
    // An answer to a range shows that there are ranges; the whole must say so.
    resumable_ = request_.getHttpMethod() == httpclient_core::HttpMethod::GET && terms.isPlain &&
                 // The whole in place of a caller's range would end as if it were that range.
                 (sent.has_value() || (terms.code == HttpResponseCode::OK &&
                                       mark_.callersRange.empty() && terms.acceptsRanges));
}

void ResumeGuard::replaceByPage(std::size_t size) {
    account_.discarded -= static_cast<std::int64_t>(size);
    isAside_ = false;
    resuming_ = false;
    resetBody();
    mark_.first = 0;
    mark_.last = -1;
    mark_.total = -1;
    mark_.validator = Validator();
    resumable_ = false;
}

void ResumeGuard::addDropped(std::size_t count) noexcept {
    account_.discarded += static_cast<std::int64_t>(count);
}

bool ResumeGuard::isBeyondPromise() const {
    return (expected_ >= 0 && received_ > expected_) ||
           (mark_.total >= 0 && mark_.first + mark_.held > mark_.total);
}

void ResumeGuard::addReceived(std::size_t count) {
    received_ += static_cast<std::int64_t>(count);
    mark_.held += static_cast<std::int64_t>(count);
}

void ResumeGuard::requireWhole() {
    if (request_.getHttpMethod() == httpclient_core::HttpMethod::HEAD || isAside_) {
        return;
    }
    if (expected_ >= 0 && received_ != expected_) {
        // Which of the two is wrong cannot be known, so nothing is built on these bytes.
        distrust();
        throw HttpRequestFailedException("The body does not fit its Content-Range");
    }
    const std::int64_t end = mark_.last >= 0 ? mark_.last + 1 : mark_.total;
    if ((resuming_ || expected_ >= 0) && end >= 0 && mark_.first + mark_.held < end) {
        throw HttpRequestFailedException("The server sent only part of the range asked for");
    }
    if (mark_.held < mark_.tail) {
        throw HttpRequestFailedException(
            "The response body stream keeps bytes of an earlier, longer body");
    }
}

void ResumeGuard::leaveMark(bool failed) {
    if (committed_ && !isAside_) {
        mark_.position = unknownPosition;
        if (received_ > 0 || resuming_) {
            mark_.position = writePosition(response_.getResponseBody());
        }
        mark_.resumable = resumable_ && failed && trusted_ && !isBeyondPromise() &&
                          resumeOnRetry_ && mark_.position != unknownPosition && mark_.held > 0;
    }
    if (committed_ || hasMark_) {
        mark_.leaveIn(request_);
    }
}

}  // namespace foundation::httpclient_curl
