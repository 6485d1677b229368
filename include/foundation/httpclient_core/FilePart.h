#pragma once
#include <foundation/httpclient_core/PartHeader.h>

#include <filesystem>
#include <string>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API FilePart {
public:
    explicit FilePart(std::filesystem::path filePath);
    FilePart(PartHeader header, std::filesystem::path filePath);
    PartHeader getHeader() const;
    std::filesystem::path getFilePath() const;
    void setHeader(PartHeader header);
    void setFilePath(std::filesystem::path filePath);
    void setPartName(std::string partName);
    void setContentType(std::string contentType);
    void setCustomHeaders(HttpHeaders customHeaders);
    void addCustomHeaderValue(std::string name, std::string value);
    FilePart& withHeader(PartHeader header);
    FilePart& withPartName(std::string partName);
    FilePart& withContentType(std::string contentType);
    FilePart& withCustomHeaderValue(std::string name, std::string value);

private:
    PartHeader header_;
    std::filesystem::path filePath_;
};
}  // namespace foundation::httpclient_core
