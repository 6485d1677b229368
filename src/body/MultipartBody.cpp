#include <foundation/httpclient_core/MultipartBody.h>

#include <foundation/httpclient_core/DataPart.h>
#include <foundation/httpclient_core/FilePart.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace foundation::httpclient_core {
namespace {

template <class Part>
const Part& require(const Part* part, const char* kind, const std::string& name) {
    if (part == nullptr) {
        throw std::out_of_range(std::string(kind) + " part with name=\"" + name + "\" not found.");
    }
    return *part;
}

}  // namespace

template <class Part>
const Part* MultipartBody::findPart(const std::string& name) const noexcept {
    for (const auto& part : content_) {
        const Part* candidate = std::get_if<Part>(&part);
        if (candidate != nullptr && nameOf(*candidate) == name) {
            return candidate;
        }
    }
    return nullptr;
}

MultipartBody::MultipartBody() = default;

void MultipartBody::addPart(DataPart part) {
    content_.emplace_back(std::move(part));
}

void MultipartBody::addPart(FilePart part) {
    content_.emplace_back(std::move(part));
}

MultipartBody& MultipartBody::withPart(DataPart part) {
    addPart(std::move(part));
    return *this;
}

MultipartBody& MultipartBody::withPart(FilePart part) {
    addPart(std::move(part));
    return *this;
}

bool MultipartBody::empty() const noexcept {
    return content_.empty();
}

std::vector<std::variant<DataPart, FilePart>> MultipartBody::getContent() const {
    return content_;
}

bool MultipartBody::hasDataPart(const std::string& name) const {
    return findPart<DataPart>(name) != nullptr;
}

bool MultipartBody::hasFilePart(const std::string& name) const {
    return findPart<FilePart>(name) != nullptr;
}

DataPart MultipartBody::getDataPart(const std::string& name) const {
    return require(findPart<DataPart>(name), "Data", name);
}

FilePart MultipartBody::getFilePart(const std::string& name) const {
    return require(findPart<FilePart>(name), "File", name);
}

void MultipartBody::removePart(const std::string& name) {
    std::erase_if(content_, [&name](const auto& part) {
        return std::visit([&name](const auto& held) { return nameOf(held) == name; }, part);
    });
}

}  // namespace foundation::httpclient_core
