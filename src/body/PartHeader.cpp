#include <foundation/httpclient_core/PartHeader.h>

#include <foundation/httpclient_core/HttpHeaders.h>

#include <string>
#include <utility>

namespace foundation::httpclient_core {

PartHeader::PartHeader() = default;

PartHeader::PartHeader(std::string partName) : partName_(std::move(partName)) {}

PartHeader::PartHeader(std::string partName, std::string contentType)
    : partName_(std::move(partName)), contentType_(std::move(contentType)) {}

std::string PartHeader::getPartName() const {
    return partName_;
}

std::string PartHeader::getContentType() const {
    return contentType_;
}

HttpHeaders PartHeader::getCustomHeaders() const {
    return customHeaders_;
}

void PartHeader::setPartName(std::string partName) {
    partName_ = std::move(partName);
}

void PartHeader::setContentType(std::string contentType) {
    contentType_ = std::move(contentType);
}

void PartHeader::setCustomHeaders(HttpHeaders customHeaders) {
    customHeaders_ = std::move(customHeaders);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes the name by value.
void PartHeader::addCustomHeaderValue(std::string name, std::string value) {
    customHeaders_.addHeaderValue(name, std::move(value));
}

PartHeader& PartHeader::withPartName(std::string partName) {
    setPartName(std::move(partName));
    return *this;
}

PartHeader& PartHeader::withContentType(std::string contentType) {
    setContentType(std::move(contentType));
    return *this;
}

PartHeader& PartHeader::withCustomHeaderValue(std::string name, std::string value) {
    addCustomHeaderValue(std::move(name), std::move(value));
    return *this;
}

}  // namespace foundation::httpclient_core
