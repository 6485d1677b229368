#include <foundation/httpclient_core/FilePart.h>

#include <foundation/httpclient_core/HttpHeaders.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core {
namespace {

void requirePath(const std::filesystem::path& path) {
    if (path.empty()) {
        throw std::logic_error("Empty file path.");
    }
}

}  // namespace

FilePart::FilePart(std::filesystem::path filePath) : FilePart(PartHeader(), std::move(filePath)) {}

FilePart::FilePart(PartHeader header, std::filesystem::path filePath)
    : header_(std::move(header)), filePath_(std::move(filePath)) {
    requirePath(filePath_);
}

PartHeader FilePart::getHeader() const {
    return header_;
}

std::filesystem::path FilePart::getFilePath() const {
    return filePath_;
}

void FilePart::setFilePath(std::filesystem::path filePath) {
    requirePath(filePath);
    filePath_ = std::move(filePath);
}

void FilePart::setHeader(PartHeader header) {
    header_ = std::move(header);
}

void FilePart::setPartName(std::string partName) {
    header_.setPartName(std::move(partName));
}

void FilePart::setContentType(std::string contentType) {
    header_.setContentType(std::move(contentType));
}

void FilePart::setCustomHeaders(HttpHeaders customHeaders) {
    header_.setCustomHeaders(std::move(customHeaders));
}

void FilePart::addCustomHeaderValue(std::string name, std::string value) {
    header_.addCustomHeaderValue(std::move(name), std::move(value));
}

FilePart& FilePart::withHeader(PartHeader header) {
    setHeader(std::move(header));
    return *this;
}

FilePart& FilePart::withPartName(std::string partName) {
    setPartName(std::move(partName));
    return *this;
}

FilePart& FilePart::withContentType(std::string contentType) {
    setContentType(std::move(contentType));
    return *this;
}

FilePart& FilePart::withCustomHeaderValue(std::string name, std::string value) {
    addCustomHeaderValue(std::move(name), std::move(value));
    return *this;
}

}  // namespace foundation::httpclient_core
