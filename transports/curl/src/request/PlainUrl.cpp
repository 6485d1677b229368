#include "request/PlainUrl.h"

#include "request/WholeNumber.h"

#include <algorithm>
#include <cstddef>

namespace foundation::httpclient_curl {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLower(char c) {
    return c >= 'a' && c <= 'z';
}

// A decimal number from `least` to `most`, without a sign or leading zeros.
bool isNumber(std::string_view text, unsigned int least, unsigned int most) {
    const std::optional<unsigned int> number = wholeNumber<unsigned int>(text);
    return number.has_value() && *number >= least && *number <= most &&
           (text.size() == 1 || text.front() != '0');
}

bool isAddress(std::string_view host) {
    int numbers = 0;
    for (;;) {
        const std::size_t dot = host.find('.');
        if (!isNumber(host.substr(0, dot), 0, 255)) {
            return false;
        }
        ++numbers;
        if (dot == std::string_view::npos) {
            return numbers == 4;
        }
        host.remove_prefix(dot + 1);
    }
}

// Whose last label begins with a letter cannot be taken for a number in some notation.
bool isName(std::string_view host) {
    const std::size_t last = host.rfind('.') + 1;
    return last < host.size() && isLower(host[last]) &&
           std::all_of(
               host.begin(), host.end(),
               [](char c) { return isLower(c) || isDigit(c) || c == '-' || c == '.'; });
}

}  // namespace

std::optional<Origin> originOfPlainUrl(std::string_view url) {
    constexpr std::string_view separator = "://";
    // Longer ones are refused by libcurl.
    constexpr std::size_t longest = 65536;
    const std::size_t schemeEnd = std::min(url.find(separator), url.size());
    const std::string_view scheme = url.substr(0, schemeEnd);
    if ((scheme != "http" && scheme != "https") || url.size() > longest || url.ends_with('?') ||
        url.find('#') != std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t begin = schemeEnd + separator.size();
    const std::size_t slash = url.find('/', begin);
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view authority = url.substr(begin, slash - begin);
    const std::size_t colon = authority.find(':');
    const std::string_view host = authority.substr(0, colon);
    if (!isName(host) && !isAddress(host)) {
        return std::nullopt;
    }
    std::string_view port = scheme == "http" ? "80" : "443";
    if (colon != std::string_view::npos) {
        port = authority.substr(colon + 1);
        if (!isNumber(port, 1, 65535)) {
            return std::nullopt;
        }
    }
    return Origin{std::string(scheme), std::string(host), std::string(port)};
}

}  // namespace foundation::httpclient_curl
