#include <foundation/httpclient_core/DataPart.h>

#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/PartHeader.h>

#include <string>
#include <utility>

namespace foundation::httpclient_core {

DataPart::DataPart() = default;

DataPart::DataPart(std::string data) : data_(std::move(data)) {}

DataPart::DataPart(PartHeader header) : header_(std::move(header)) {}

DataPart::DataPart(PartHeader header, std::string data)
    : header_(std::move(header)), data_(std::move(data)) {}

PartHeader DataPart::getHeader() const {
    return header_;
}

std::string DataPart::getData() const {
    return data_;
}

void DataPart::setData(std::string data) {
    data_ = std::move(data);
}

DataPart& DataPart::withData(std::string data) {
    setData(std::move(data));
    return *this;
}

void DataPart::setHeader(PartHeader header) {
    header_ = std::move(header);
}

void DataPart::setPartName(std::string partName) {
    header_.setPartName(std::move(partName));
}

void DataPart::setContentType(std::string contentType) {
    header_.setContentType(std::move(contentType));
}

void DataPart::setCustomHeaders(HttpHeaders customHeaders) {
    header_.setCustomHeaders(std::move(customHeaders));
}

void DataPart::addCustomHeaderValue(std::string name, std::string value) {
    header_.addCustomHeaderValue(std::move(name), std::move(value));
}

DataPart& DataPart::withHeader(PartHeader header) {
    setHeader(std::move(header));
    return *this;
}

DataPart& DataPart::withPartName(std::string partName) {
    setPartName(std::move(partName));
    return *this;
}

DataPart& DataPart::withContentType(std::string contentType) {
    setContentType(std::move(contentType));
    return *this;
}

DataPart& DataPart::withCustomHeaderValue(std::string name, std::string value) {
    addCustomHeaderValue(std::move(name), std::move(value));
    return *this;
}

}  // namespace foundation::httpclient_core
