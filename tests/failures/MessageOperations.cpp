#include "tests/failures/Refusal.h"
#include "tests/failures/Tables.h"

#include <foundation/httpclient_core.h>

#include <array>
#include <cstdint>
#include <functional>
#include <ios>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

const std::string longName = "X-A-Header-Name-That-Needs-Memory-And-More";
const std::string longText = "a text that is longer than a short string holds";

HttpHeaders headers() {
    return {{"Accept", "text/html, */*"},
            {longName, longText},
            {"Content-Type", "text/html; a=" + longText},
            {"Content-Length", "12"},
            {"Cookie", "id=" + longText},
            {"Transfer-Encoding", longText}};
}

HttpMessage message() {
    return HttpMessage(headers());
}

MultipartBody parts() {
    MultipartBody body;
    body.addPart(DataPart(PartHeader(longText), longText));
    return body;
}

// A callable that is too large to be copied without an allocation.
struct Large {
    std::array<char, 64> ballast{};
    std::string text = longText;

    void operator()() const {}
    ProgressResult operator()(const Progress& /*progress*/) const {
        return ProgressResult::Continue;
    }
    std::unique_ptr<std::iostream> operator()(HttpResponseCode /*code*/,
                                              const std::string& /*reason*/,
                                              const HttpHeaders& /*headers*/) const {
        return std::make_unique<std::stringstream>();
    }
};

HttpRequest request() {
    HttpRequest made(HttpMethod::POST, "http://host.test/a/path/that/is/rather/long?a=1",
                     {{"Accept", longText}});
    made.setQueryParameters(QueryParameters("?b=" + longText));
    made.setMultipartBody(parts());
    made.setClientConfiguration(ClientConfiguration().withCertificateFile(longText));
    made.setProgressCallback(Large());
    made.setPreRespCodeAndHeadersCallback(Large());
    return made;
}

HttpRequest withBody() {
    HttpRequest made = request();
    made.setRequestBody(longText);
    return made;
}

HttpRequest bare() {
    return {HttpMethod::GET, "http://host.test/a/path/that/is/rather/long", {}};
}

HttpResponse response() {
    HttpResponse made;
    made.setHeaders(headers());
    made.setResponseCodeAndReason(HttpResponseCode::OK, longText);
    made.setTransactionReport(TransactionReport(1, "http://host.test/a/path/that/is/long"));
    return made;
}

// With a body, since the first call would make one.
HttpResponse withResponseBody() {
    HttpResponse made = response();
    made.getResponseBody() << std::string(2000, 'x');
    return made;
}

// How much there is in the body of a response; allocates nothing beyond the body.
std::int64_t bodySize(const HttpResponse& r) {
    return r.getResponseBody().rdbuf()->pubseekoff(0, std::ios::end, std::ios::in);
}

