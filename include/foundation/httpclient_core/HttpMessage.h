#pragma once
#include <foundation/httpclient_core/Accept.h>
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/HttpHeaders.h>

#include <cstdint>
#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API HttpMessage {
public:
    explicit HttpMessage(HttpHeaders headers);
    HttpMessage(const HttpMessage&);
    HttpMessage(HttpMessage&&);
    HttpMessage& operator=(const HttpMessage&);
    HttpMessage& operator=(HttpMessage&&);
    virtual ~HttpMessage();
    virtual void setHeaders(HttpHeaders headers);
    virtual void setHeaderValue(const std::string& name, std::string value);
    virtual void addHeaderValue(const std::string& name, std::string value);
    virtual void addHeader(const std::string& line);
    virtual void removeHeader(const std::string& name);

    HttpHeaders getHeaders() const;
    std::string getHeaderValue(const std::string& name) const;
    bool hasHeader(const std::string& name) const;
    std::int32_t getContentLength() const;
    void setContentLength(std::string length);
    void setContentLength(const char* length);
    ContentType getContentType() const;
    void setContentType(const ContentType& contentType);
    void setContentType(const std::string& contentType);
    Accept getAccept() const;
    void setAccept(const Accept& accept);
    void setAccept(std::string accept);
    NameValueCollection getCookie() const;
    void setCookie(const NameValueCollection& cookies);
    std::string getTransferEncoding() const;
    void setTransferEncoding(std::string transferEncoding);

private:
    HttpHeaders headers_;
};
}  // namespace foundation::httpclient_core
