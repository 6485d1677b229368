#include <foundation/httpclient_core/MultipartBody.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using Parts = std::vector<std::variant<DataPart, FilePart>>;

// The first part of one kind with exactly this name, or null. Part names keep their letter case.
template <class Part>
const Part* findPart(const Parts& parts, const std::string& name) {
    for (const auto& part : parts) {
        const Part* candidate = std::get_if<Part>(&part);
        if (candidate != nullptr && candidate->getHeader().getPartName() == name) {
            return candidate;
        }
    }
    return nullptr;
}

template <class Part>
const Part& requirePart(const Parts& parts, const std::string& name, const char* kind) {
    const Part* part = findPart<Part>(parts, name);
    if (part == nullptr) {
        throw std::out_of_range(std::string(kind) + " part with name=\"" + name + "\" not found.");
    }
    return *part;
}

}  // namespace

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
    return findPart<DataPart>(content_, name) != nullptr;
}

bool MultipartBody::hasFilePart(const std::string& name) const {
    return findPart<FilePart>(content_, name) != nullptr;
}

DataPart MultipartBody::getDataPart(const std::string& name) const {
    return requirePart<DataPart>(content_, name, "Data");
}

FilePart MultipartBody::getFilePart(const std::string& name) const {
    return requirePart<FilePart>(content_, name, "File");
}

void MultipartBody::removePart(const std::string& name) {
    std::erase_if(content_, [&name](const auto& part) {
        return std::visit([](const auto& held) { return held.getHeader().getPartName(); }, part) ==
               name;
    });
}

}  // namespace foundation::httpclient_core
