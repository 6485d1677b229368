#include <foundation/httpclient_core/Accept.h>

#include "headers/HeaderText.h"

#include <foundation/httpclient_core/ContentType.h>

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {

Accept::Accept(std::vector<ContentType> types) : types_(std::move(types)) {}

Accept Accept::parse(const std::string& text) {
    std::vector<ContentType> types;
    types.reserve(header_text::expectedElements(text));
    header_text::forEachElement(text, ",", [&types](std::string_view element) {
        const std::string_view trimmed = header_text::trim(element);
        if (!trimmed.empty()) {
            types.push_back(header_text::parseContentType(trimmed));
        }
    });
    return Accept(std::move(types));
}

std::string Accept::toString() const {
    std::string text;
    for (const ContentType& type : types_) {
        text += type.toString();
        text += ", ";
    }
    if (!text.empty()) {
        text.resize(text.size() - 2);
    }
    return text;
}

std::size_t Accept::size() const noexcept {
    return types_.size();
}

const ContentType& Accept::at(std::size_t index) const {
    if (index >= types_.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
    return types_[index];
}

const ContentType& Accept::operator[](std::size_t index) const {
    return types_[index];
}

Accept::const_iterator Accept::begin() const noexcept {
    return types_.begin();
}

Accept::const_iterator Accept::end() const noexcept {
    return types_.end();
}

std::vector<ContentType> Accept::getTypes() const {
    return types_;
}

bool Accept::operator==(const Accept& other) const {
    return types_ == other.types_;
}

}  // namespace foundation::httpclient_core
