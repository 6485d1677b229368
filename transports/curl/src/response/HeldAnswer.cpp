#include "response/HeldAnswer.h"

#include "request/BodyStream.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <iostream>
#include <utility>

namespace foundation::httpclient_curl {

using httpclient_core::HttpHeaders;
using httpclient_core::HttpRequestFailedException;

HeldAnswer::HeldAnswer(httpclient_core::HttpResponseCode code, HttpHeaders headers)
    : code_(code), headers_(std::move(headers)) {}

void HeldAnswer::beginPage(std::int64_t tail) {
    hasPage_ = true;
    tail_ = tail;
}

bool HeldAnswer::add(std::string_view data) {
    if (data.size() > largestPage - page_.size()) {
        return false;
    }
    page_ += data;
    return true;
}

HttpHeaders HeldAnswer::keeping(HttpHeaders headers) {
    headers.erase("Accept-Ranges");
    headers.add("Accept-Ranges", "bytes");
    return headers;
}

void HeldAnswer::deliverTo(httpclient_core::HttpResponse& response) const {
    if (response.getResponseCode() != code_) {
        return;
    }
    response.setHeaders(headers_);
    if (!hasPage_) {
        return;
    }
    response.resetResponseBody();
    std::iostream& body = response.getResponseBody();
    if (!writeTo(body, page_) || !body.flush()) {
        throw HttpRequestFailedException("The response body stream refused data");
    }
    if (static_cast<std::int64_t>(page_.size()) < tail_) {
        throw HttpRequestFailedException(
            "The response body stream keeps bytes of an earlier, longer body");
    }
}

}  // namespace foundation::httpclient_curl