std::int64_t setLongBody(HttpResponse& r) {
    r.setResponseBody(std::string(100'000, 'x'));
    return bodySize(r);
}

// A body that was written in part is no body: it is bad until it is reset.
void canStartOver(const std::string& before, HttpResponse& r) {
    EXPECT_EQ(describe(r), before);
    if (bodySize(r) > 0) {
        r.resetResponseBody();
        EXPECT_EQ(setLongBody(r), 100'000);
    }
}

}  // namespace

Operations messageOperations() {
    return {
        strong("HttpMessage of headers", headers, [](HttpHeaders& h) { return HttpMessage(h); }),
        strong("copy of a message", message, Copied()),
        leaving(
            "copy assignment of a message",
            [] { return std::pair(HttpMessage(HttpHeaders{{"a", "1"}}), message()); },
            [](auto& pair) { pair.first = pair.second; },
            [](const std::string& /*before*/, const auto& pair) {
                EXPECT_TRUE(pair.first.getHeaders().empty());
                EXPECT_EQ(describe(pair.second), describe(message()));
            }),
        strong("HttpMessage::getHeaders", message, [](HttpMessage& m) { return m.getHeaders(); }),
        strong("HttpMessage::getHeaderValue", message,
               [](HttpMessage& m) { return m.getHeaderValue(longName); }),
        strong("HttpMessage::hasHeader", message,
               [](HttpMessage& m) { return m.hasHeader(longName); }),
        strong("HttpMessage::getContentLength", message,
               [](HttpMessage& m) { return m.getContentLength(); }),
        strong(
            "HttpMessage::getContentLength of no number",
            [] { return HttpMessage(HttpHeaders{{"Content-Length", longText}}); },
            [](HttpMessage& m) { return refusal<std::exception>([&m] { m.getContentLength(); }); }),
        strong("HttpMessage::getContentType", message,
               [](HttpMessage& m) { return m.getContentType(); }),
        strong("HttpMessage::getAccept", message, [](HttpMessage& m) { return m.getAccept(); }),
        strong("HttpMessage::getCookie", message, [](HttpMessage& m) { return m.getCookie(); }),
        strong("HttpMessage::getTransferEncoding", message,
               [](HttpMessage& m) { return m.getTransferEncoding(); }),
        strong("HttpMessage::setHeaders", message, [](HttpMessage& m) { m.setHeaders(headers()); }),
        strong("HttpMessage::setHeaderValue", message,
               [](HttpMessage& m) { m.setHeaderValue("New", longText); }),
        strong("HttpMessage::addHeaderValue", message,
               [](HttpMessage& m) { m.addHeaderValue(longName, longText); }),
        strong("HttpMessage::addHeader", message,
               [](HttpMessage& m) { m.addHeader(longName + ":" + longText); }),
        strong("HttpMessage::removeHeader", message,
               [](HttpMessage& m) { m.removeHeader(longName); }),
        strong("HttpMessage::setContentLength", message,
               [](HttpMessage& m) { m.setContentLength(longText); }),
        strong("HttpMessage::setContentLength of characters", message,
               [](HttpMessage& m) { m.setContentLength(longText.c_str()); }),
        strong("HttpMessage::setContentType", message,
               [](HttpMessage& m) { m.setContentType(ContentType(longText, headers())); }),
        strong("HttpMessage::setContentType of a text", message,
               [](HttpMessage& m) { m.setContentType(longText); }),
        strong("HttpMessage::setAccept", message,
               [](HttpMessage& m) { m.setAccept(Accept({ContentType(longText, {})})); }),
        strong("HttpMessage::setAccept of a text", message,
               [](HttpMessage& m) { m.setAccept(longText); }),
        strong("HttpMessage::setCookie", message, [](HttpMessage& m) { m.setCookie(headers()); }),
        strong("HttpMessage::setTransferEncoding", message,
               [](HttpMessage& m) { m.setTransferEncoding(longText); }),
        strong(
            "method into a stream", [] { return longText; },
            [](std::string& /*text*/) {
                std::ostringstream stream;
                stream << HttpMethod::GET << HttpResponseCode::OK;
                if (!stream) {
                    throw std::bad_alloc();  // The stream reports it in its own way.
                }
                return stream.str();
            }),
        strong(
            "createHttpMethod", [] { return std::string("PATCH"); },
            [](std::string& text) { return createHttpMethod(text); }),
        strong(
            "createHttpMethod of another text", [] { return longText; },
            [](std::string& text) {
                return refusal<std::logic_error>([&text] { createHttpMethod(text); });
            }),
        strong(
            "getReasonStringForCode", [] { return longText; },
            [](std::string& /*text*/) {
                return getReasonStringForCode(HttpResponseCode::RangeNotSatisfiable);
            }),
        strong(
            "to_string of a code", [] { return longText; },
            [](std::string& /*text*/) { return to_string(HttpResponseCode::OK); }),
    };
}

Operations requestOperations() {
    return {
        strong("HttpRequest", headers,
               [](HttpHeaders& h) {
                   return HttpRequest(HttpMethod::GET, "http://host.test/" + longText, h);
               }),
        strong("move of a request", withBody,
               [](HttpRequest& r) {
                   HttpRequest moved(std::move(r));
                   r = std::move(moved);
               }),
        strong("HttpRequest::getURL", request, [](HttpRequest& r) { return r.getURL(); }),
        strong("HttpRequest::getQueryParameters", request,
               [](HttpRequest& r) { return r.getQueryParameters(); }),
        strong(
            "HttpRequest::getRequestBody without one", request,
            [](HttpRequest& r) { return refusal<std::logic_error>([&r] { r.getRequestBody(); }); }),
        strong("HttpRequest::getRequestBodyString", withBody,
               [](HttpRequest& r) { return r.getRequestBodyString(); }),
        strong("HttpRequest::getMultipartBody", request,
               [](HttpRequest& r) { return r.getMultipartBody(); }),
        strong("HttpRequest::getMultipartBody without one", bare,
               [](HttpRequest& r) {
                   return refusal<std::logic_error>([&r] { r.getMultipartBody(); });
               }),
        strong("HttpRequest::getClientConfiguration", request,
               [](HttpRequest& r) { return r.getClientConfiguration(); }),
        strong("HttpRequest::getClientConfiguration without one", bare,
               [](HttpRequest& r) {
                   return refusal<std::logic_error>([&r] { r.getClientConfiguration(); });
               }),
        strong("HttpRequest::getProgressCallback", request,
               [](HttpRequest& r) { return r.getProgressCallback(); }),
        strong("HttpRequest::getProgressCallback without one", bare,
               [](HttpRequest& r) {
                   return refusal<std::logic_error>([&r] { r.getProgressCallback(); });
               }),
        strong("HttpRequest::getPreRespCodeAndHeadersCallback", request,
               [](HttpRequest& r) { return r.getPreRespCodeAndHeadersCallback(); }),
        strong("HttpRequest::getResponseStreamFactory", request,
               [](HttpRequest& r) { return r.getResponseStreamFactory(); }),
        strong("HttpRequest::setQueryParameters", request,
               [](HttpRequest& r) { r.setQueryParameters("c=" + longText); }),
        strong("HttpRequest::withHeaders", request,
               [](HttpRequest& r) { r.withHeaders(headers()); }),
        basic("HttpRequest::setRequestBody of a text", request,
              [](HttpRequest& r) { r.setRequestBody(longText + longText); }),
        strong("HttpRequest::setRequestBody of a stream", request,
               [](HttpRequest& r) {
                   r.setRequestBody(std::make_unique<std::istringstream>(longText));
               }),
        strong("HttpRequest::setMultipartBody", request,
               [](HttpRequest& r) { r.setMultipartBody(parts()); }),
        strong("HttpRequest::setMultipartBody without parts", request,
               [](HttpRequest& r) {
                   return refusal<std::logic_error>([&r] { r.setMultipartBody({}); });
               }),
        strong("HttpRequest::setClientConfiguration", bare,
               [](HttpRequest& r) { r.setClientConfiguration(ClientConfiguration()); }),
        strong("HttpRequest::setClientConfiguration again", request,
               [](HttpRequest& r) {
                   r.withClientConfiguration(ClientConfiguration().withMaxThreads(7));
               }),
        strong("HttpRequest::setProgressCallback", bare,
               [](HttpRequest& r) { r.withProgressCallback(Large()); }),
        strong("HttpRequest::setPreRespCodeAndHeadersCallback", bare,
               [](HttpRequest& r) { r.withPreRespCodeAndHeadersCallback(Large()); }),
        strong("HttpRequest::setResponseStreamFactory", bare,
               [](HttpRequest& r) { r.withResponseStreamFactory(Large()); }),
        strong("defaultResponseStreamFactory", bare,
               [](HttpRequest& r) {
                   return describe(
                       defaultResponseStreamFactory()(HttpResponseCode::OK, "", r.getHeaders()));
               }),
    };
}

Operations responseOperations() {
    return {
        strong(
            "HttpResponse", [] { return longText; },
            [](std::string& /*text*/) { return HttpResponse(); }),
        strong("HttpResponse of a request", request,
               [](HttpRequest& r) { return HttpResponse(r); }),
        strong("move of a response", withResponseBody,
               [](HttpResponse& r) {
                   HttpResponse moved(std::move(r));
                   r = std::move(moved);
                   return bodySize(r);
               }),
        strong("HttpResponse::getResponseCodeReason", response,
               [](HttpResponse& r) { return r.getResponseCodeReason(); }),
        strong("HttpResponse::getResponseBody", response,
               [](HttpResponse& r) { return r.getResponseBody().good(); }),
        strong(
            "HttpResponse::getResponseBody without a factory",
            [] {
                HttpRequest made = bare();
                made.setResponseStreamFactory(nullptr);
                return HttpResponse(made);
            },
            [](HttpResponse& r) {
                return refusal<std::bad_function_call>([&r] { r.getResponseBody(); });
            }),
        strong("HttpResponse::getResponseBodyString", response,
               [](HttpResponse& r) { return r.getResponseBodyString(); }),
        basic("HttpResponse::getResponseBodyString of a long body", withResponseBody,
              [](HttpResponse& r) { return r.getResponseBodyString(); }),
        strong("HttpResponse::getTransactionReport", response,
               [](HttpResponse& r) { return r.getTransactionReport(); }),
        strong("HttpResponse::setHeaders", response,
               [](HttpResponse& r) { r.setHeaders({{longName, longText}}); }),
        strong("HttpResponse::setHeaderValue", response,
               [](HttpResponse& r) { r.setHeaderValue("New", longText); }),
        strong("HttpResponse::addHeaderValue", response,
               [](HttpResponse& r) { r.addHeaderValue(longName, longText); }),
        strong("HttpResponse::addHeader", response,
               [](HttpResponse& r) { r.addHeader(longName + ":" + longText); }),
        strong("HttpResponse::removeHeader", response,
               [](HttpResponse& r) { r.removeHeader(longName); }),
        strong("HttpResponse::setResponseCode", response,
               [](HttpResponse& r) { r.setResponseCode(HttpResponseCode::NotFound); }),
        strong("HttpResponse::setResponseCodeAndReason", response,
               [](HttpResponse& r) {
                   r.setResponseCodeAndReason(HttpResponseCode::NotFound, longText + "!");
               }),
        strong("HttpResponse::setResponseBody", response,
               [](HttpResponse& r) {
                   r.setResponseBody(longText);
                   return bodySize(r);
               }),
        leaving(
            "HttpResponse::setResponseBody of a long text", [] { return HttpResponse(); },
            setLongBody, canStartOver),
        leaving("HttpResponse::setResponseBody behind other text", withResponseBody, setLongBody,
                canStartOver),
        strong("HttpResponse::resetResponseBody", withResponseBody,
               [](HttpResponse& r) {
                   r.resetResponseBody();
                   return bodySize(r);
               }),
        strong("HttpResponse::setTransactionReport", response,
               [](HttpResponse& r) {
                   r.setTransactionReport(TransactionReport(2, URL("http://other/" + longText)));
               }),
        strong(
            "copy of a TransactionReport",
            [] { return TransactionReport(1, URL("http://host/" + longText)); }, Copied()),
        strong(
            "copy assignment of a TransactionReport",
            [] {
                return std::pair(TransactionReport(1, URL("")),
                                 TransactionReport(1, URL("http://host/" + longText)));
            },
            [](auto& pair) { pair.first = pair.second; }),
        strong(
            "TransactionReport::effectiveURL",
            [] { return TransactionReport(1, URL("http://host/" + longText)); },
            [](TransactionReport& report) { return report.effectiveURL(); }),
    };
}

}  // namespace foundation::httpclient_core::testing
