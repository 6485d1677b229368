#pragma once
#include <foundation/httpclient_core/DataPart.h>
#include <foundation/httpclient_core/FilePart.h>

#include <string>
#include <variant>
#include <vector>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API MultipartBody {
public:
    MultipartBody();
    void addPart(DataPart part);
    void addPart(FilePart part);
    MultipartBody& withPart(DataPart part);
    MultipartBody& withPart(FilePart part);
    bool empty() const noexcept;  // true without parts
    std::vector<std::variant<DataPart, FilePart>> getContent() const;
    bool hasDataPart(const std::string& name) const;
    bool hasFilePart(const std::string& name) const;
    DataPart getDataPart(const std::string& name) const;
    FilePart getFilePart(const std::string& name) const;
    void removePart(const std::string& name);

private:
    std::vector<std::variant<DataPart, FilePart>> content_;
};
}  // namespace foundation::httpclient_core
