#include <foundation/httpclient_core/HttpHeaders.h>

#include "diagnostics/Log.h"
#include "headers/EntryAccess.h"
#include "headers/HeaderText.h"

#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstddef>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

namespace foundation::httpclient_core {

// The first priority open to programs: the constants are ready for every static initialiser of the
// library and of the programs that use it.
__attribute__((init_priority(101))) const std::string HttpHeaders::ACCEPT = "Accept";
__attribute__((init_priority(101))) const std::string HttpHeaders::CONTENT_TYPE = "Content-Type";
__attribute__((init_priority(101))) const std::string HttpHeaders::CONTENT_LENGTH =
    "Content-Length";
__attribute__((init_priority(101))) const std::string HttpHeaders::COOKIE = "Cookie";
__attribute__((init_priority(101))) const std::string HttpHeaders::TRANSFER_ENCODING =
    "Transfer-Encoding";

HttpHeaders::HttpHeaders() = default;

HttpHeaders::HttpHeaders(std::initializer_list<value_type> entries)
    : NameValueCollection(entries) {}

void HttpHeaders::addHeader(const std::string& line) {
    const header_text::Parameter field = header_text::splitParameter(line, ":", false);
    if (!field.name.empty()) {
        EntryAccess::add(*this, field.name, field.value);
    }
}

void HttpHeaders::addHeaderValue(const std::string& name, std::string value) {
    add(name, std::move(value));
}

void HttpHeaders::setHeaderValue(const std::string& name, std::string value) {
    set(name, std::move(value));
}

std::string HttpHeaders::getHeaderValue(const std::string& name) const {
    return get(name);
}

std::string HttpHeaders::getHeaderValueOr(const std::string& name,
                                          const std::string& defaultValue) const {
    const const_iterator position = find(name);
    return position != end() ? position->second : defaultValue;
}

bool HttpHeaders::hasHeader(const std::string& name) const {
    return has(name);
}

void HttpHeaders::removeHeader(const std::string& name) {
    erase(name);
}

void HttpHeaders::splitElements(const std::string& text,
                                const ElementCallback& callback,
                                const std::string& separators,
                                bool skipEmpty) {
    header_text::forEachElement(text, separators, [&](std::string_view element) {
        const std::string_view trimmed = header_text::trim(element);
        if (!skipEmpty || !trimmed.empty()) {
            callback(std::string(trimmed));
        }
    });
}

std::pair<std::string, std::string> HttpHeaders::splitParameter(const std::string& text,
                                                                const std::string& delimiter,
                                                                bool allowMissingDelimiter) {
    const auto [name, value] = header_text::splitParameter(text, delimiter, allowMissingDelimiter);
    return {std::string(name), std::string(value)};
}

std::pair<std::string, NameValueCollection> HttpHeaders::splitParameters(
    const std::string& text,
    const std::string& separators) {
    return header_text::splitParameters(text, separators);
}

header_text::Parameter header_text::splitParameter(std::string_view text,
                                                   std::string_view delimiter,
                                                   bool allowMissingDelimiter) {
    const std::string_view trimmed = trim(text);
    if (trimmed.empty()) {
        return {};
    }
    const std::size_t cut =
        delimiter.size() == 1 ? trimmed.find(delimiter.front()) : trimmed.find(delimiter);
    if (cut == std::string_view::npos) {
        if (allowMissingDelimiter) {
            return {trimmed, {}};
        }
        std::string message = "Missing delimiter <";
        message.append(delimiter).append("> when parsing : <").append(text).append(">");
        diagnostics::throwLogged<std::runtime_error>(SEVERITY_PROGRESS, message);
    }
    // Deliberate: the value starts one character after the start of the delimiter, however long that
    // is. Delimiters are single characters; callers rely on the rest of a longer one staying visible.
    const std::string_view value =
        cut + 1 < trimmed.size() ? trimmed.substr(cut + 1) : std::string_view();
    return {trim(trimmed.substr(0, cut)), trim(value)};
}

std::pair<std::string, NameValueCollection> header_text::splitParameters(
    std::string_view text,
    std::string_view separators) {
    std::pair<std::string, NameValueCollection> result;
    forEachElement(text, separators, [&result](std::string_view element) {
        if (result.first.empty()) {
            result.first = element;
        } else {
            const auto [name, value] = splitParameter(element, "=", false);
            EntryAccess::add(result.second, name, value);
        }
    });
    return result;
}

}  // namespace foundation::httpclient_core
