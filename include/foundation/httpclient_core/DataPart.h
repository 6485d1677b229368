#pragma once
#include <foundation/httpclient_core/PartHeader.h>

#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API DataPart {
public:
    DataPart();
    explicit DataPart(std::string data);
    explicit DataPart(PartHeader header);
    DataPart(PartHeader header, std::string data);
    PartHeader getHeader() const;
    std::string getData() const;
    void setHeader(PartHeader header);
    void setData(std::string data);
    void setPartName(std::string partName);
    void setContentType(std::string contentType);
    void setCustomHeaders(HttpHeaders customHeaders);
    void addCustomHeaderValue(std::string name, std::string value);
    DataPart& withHeader(PartHeader header);
    DataPart& withData(std::string data);
    DataPart& withPartName(std::string partName);
    DataPart& withContentType(std::string contentType);
    DataPart& withCustomHeaderValue(std::string name, std::string value);

private:
    PartHeader header_;
    std::string data_;
};
}  // namespace foundation::httpclient_core
