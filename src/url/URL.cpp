#include <foundation/httpclient_core/URL.h>

#include "support/Int32Parsing.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::httpclient_core {
namespace {

// Takes the text from the first `mark` on out of `text` and returns what follows the mark; empty where
// there is no mark.
std::string_view cutFrom(std::string_view& text, char mark) {
    const std::size_t position = text.find(mark);
    if (position == std::string_view::npos) {
        return {};
    }
    const std::string_view tail = text.substr(position + 1);
    text = text.substr(0, position);
    return tail;
}

std::uint16_t parsePort(std::string_view text) {
    const std::int32_t value = support::parseInt32(std::string(text), "stoi");
    if (static_cast<std::uint32_t>(value) > std::numeric_limits<std::uint16_t>::max()) {
        throw std::out_of_range("URL port out of uint16_t range: " + std::to_string(value));
    }
    return static_cast<std::uint16_t>(value);
}

}  // namespace

URL::URL(const std::string& text) {
    parse(text);
}

URL::URL(const char* text) {
    parse(text);
}

void URL::parse(std::string_view text) {
    fragment_ = cutFrom(text, '#');
    const std::size_t marker = text.find("://");
    if (marker != std::string_view::npos) {
        protocol_ = text.substr(0, marker);
        text.remove_prefix(marker + 3);
    }
    // Deliberate: only a "/" ends the authority. "host?q=1" is a domain of that name, and user
    // information or a bracketed IPv6 address fails at its first ":" as a port that is no number.
    const std::size_t slash = text.find('/');
    const std::string_view authority = text.substr(0, slash);
    const std::size_t colon = authority.find(':');
    domain_ = authority.substr(0, colon);
    if (colon != std::string_view::npos) {
        port_ = parsePort(authority.substr(colon + 1));
    }
    if (slash == std::string_view::npos) {
        return;
    }
    const std::string_view rest = text.substr(slash);
    const std::size_t question = rest.find('?');
    path_ = rest.substr(0, question);
    if (question != std::string_view::npos) {
        queryParameters_.parse(rest.substr(question));
    }
}

std::string URL::toAsciiString() const {
    const std::string& query = queryParameters_.rawQuery_;
    constexpr std::size_t separators = sizeof("://:65535?#");
    std::string text;
    text.reserve(protocol_.size() + domain_.size() + path_.size() + query.size() +
                 fragment_.size() + separators);
    if (!protocol_.empty()) {
        text += protocol_;
        text += "://";
    }
    text += domain_;
    if (port_ != 0) {
        text += ':';
        text += std::to_string(port_);
    }
    text += path_;
    if (!query.empty()) {
        text += '?';
        text += query;
    }
    if (!fragment_.empty()) {
        text += '#';
        text += fragment_;
    }
    return text;
}

bool URL::operator==(const URL& other) const {
    return toAsciiString() == other.toAsciiString();
}

std::string URL::getProtocol() const {
    return protocol_;
}

void URL::setProtocol(std::string protocol) {
    protocol_ = std::move(protocol);
}

std::string URL::getDomain() const {
    return domain_;
}

void URL::setDomain(std::string domain) {
    domain_ = std::move(domain);
}

std::uint16_t URL::getPort() const noexcept {
    return port_;
}

void URL::setPort(std::uint16_t port) noexcept {
    port_ = port;
}

std::string URL::getPath() const {
    return path_;
}

void URL::setPath(std::string path) {
    path_ = std::move(path);
}

QueryParameters URL::getQueryParameters() const {
    return queryParameters_;
}

void URL::setQueryParameters(QueryParameters queryParameters) {
    queryParameters_ = std::move(queryParameters);
}

std::string URL::getFragment() const {
    return fragment_;
}

void URL::setFragment(std::string fragment) {
    fragment_ = std::move(fragment);
}

bool URL::hasFragment() const noexcept {
    return !fragment_.empty();
}

std::ostream& operator<<(std::ostream& os, const URL& url) {
    return os << url.toAsciiString();
}

}  // namespace foundation::httpclient_core
