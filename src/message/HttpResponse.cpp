#include <foundation/httpclient_core/HttpResponse.h>

#include "support/Streams.h"

#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpMessage.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/ResponseStreamFactory.h>
#include <foundation/httpclient_core/URL.h>

#include <ios>
#include <istream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core {

HttpResponse::HttpResponse()
    : HttpMessage(HttpHeaders()),
      transactionReport_(0, URL("")),
      responseStreamFactory_(defaultResponseStreamFactory()) {}

HttpResponse::HttpResponse(const HttpRequest& request)
    : HttpMessage(HttpHeaders()),
      transactionReport_(0, URL("")),
      responseStreamFactory_(request.getResponseStreamFactory()),
      preRespCodeAndHeadersCallback_(request.getPreRespCodeAndHeadersCallback()) {}

HttpResponse::HttpResponse(HttpResponse&& other)
    : HttpMessage(static_cast<HttpMessage&&>(other)),
      code_(other.code_),
      reason_(std::exchange(other.reason_, std::string())),
      transactionReport_(std::move(other.transactionReport_)),
      responseStreamFactory_(std::move(other.responseStreamFactory_)),
      preRespCodeAndHeadersCallback_(std::move(other.preRespCodeAndHeadersCallback_)),
      body_(std::move(other.body_)),
      bodyStart_(other.bodyStart_) {}

HttpResponse& HttpResponse::operator=(HttpResponse&& other) {
    if (this != &other) {
        HttpMessage::operator=(static_cast<HttpMessage&&>(other));
        code_ = other.code_;
        reason_ = std::exchange(other.reason_, std::string());
        transactionReport_ = std::move(other.transactionReport_);
        responseStreamFactory_ = std::move(other.responseStreamFactory_);
        preRespCodeAndHeadersCallback_ = std::move(other.preRespCodeAndHeadersCallback_);
        body_ = std::move(other.body_);
        bodyStart_ = other.bodyStart_;
    }
    return *this;
}

HttpResponse::~HttpResponse() = default;

void HttpResponse::announceChange() const {
    if (preRespCodeAndHeadersCallback_) {
        preRespCodeAndHeadersCallback_();
    }
}

void HttpResponse::setHeaders(HttpHeaders headers) {
    announceChange();
    HttpMessage::setHeaders(std::move(headers));
}

void HttpResponse::setHeaderValue(const std::string& name, std::string value) {
    announceChange();
    HttpMessage::setHeaderValue(name, std::move(value));
}

void HttpResponse::addHeaderValue(const std::string& name, std::string value) {
    announceChange();
    HttpMessage::addHeaderValue(name, std::move(value));
}

void HttpResponse::addHeader(const std::string& line) {
    announceChange();
    HttpMessage::addHeader(line);
}

void HttpResponse::removeHeader(const std::string& name) {
    announceChange();
    HttpMessage::removeHeader(name);
}

HttpResponseCode HttpResponse::getResponseCode() const noexcept {
    return code_;
}

std::string HttpResponse::getResponseCodeReason() const {
    return reason_;
}

void HttpResponse::setResponseCode(HttpResponseCode code) {
    announceChange();
    // Deliberate: the reason stays, so that a caller who knows a better one sets both together.
    code_ = code;
}

void HttpResponse::setResponseCodeAndReason(HttpResponseCode code, std::string reason) {
    announceChange();
    code_ = code;
    reason_ = std::move(reason);
}

std::unique_ptr<std::iostream> HttpResponse::makeBody() const {
    std::unique_ptr<std::iostream> body = responseStreamFactory_(code_, reason_, headers_);
    if (body == nullptr) {
        throw std::logic_error("Response stream factory returned no stream.");
    }
    return body;
}

std::iostream& HttpResponse::getResponseBody() const {
    const std::lock_guard lock(bodyMutex_);
    if (body_ == nullptr) {
        std::unique_ptr<std::iostream> body = makeBody();
        const std::streamoff start = support::writePosition(*body);
        bodyStart_ = start != support::unknownPosition ? start : 0;
        body_ = std::move(body);
    }
    return *body_;
}

std::string HttpResponse::getResponseBodyString() const {
    return support::readRest(getResponseBody());
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the text by value
void HttpResponse::setResponseBody(std::string data) {
    const auto length = headers_.find(HttpHeaders::CONTENT_LENGTH);
    const bool hadLength = length != headers_.end();
    std::string former = hadLength ? length->second : std::string();
    setHeaderValue(HttpHeaders::CONTENT_LENGTH, std::to_string(data.size()));
    try {
        support::write(getResponseBody(), data);
    } catch (...) {
        // Without an announcement: to observers the change did not happen.
        if (hadLength) {
            HttpMessage::setHeaderValue(HttpHeaders::CONTENT_LENGTH, std::move(former));
        } else {
            HttpMessage::removeHeader(HttpHeaders::CONTENT_LENGTH);
        }
        throw;
    }
}

void HttpResponse::resetResponseBody() {
    const std::lock_guard lock(bodyMutex_);
    if (body_ == nullptr) {
        return;
    }
    // An unknown position counts as written: it may be.
    const std::streamoff position = support::writePosition(*body_);
    if (position != support::unknownPosition && position <= bodyStart_) {
        return;
    }
    // Deliberate: a stream that began empty is replaced outright, while one that the factory handed out
    // already positioned goes back to where the response began and keeps what stood before it.
    if (bodyStart_ == 0) {
        body_->flush();
        body_ = makeBody();
    } else {
        support::seekWritePosition(*body_, bodyStart_);
    }
}

TransactionReport HttpResponse::getTransactionReport() const {
    return transactionReport_;
}

void HttpResponse::setTransactionReport(TransactionReport report) {
    transactionReport_ = std::move(report);
}

}  // namespace foundation::httpclient_core
