#include <foundation/httpclient_core/ContentType.h>

#include "diagnostics/Log.h"
#include "headers/HeaderText.h"
#include "headers/IdentityEncoder.h"

#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::httpclient_core {

ContentType::ContentType(std::string type, NameValueCollection parameters)
    : type_(std::move(type)), parameters_(std::move(parameters)) {}

ContentType ContentType::parse(const std::string& text) {
    return header_text::parseContentType(text);
}

ContentType header_text::parseContentType(std::string_view text) {
    auto [type, parameters] = splitParameters(text, ";");
    for (const auto& [name, value] : parameters) {
        if (value.empty()) {
            diagnostics::throwLogged<std::runtime_error>(
                SEVERITY_PROGRESS, "Missing parameter value for <" + name + ">");
        }
    }
    return {std::move(type), std::move(parameters)};
}

std::string ContentType::toString() const {
    if (parameters_.empty()) {
        return type_;
    }
    // Deliberate: a blank follows the first semicolon only. Callers compare printed media types, so
    // the form never changes.
    return type_ + "; " + parameters_.toString(";", "=", identityEncoder);
}

std::string ContentType::getType() const {
    return type_;
}

NameValueCollection ContentType::getParameters() const {
    return parameters_;
}

bool ContentType::operator==(const ContentType& other) const {
    return type_ == other.type_ && parameters_ == other.parameters_;
}

}  // namespace foundation::httpclient_core
