#pragma once
#include <foundation/httpclient_core/HttpMessage.h>
#include <foundation/httpclient_core/HttpResponseCode.h>
#include <foundation/httpclient_core/ResponseStreamFactory.h>
#include <foundation/httpclient_core/TransactionReport.h>

#include <ios>
#include <iosfwd>
#include <memory>
#include <mutex>
#include <string>
namespace foundation::httpclient_core {
class HttpRequest;
class FOUNDATION_HTTPCLIENT_CORE_API HttpResponse : public HttpMessage {
public:
    HttpResponse();
    explicit HttpResponse(const HttpRequest& request);
    HttpResponse(HttpResponse&& other);
    HttpResponse& operator=(HttpResponse&& other);
    HttpResponse(const HttpResponse&) = delete;
    HttpResponse& operator=(const HttpResponse&) = delete;
    ~HttpResponse() override;
    void setHeaders(HttpHeaders headers) override;
    void setHeaderValue(const std::string& name, std::string value) override;
    void addHeaderValue(const std::string& name, std::string value) override;
    void addHeader(const std::string& line) override;
    void removeHeader(const std::string& name) override;

    HttpResponseCode getResponseCode() const noexcept;
    std::string getResponseCodeReason() const;
    void setResponseCode(HttpResponseCode code);
    void setResponseCodeAndReason(HttpResponseCode code, std::string reason);
    std::iostream& getResponseBody() const;
    std::string getResponseBodyString() const;
    void setResponseBody(std::string data);
    void resetResponseBody();
    TransactionReport getTransactionReport() const;
    void setTransactionReport(TransactionReport report);

private:
    void announceChange() const;
    std::unique_ptr<std::iostream> makeBody() const;

    HttpResponseCode code_ = HttpResponseCode::RequestNotMade;
    std::string reason_ = "Request Not Made";
    TransactionReport transactionReport_;
    ResponseStreamFactory responseStreamFactory_;
    PreRespCodeAndHeadersCallback preRespCodeAndHeadersCallback_;
    mutable std::unique_ptr<std::iostream> body_;
    mutable std::streamoff bodyStart_ = 0;
    mutable std::mutex bodyMutex_;
};
}  // namespace foundation::httpclient_core
