#include <foundation/httpclient_core/HttpMessage.h>

#include "diagnostics/Log.h"
#include "support/Int32Parsing.h"

#include <foundation/httpclient_core/Accept.h>
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/Cookie.h>
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core {

HttpMessage::HttpMessage(HttpHeaders headers) : headers_(std::move(headers)) {}

HttpMessage::HttpMessage(const HttpMessage&) = default;
HttpMessage::HttpMessage(HttpMessage&&) = default;
HttpMessage& HttpMessage::operator=(const HttpMessage&) = default;
HttpMessage& HttpMessage::operator=(HttpMessage&&) = default;
HttpMessage::~HttpMessage() = default;

void HttpMessage::setHeaders(HttpHeaders headers) {
    headers_ = std::move(headers);
}

void HttpMessage::setHeaderValue(const std::string& name, std::string value) {
    headers_.setHeaderValue(name, std::move(value));
}

void HttpMessage::addHeaderValue(const std::string& name, std::string value) {
    headers_.addHeaderValue(name, std::move(value));
}

void HttpMessage::addHeader(const std::string& line) {
    headers_.addHeader(line);
}

void HttpMessage::removeHeader(const std::string& name) {
    headers_.removeHeader(name);
}

HttpHeaders HttpMessage::getHeaders() const {
    return headers_;
}

std::string HttpMessage::getHeaderValue(const std::string& name) const {
    return headers_.getHeaderValue(name);
}

bool HttpMessage::hasHeader(const std::string& name) const {
    return headers_.hasHeader(name);
}

std::int32_t HttpMessage::getContentLength() const {
    // Outside the conversion's try block: a missing header is reported as such.
    const std::string value = getHeaderValue(HttpHeaders::CONTENT_LENGTH);
    try {
        return support::parseInt32(value, "stol");
    } catch (const std::logic_error& error) {
        HCC_LOG_CAUGHT();
        diagnostics::throwLogged<std::runtime_error>(
            SEVERITY_ERROR,
            "Failed to convert Content-Length " + value + " to long. " + error.what());
    }
}

void HttpMessage::setContentLength(std::string length) {
    setHeaderValue(HttpHeaders::CONTENT_LENGTH, std::move(length));
}

void HttpMessage::setContentLength(const char* length) {
    setHeaderValue(HttpHeaders::CONTENT_LENGTH, length);
}

ContentType HttpMessage::getContentType() const {
    return ContentType::parse(getHeaderValue(HttpHeaders::CONTENT_TYPE));
}

void HttpMessage::setContentType(const ContentType& contentType) {
    setHeaderValue(HttpHeaders::CONTENT_TYPE, contentType.toString());
}

void HttpMessage::setContentType(const std::string& contentType) {
    setHeaderValue(HttpHeaders::CONTENT_TYPE, contentType);
}

Accept HttpMessage::getAccept() const {
    return Accept::parse(getHeaderValue(HttpHeaders::ACCEPT));
}

void HttpMessage::setAccept(const Accept& accept) {
    setHeaderValue(HttpHeaders::ACCEPT, accept.toString());
}

void HttpMessage::setAccept(std::string accept) {
    setHeaderValue(HttpHeaders::ACCEPT, std::move(accept));
}

NameValueCollection HttpMessage::getCookie() const {
    return Cookie::parse(getHeaderValue(HttpHeaders::COOKIE));
}

void HttpMessage::setCookie(const NameValueCollection& cookies) {
    setHeaderValue(HttpHeaders::COOKIE, Cookie::toString(cookies));
}

std::string HttpMessage::getTransferEncoding() const {
    return getHeaderValue(HttpHeaders::TRANSFER_ENCODING);
}

void HttpMessage::setTransferEncoding(std::string transferEncoding) {
    setHeaderValue(HttpHeaders::TRANSFER_ENCODING, std::move(transferEncoding));
}

}  // namespace foundation::httpclient_core
