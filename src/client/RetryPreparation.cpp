#include "client/RetryPreparation.h"

#include "diagnostics/Log.h"
#include "support/SaturatingArithmetic.h"
#include "support/Streams.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/Progress.h>
#include <foundation/httpclient_core/URL.h>

#include <ios>
#include <istream>
#include <optional>
#include <string>
#include <utility>

namespace foundation::httpclient_core {
namespace {

const char* const rangeHeader = "Range";
const char* const acceptRangesHeader = "Accept-Ranges";

void markAsNotMade(HttpResponse& response) {
    response.setResponseCodeAndReason(HttpResponseCode::RequestNotMade, "Request Not Made");
    response.setHeaders(HttpHeaders());
}

// Rebuilds the request for the URL that asked for an upgrade at the end of a redirect. False when that
// is not what happened.
bool rebuildAfterUpgrade(HttpRequest& request, HttpResponse& response, const URL& initialURL) {
    const URL effectiveURL = response.getTransactionReport().effectiveURL();
    if (effectiveURL.toAsciiString().empty() || effectiveURL == initialURL) {
        return false;
    }
    HCC_LOG(SEVERITY_PROGRESS, "Got 426 Upgrade Required after redirect to "
                                   << effectiveURL << ". Retrying with a fresh request.");
    // Deliberate: body, query parameters and callbacks stay behind; they were meant for the first URL.
    HttpRequest fresh(request.getHttpMethod(), effectiveURL, request.getHeaders());
    if (request.hasClientConfiguration()) {
        fresh.setClientConfiguration(request.getClientConfiguration());
    }
    request = std::move(fresh);
    markAsNotMade(response);
    response.resetResponseBody();
    return true;
}

// Where the next attempt can continue the response body; nothing where it must start over.
std::optional<std::streamoff> resumeOffset(const HttpRequest& request,
                                           const HttpResponse& response,
                                           bool resumeOnRetry) {
    if (response.getResponseCode() == HttpResponseCode::RangeNotSatisfiable) {
        HCC_LOG(SEVERITY_PROGRESS,
                "Server responded with Range not satisfiable for "
                    << request.getURL() << " for request with Range: "
                    << (request.hasHeader(rangeHeader) ? request.getHeaderValue(rangeHeader)
                                                       : "NOT SET"));
        return std::nullopt;
    }
    if (!resumeOnRetry || !response.hasHeader(acceptRangesHeader) ||
        response.getHeaderValue(acceptRangesHeader) != "bytes") {
        return std::nullopt;
    }
    const std::streamoff position = support::writePosition(response.getResponseBody());
    return position != support::unknownPosition ? std::optional(position) : std::nullopt;
}

// Makes the progress callback count the bytes that are there already.
void shiftProgress(HttpRequest& request, std::streamoff offset) {
    if (!request.hasProgressCallback()) {
        return;
    }
    request.setProgressCallback(
        [offset, report = request.getProgressCallback()](const Progress& progress) {
            Progress shifted = progress;
            shifted.downloadTotal = support::addSaturating(progress.downloadTotal, offset);
            shifted.downloaded = support::addSaturating(progress.downloaded, offset);
            return report(shifted);
        });
}

void requestRest(HttpRequest& request, HttpResponse& response, std::streamoff offset) {
    const std::string range = "bytes=" + std::to_string(offset) + "-";
    request.setHeaderValue(rangeHeader, range);
    HCC_LOG(SEVERITY_PROGRESS,
            "Requesting a byte range starting from where last request left off up to the end: "
                << range);
    shiftProgress(request, offset);
    response.getResponseBody().flush();
}

}  // namespace

void prepareForRetry(HttpRequest& request,
                     HttpResponse& response,
                     bool resumeOnRetry,
                     const URL& initialURL,
                     bool& freshRequestMade) {
    const HttpResponseCode code = response.getResponseCode();
    if (code == HttpResponseCode::UpgradeRequired && !freshRequestMade &&
        rebuildAfterUpgrade(request, response, initialURL)) {
        freshRequestMade = true;
        return;
    }
    if (request.hasRequestBody()) {
        support::rewind(request.getRequestBody());
    }
    if (code == HttpResponseCode::RequestNotMade) {
        HCC_LOG(SEVERITY_PROGRESS, "Request not made.");
        return;
    }
    const std::optional<std::streamoff> offset = resumeOffset(request, response, resumeOnRetry);
    if (code == HttpResponseCode::RangeNotSatisfiable) {
        request.removeHeader(rangeHeader);
    }
    if (offset.has_value()) {
        requestRest(request, response, *offset);
    } else {
        response.resetResponseBody();
    }
    markAsNotMade(response);
}

}  // namespace foundation::httpclient_core
