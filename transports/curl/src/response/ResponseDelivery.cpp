#include "response/ResponseDelivery.h"

#include "request/BodyStream.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <utility>

namespace foundation::httpclient_curl {

using httpclient_core::HttpHeaders;
using httpclient_core::HttpRequestFailedException;
using httpclient_core::HttpResponseCode;

ResponseDelivery::ResponseDelivery(httpclient_core::HttpResponse& response,
                                   ResumeGuard& guard,
                                   RequestHistory& history,
                                   std::int64_t maxBodyBytes)
    : response_(response), guard_(guard), history_(history), maxBodyBytes_(maxBodyBytes) {}

void ResponseDelivery::begin(HeaderBlock& block,
                             AnswerTerms terms,
                             ResumeGuard::Verdict verdict,
                             std::int64_t declared) {
    begun_ = true;
    HttpHeaders headers = block.takeHeaders();
    const bool isAside = verdict == ResumeGuard::Verdict::HoldAside;
    response_.setResponseCodeAndReason(block.code(), block.reason());
    if (isAside) {
        history_.held.emplace(block.code(), headers);
        history_.held->beginPage(guard_.tail());
        headers = HeldAnswer::keeping(std::move(headers));
    }
    response_.setHeaders(std::move(headers));
    guard_.commit(std::move(terms), verdict);
    if (!isAside) {
        const bool isAccepted = verdict == ResumeGuard::Verdict::Accept;
        requireRoomFor(guard_.held() + declared - (isAccepted ? guard_.overlapSize() : 0));
    }
}

void ResponseDelivery::add(std::string_view data) {
    if (history_.held.has_value()) {
        if (history_.held->add(data)) {
            guard_.addDropped(data.size());
            return;
        }
        spillPage();
    }
    if (!data.empty()) {
        append(data);
    }
}

void ResponseDelivery::append(std::string_view data) {
    requireRoomFor(guard_.held() + static_cast<std::int64_t>(data.size()));
    bodyBegun_ = true;
    if (!writeTo(response_.getResponseBody(), data)) {
        throw HttpRequestFailedException("The response body stream refused data");
    }
    appended_ += static_cast<std::int64_t>(data.size());
    guard_.addReceived(data.size());
}

// The page is too large to wait in memory; what was kept for its sake is given up.
void ResponseDelivery::spillPage() {
    const std::optional<HeldAnswer> answer = std::exchange(history_.held, std::nullopt);
    if (!answer.has_value()) {
        return;
    }
    response_.setHeaders(answer->headers());
    guard_.replaceByPage(answer->page().size());
    append(answer->page());
}

void ResponseDelivery::requireRoomFor(std::int64_t bytes) const {
    if (maxBodyBytes_ >= 0 && bytes > maxBodyBytes_) {
        throw HttpRequestFailedException("The response body is larger than " +
                                         std::to_string(maxBodyBytes_) + " bytes");
    }
}

void ResponseDelivery::finish() {
    if (bodyBegun_ && !response_.getResponseBody().flush()) {
        throw HttpRequestFailedException("The response body stream refused data");
    }
}

void ResponseDelivery::keepForRetry(const httpclient_core::HttpRequest& request,
                                    bool resumeOnRetry) {
    const HttpResponseCode code = response_.getResponseCode();
    if (!history_.isAttended || code == HttpResponseCode::RequestNotMade) {
        // The core leaves the response of a request that was not made as it is.
        return;
    }
    const bool saysSo = response_.hasHeader("Accept-Ranges") &&
                        response_.getHeaderValue("Accept-Ranges") == "bytes";
    if (guard_.isResumable() && !saysSo) {
        HttpHeaders headers = response_.getHeaders();
        history_.held.emplace(code, headers);
        response_.setHeaders(HeldAnswer::keeping(std::move(headers)));
    }
    // Deliberate: the core adds the position of the body to every progress report of the next attempts,
    // again for each of them. What it adds is taken off beforehand, so that the caller sees the truth.
    const bool isShifted = resumeOnRetry && request.hasProgressCallback() &&
                           code != HttpResponseCode::RangeNotSatisfiable &&
                           (guard_.isResumable() || (saysSo && bodyBegun_));
    if (isShifted) {
        history_.progressShift +=
            std::max<std::int64_t>(writePosition(response_.getResponseBody()), 0);
    }
}

void ResponseDelivery::describe(httpclient_core::Progress& progress, std::int64_t length) const {
    progress.downloaded = guard_.held() - history_.progressShift;
    progress.downloadTotal = -history_.progressShift;
    if (begun_ && length > 0 && !history_.held.has_value()) {
        progress.downloadTotal += guard_.held() - appended_ - guard_.overlapSize() + length;
    }
}

}  // namespace foundation::httpclient_curl
