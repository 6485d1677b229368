#include "ResumeGuard.h"

#include "BodyStream.h"
#include "HeaderText.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <charconv>
#include <iostream>

namespace foundation::httpclient_curl {
namespace {

using httpclient_core::HttpRequestFailedException;
using httpclient_core::HttpResponseCode;

// Only a strong validator tells that two answers are the same to the byte.
std::string strongEtag(const HeaderBlock& block) {
    std::string etag = block.header("ETag");
    return etag.size() >= 2 && etag.front() == '"' && etag.back() == '"' ? etag : std::string();
}

bool isPlain(const HeaderBlock& block) {
    constexpr std::string_view severalRanges = "multipart/byteranges";
    const std::string coding = block.header("Content-Encoding");
    return (coding.empty() || sameName(coding, "identity")) &&
           !sameName(block.header("Content-Type").substr(0, severalRanges.size()), severalRanges);
}

std::int64_t contentLength(const HeaderBlock& block) {
    const std::string text = block.header("Content-Length");
    std::int64_t length = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    return error == std::errc() && end == text.data() + text.size() ? length : -1;
}

}  // namespace

ResumeGuard::ResumeGuard(httpclient_core::HttpRequest& request,
                         httpclient_core::HttpResponse& response,
                         bool resumeOnRetry)
    : request_(request), response_(response), resumeOnRetry_(resumeOnRetry) {
    const std::optional<ResumeMark> mark = ResumeMark::takeFrom(request);
    const std::string range = request.hasHeader("Range") ? request.getHeaderValue("Range") : "";
    if (!mark.has_value()) {
        mark_.callersRange = range;
        range_ = range;
        return;
    }
    mark_ = *mark;
    hasMark_ = true;
    resuming_ = resumeOnRetry && mark_.resumable &&
                range == "bytes=" + std::to_string(mark_.position) + "-" &&
                writePosition(response.getResponseBody()) == mark_.position;
    if (!resuming_) {
        startOver();
        return;
    }
    range_ = "bytes=" + std::to_string(mark_.first + mark_.held) + "-";
    if (mark_.last >= 0) {
        range_ += std::to_string(mark_.last);
    }
    ifRange_ = mark_.etag;
}

void ResumeGuard::resetBody() {
    response_.resetResponseBody();
    mark_.tail = mark_.tailAfterReset();
    mark_.held = 0;
    mark_.resumable = false;
}

void ResumeGuard::startOver() {
    resetBody();
    resuming_ = false;
    range_ = mark_.callersRange;
    ifRange_.clear();
}

bool ResumeGuard::continuesBody(const HeaderBlock& block) const {
    const std::optional<ByteRange> sent =
        ByteRange::fromContentRange(block.header("Content-Range"));
    return sent.has_value() && isPlain(block) && block.header("ETag") == mark_.etag &&
           sent->first == mark_.first + mark_.held &&
           (mark_.last < 0 || sent->last <= mark_.last) &&
           (sent->total < 0 || mark_.total < 0 || sent->total == mark_.total);
}

ResumeGuard::Verdict ResumeGuard::judge(const HeaderBlock& block) {
    const bool isPartial = block.code() == HttpResponseCode::PartialContent;
    if (resuming_) {
        if (isPartial) {
            return continuesBody(block) ? Verdict::Accept : Verdict::StartOver;
        }
        return Verdict::Replace;
    }
    if (!isPartial) {
        return range_.empty() ? Verdict::Accept : Verdict::Replace;
    }
    const std::optional<ByteRange> sent =
        ByteRange::fromContentRange(block.header("Content-Range"));
    const bool isWhole = sent.has_value() && sent->first == 0 && sent->last == sent->total - 1;
    if (range_.empty() && !isWhole) {
        throw HttpRequestFailedException(
            "The server sent part of the resource although no range was asked for");
    }
    const std::optional<ByteRange> asked = ByteRange::fromRange(range_);
    if (asked.has_value() && sent.has_value() &&
        (sent->first != asked->first || (asked->last >= 0 && sent->last > asked->last))) {
        throw HttpRequestFailedException("The server sent another range than the one asked for");
    }
    return Verdict::Accept;
}

void ResumeGuard::commit(const HeaderBlock& block, Verdict verdict) {
    committed_ = true;
    if (verdict == Verdict::Replace) {
        resetBody();
    } else if (!resuming_) {
        // Nothing is held; but the stream may have been made for an earlier answer, and a factory that
        // looks at the code wants to see this one. No effect on a stream that stands at its start.
        response_.resetResponseBody();
    }
    const bool isPartial = block.code() == HttpResponseCode::PartialContent;
    const std::optional<ByteRange> sent =
        isPartial ? ByteRange::fromContentRange(block.header("Content-Range")) : std::nullopt;
    if (sent.has_value()) {
        expected_ = sent->last - sent->first + 1;
        mark_.total = sent->total >= 0 ? sent->total : mark_.total;
    }
    if (!resuming_ || verdict == Verdict::Replace) {
        // A range that cannot be had would fail for ever. The core gives it up as well.
        if (!resuming_ && block.code() == HttpResponseCode::RangeNotSatisfiable) {
            mark_.callersRange.clear();
        }
        resuming_ = false;
        mark_.first = sent.has_value() ? sent->first : 0;
        mark_.last = sent.has_value() ? sent->last : -1;
        mark_.total = sent.has_value() ? sent->total : contentLength(block);
        mark_.held = 0;
        mark_.etag = strongEtag(block);
    }
    resumable_ = request_.getHttpMethod() == httpclient_core::HttpMethod::GET && isPlain(block) &&
                 !mark_.etag.empty() && (sent.has_value() || block.code() == HttpResponseCode::OK);
}

void ResumeGuard::addReceived(std::size_t count) {
    received_ += static_cast<std::int64_t>(count);
    mark_.held += static_cast<std::int64_t>(count);
}

void ResumeGuard::requireWhole() {
    if (request_.getHttpMethod() == httpclient_core::HttpMethod::HEAD) {
        return;
    }
    if (expected_ >= 0 && received_ != expected_) {
        // Which of the two is wrong cannot be known, so nothing is built on these bytes.
        resumable_ = false;
        throw HttpRequestFailedException("The body does not fit its Content-Range");
    }
    const std::int64_t end = mark_.last >= 0 ? mark_.last + 1 : mark_.total;
    if (resuming_ && end >= 0 && mark_.first + mark_.held < end) {
        throw HttpRequestFailedException("The server sent only part of the range asked for");
    }
    if (mark_.held < mark_.tail) {
        throw HttpRequestFailedException(
            "The response body stream keeps bytes of an earlier, longer body");
    }
}

void ResumeGuard::leaveMark(bool failed) {
    if (committed_) {
        mark_.position = unknownPosition;
        if (received_ > 0 || resuming_) {
            mark_.position = writePosition(response_.getResponseBody());
        }
        mark_.resumable =
            resumable_ && failed && resumeOnRetry_ && mark_.position != unknownPosition;
    }
    if (committed_ || hasMark_) {
        mark_.leaveIn(request_);
    }
}

}  // namespace foundation::httpclient_curl
