#include "proxy/NoProxyList.h"

#include "request/HeaderText.h"

#include <arpa/inet.h>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

namespace foundation::httpclient_curl {
namespace {

std::optional<std::uint32_t> parseAddress(std::string_view text) {
    in_addr address{};
    // A NUL would end the text early for the parser.
    if (text.find('\0') != std::string_view::npos ||
        ::inet_pton(AF_INET, std::string(text).c_str(), &address) != 1) {
        return std::nullopt;
    }
    return ntohl(address.s_addr);
}

// The number at the beginning of what follows the slash; anything else is the whole address.
unsigned int prefixLength(std::string_view text) {
    int bits = 0;
    // NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage): the end is given as well
    std::from_chars(text.data(), text.data() + text.size(), bits);
    return static_cast<unsigned int>(bits);
}

bool isInNetwork(std::uint32_t address, std::string_view entry) {
    const std::size_t slash = std::min(entry.find('/'), entry.size());
    const std::optional<std::uint32_t> network = parseAddress(entry.substr(0, slash));
    const unsigned int bits = slash < entry.size() ? prefixLength(entry.substr(slash + 1)) : 0;
    if (!network.has_value() || bits > 32) {
        return false;
    }
    // Deliberate: a prefix of 0 asks for the same address, not for all of them.
    const std::uint32_t mask = bits == 0 ? UINT32_MAX : UINT32_MAX << (32 - bits);
    return ((address ^ *network) & mask) == 0;
}

std::string_view withoutTrailingDot(std::string_view text) {
    if (text.ends_with('.')) {
        text.remove_suffix(1);
    }
    return text;
}

bool isAtOrBelow(std::string_view host, std::string_view entry) {
    entry = withoutTrailingDot(entry);
    if (entry.starts_with('.')) {
        entry.remove_prefix(1);
    }
    if (entry.empty() || host.size() < entry.size()) {
        return false;
    }
    const std::size_t before = host.size() - entry.size();
    return sameName(host.substr(before), entry) && (before == 0 || host[before - 1] == '.');
}

}  // namespace

NoProxyList::NoProxyList(std::string text) : text_(std::move(text)) {}

bool NoProxyList::contains(std::string_view host) const {
    if (text_ == "*") {
        return true;
    }
    if (host.starts_with('[') && host.ends_with(']')) {
        host = host.substr(1, host.size() - 2);
    }
    const std::optional<std::uint32_t> address = parseAddress(host);
    host = withoutTrailingDot(host);
    std::string_view rest = text_;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find_first_of(", \t"), rest.size());
        const std::string_view entry = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        if (address.has_value() ? isInNetwork(*address, entry) : isAtOrBelow(host, entry)) {
            return true;
        }
    }
    return false;
}

}  // namespace foundation::httpclient_curl
