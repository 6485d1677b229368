#include <foundation/httpclient_core/URL.h>

#include "support/Int32Parsing.h"

#include <foundation/httpclient_core/QueryParameters.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace foundation::httpclient_core {
namespace {

constexpr std::string_view protocolMark = "://";

// Takes the text from the first `mark` on out of `text` and returns it with its mark; empty where there is no
// mark or where nothing follows it.
std::string_view cutFrom(std::string_view& text, char mark) {
    const std::size_t position = text.find(mark);
    if (position == std::string_view::npos) {
        return {};
    }
    const std::string_view tail = text.substr(position);
    text = text.substr(0, position);
    return tail.size() > 1 ? tail : std::string_view();
}

std::uint16_t checkPort(std::int32_t value) {
    if (static_cast<std::uint32_t>(value) > std::numeric_limits<std::uint16_t>::max()) {
        throw std::out_of_range("URL port out of uint16_t range: " + std::to_string(value));
    }
    return static_cast<std::uint16_t>(value);
}

std::uint16_t parsePort(std::string_view text) {
    // Nearly every port is digits alone.
    std::uint16_t port = 0;
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    const auto [position, error] = std::from_chars(begin, end, port);
    if (error == std::errc() && position == end) {
        return port;
    }
    return checkPort(support::parseInt32(std::string(text), "stoi"));
}

}  // namespace

URL::URL(const std::string& text) {
    parse(text);
}

URL::URL(const char* text) {
    parse(text);
}

URL::URL(const URL& other) = default;

// The text is the first member and the only one whose assignment can fail.
URL& URL::operator=(const URL& other) = default;

URL::URL(URL&& other) noexcept
    : text_(std::move(other.text_)),
      ends_(std::exchange(other.ends_, {})),
      port_(std::exchange(other.port_, 0)),
      queryParameters_(std::move(other.queryParameters_)) {
    other.text_.clear();
}

URL& URL::operator=(URL&& other) noexcept {
    if (this != &other) {
        text_ = std::move(other.text_);
        other.text_.clear();
        ends_ = std::exchange(other.ends_, {});
        port_ = std::exchange(other.port_, 0);
        queryParameters_ = std::move(other.queryParameters_);
    }
    return *this;
}

URL::~URL() = default;

void URL::parse(std::string_view text) {
    const std::size_t size = text.size();
    const std::string_view fragment = cutFrom(text, '#');
    std::string_view protocol;
    const std::size_t mark = text.find(protocolMark);
    if (mark != std::string_view::npos) {
        protocol = text.substr(0, mark == 0 ? 0 : mark + protocolMark.size());
        text.remove_prefix(mark + protocolMark.size());
    }
    // Deliberate: only a "/" ends the authority. "host?q=1" is a domain of that name, and user
    // information or a bracketed IPv6 address fails at its first ":" as a port that is no number.
    const std::size_t slash = std::min(text.find('/'), text.size());
    std::string_view path = text.substr(slash);
    const std::string_view authority = text.substr(0, slash);
    const std::size_t colon = authority.find(':');
    const std::string_view domain = authority.substr(0, colon);
    if (colon != std::string_view::npos) {
        port_ = parsePort(authority.substr(colon + 1));
    }
    const std::string_view query = cutFrom(path, '?');

    ends_[Protocol] = protocol.size();
    ends_[Domain] = ends_[Protocol] + domain.size();
    ends_[Path] = ends_[Domain] + path.size();
    ends_[Query] = ends_[Path] + query.size();
    // Protocol and domain follow each other as they were given, and so do path and query.
    text_.reserve(size);
    text_.append(domain.data() - protocol.size(), ends_[Domain]);
    text_.append(path.data(), path.size() + query.size());
    text_.append(fragment);
}

std::string_view URL::part(Part which) const noexcept {
    const std::size_t begin = which == Protocol ? 0 : ends_[which - 1];
    const std::size_t end = which == Fragment ? text_.size() : ends_[which];
    return {text_.data() + begin, end - begin};
}

void URL::setPart(Part which, std::string_view text) {
    const std::size_t begin = which == Protocol ? 0 : ends_[which - 1];
    const std::size_t formerSize = text_.size();
    text_.replace(begin, part(which).size(), text);
    // Wraps around where the text became shorter, and back again in the sum.
    const std::size_t growth = text_.size() - formerSize;
    for (std::size_t next = which; next < ends_.size(); ++next) {
        ends_[next] += growth;
    }
}

std::string URL::toAsciiString() const {
    if (port_ == 0) {
        return text_;
    }
    std::array<char, sizeof("65535")> digits{};
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), port_).ptr;
    const std::string_view port(digits.data(), static_cast<std::size_t>(end - digits.data()));
    std::string text;
    text.reserve(text_.size() + 1 + port.size());
    text.append(text_, 0, ends_[Domain]);
    text += ':';
    text += port;
    text.append(text_, ends_[Domain]);
    return text;
}

bool URL::operator==(const URL& other) const {
    if (port_ == other.port_ && ends_[Domain] == other.ends_[Domain]) {
        return text_ == other.text_;
    }
    // Other parts may still print the same text.
    return toAsciiString() == other.toAsciiString();
}

std::string URL::getProtocol() const {
    const std::string_view protocol = part(Protocol);
    return std::string(
        protocol.substr(0, protocol.empty() ? 0 : protocol.size() - protocolMark.size()));
}

void URL::setProtocol(std::string protocol) {
    if (!protocol.empty()) {
        protocol += protocolMark;
    }
    setPart(Protocol, protocol);
}

std::string URL::getDomain() const {
    return std::string(part(Domain));
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes values.
void URL::setDomain(std::string domain) {
    setPart(Domain, domain);
}

std::uint16_t URL::getPort() const noexcept {
    return port_;
}

void URL::setPort(std::uint16_t port) noexcept {
    port_ = port;
}

std::string URL::getPath() const {
    return std::string(part(Path));
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes values.
void URL::setPath(std::string path) {
    setPart(Path, path);
}

QueryParameters URL::getQueryParameters() const {
    if (queryParameters_ != nullptr) {
        return *queryParameters_;
    }
    QueryParameters parameters;
    parameters.parse(part(Query));
    return parameters;
}

void URL::setQueryParameters(QueryParameters queryParameters) {
    const auto set = std::make_shared<const QueryParameters>(std::move(queryParameters));
    setPart(Query, set->toUnencodedString());
    queryParameters_ = set;
}

std::string URL::getFragment() const {
    const std::string_view fragment = part(Fragment);
    return std::string(fragment.substr(fragment.empty() ? 0 : 1));
}

void URL::setFragment(std::string fragment) {
    if (!fragment.empty()) {
        fragment.insert(0, 1, '#');
    }
    setPart(Fragment, fragment);
}

bool URL::hasFragment() const noexcept {
    return !part(Fragment).empty();
}

std::ostream& operator<<(std::ostream& os, const URL& url) {
    return os << url.toAsciiString();
}

}  // namespace foundation::httpclient_core
