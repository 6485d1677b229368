#pragma once
#include <foundation/httpclient_core/HttpHeaders.h>

#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API PartHeader {
public:
    PartHeader();
    explicit PartHeader(std::string partName);
    PartHeader(std::string partName, std::string contentType);
    std::string getPartName() const;
    std::string getContentType() const;
    HttpHeaders getCustomHeaders() const;
    void setPartName(std::string partName);
    void setContentType(std::string contentType);
    void setCustomHeaders(HttpHeaders customHeaders);
    void addCustomHeaderValue(std::string name, std::string value);
    PartHeader& withPartName(std::string partName);
    PartHeader& withContentType(std::string contentType);
    PartHeader& withCustomHeaderValue(std::string name, std::string value);

private:
    std::string partName_;
    std::string contentType_;
    HttpHeaders customHeaders_;
};
}  // namespace foundation::httpclient_core
