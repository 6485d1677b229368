#include <foundation/httpclient_core/HttpRequest.h>

#include "diagnostics/Log.h"
#include "support/Streams.h"

#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/HttpMessage.h>
#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/MultipartBody.h>
#include <foundation/httpclient_core/Progress.h>
#include <foundation/httpclient_core/QueryParameters.h>
#include <foundation/httpclient_core/ResponseStreamFactory.h>
#include <foundation/httpclient_core/URL.h>

#include <istream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core {
namespace {

[[noreturn]] void throwAbsent(const URL& url, const char* what) {
    diagnostics::throwLogged<std::logic_error>(
        SEVERITY_ERROR, "Request for " + url.toAsciiString() + " does not have a " + what);
}

}  // namespace

HttpRequest::HttpRequest(HttpMethod method, URL url, HttpHeaders headers)
    : HttpMessage(std::move(headers)),
      method_(method),
      url_(std::move(url)),
      responseStreamFactory_(defaultResponseStreamFactory()) {}

HttpRequest::HttpRequest(HttpRequest&&) = default;
HttpRequest& HttpRequest::operator=(HttpRequest&&) = default;
HttpRequest::~HttpRequest() = default;

HttpMethod HttpRequest::getHttpMethod() const noexcept {
    return method_;
}

URL HttpRequest::getURL() const {
    return url_;
}

QueryParameters HttpRequest::getQueryParameters() const {
    return queryParameters_;
}

void HttpRequest::setQueryParameters(QueryParameters queryParameters) {
    queryParameters_ = std::move(queryParameters);
}

HttpRequest& HttpRequest::withHeaders(HttpHeaders headers) {
    setHeaders(std::move(headers));
    return *this;
}

void HttpRequest::setRequestBody(std::string text) {
    const std::string length = std::to_string(text.size());
    body_ = std::make_unique<std::stringstream>(std::move(text));
    if (!hasHeader(HttpHeaders::CONTENT_TYPE)) {
        setContentType("text/plain");
    }
    // Deliberate: framing headers that are there stay, also those of an earlier body. Callers set a
    // length of their own before or after the body, in either order.
    if (!hasHeader(HttpHeaders::CONTENT_LENGTH) && !hasHeader(HttpHeaders::TRANSFER_ENCODING)) {
        setContentLength(length);
    }
}

void HttpRequest::setRequestBody(std::unique_ptr<std::istream> body) {
    body_ = std::move(body);
}

bool HttpRequest::hasRequestBody() const noexcept {
    return body_ != nullptr;
}

bool HttpRequest::hasSimpleBody() const noexcept {
    return body_ != nullptr;
}

std::istream& HttpRequest::getRequestBody() const {
    if (body_ == nullptr) {
        throwAbsent(url_, "body");
    }
    return *body_;
}

std::string HttpRequest::getRequestBodyString() const {
    return support::readWhole(getRequestBody());
}

void HttpRequest::setMultipartBody(MultipartBody body) {
    if (body.empty()) {
        throw std::logic_error("Multipart body object is empty.");
    }
    multipartBody_ = std::move(body);
}

bool HttpRequest::hasMultipartBody() const noexcept {
    return multipartBody_.has_value();
}

MultipartBody HttpRequest::getMultipartBody() const {
    if (!multipartBody_.has_value()) {
        throw std::logic_error("Request does not have a multipart body.");
    }
    return *multipartBody_;
}

void HttpRequest::setClientConfiguration(ClientConfiguration configuration) {
    clientConfiguration_ = std::make_unique<ClientConfiguration>(std::move(configuration));
}

HttpRequest& HttpRequest::withClientConfiguration(ClientConfiguration configuration) {
    setClientConfiguration(std::move(configuration));
    return *this;
}

bool HttpRequest::hasClientConfiguration() const noexcept {
    return clientConfiguration_ != nullptr;
}

ClientConfiguration HttpRequest::getClientConfiguration() const {
    if (clientConfiguration_ == nullptr) {
        throwAbsent(url_, "ClientConfiguration");
    }
    return *clientConfiguration_;
}

void HttpRequest::setProgressCallback(ProgressCallback callback) {
    progressCallback_ = std::move(callback);
}

HttpRequest& HttpRequest::withProgressCallback(ProgressCallback callback) {
    setProgressCallback(std::move(callback));
    return *this;
}

bool HttpRequest::hasProgressCallback() const noexcept {
    return progressCallback_ != nullptr;
}

ProgressCallback HttpRequest::getProgressCallback() const {
    if (!progressCallback_) {
        throwAbsent(url_, "ProgressCallback");
    }
    return progressCallback_;
}

void HttpRequest::setPreRespCodeAndHeadersCallback(PreRespCodeAndHeadersCallback callback) {
    preRespCodeAndHeadersCallback_ = std::move(callback);
}

HttpRequest& HttpRequest::withPreRespCodeAndHeadersCallback(
    PreRespCodeAndHeadersCallback callback) {
    setPreRespCodeAndHeadersCallback(std::move(callback));
    return *this;
}

PreRespCodeAndHeadersCallback HttpRequest::getPreRespCodeAndHeadersCallback() const {
    return preRespCodeAndHeadersCallback_;
}

void HttpRequest::setResponseStreamFactory(ResponseStreamFactory factory) {
    responseStreamFactory_ = std::move(factory);
}

HttpRequest& HttpRequest::withResponseStreamFactory(ResponseStreamFactory factory) {
    setResponseStreamFactory(std::move(factory));
    return *this;
}

ResponseStreamFactory HttpRequest::getResponseStreamFactory() const {
    return responseStreamFactory_;
}

}  // namespace foundation::httpclient_core
