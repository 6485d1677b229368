#include "command/UrlArgument.h"

#include "report/Failure.h"
#include "text/LowerCase.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <string_view>

namespace foundation::httpclient_tool {
namespace {

void requirePort(std::string_view text) {
    std::uint16_t port = 0;
    const char* end = std::to_address(text.end());
    const auto [stop, error] = std::from_chars(std::to_address(text.begin()), end, port);
    if (error != std::errc() || stop != end || port == 0) {
        throw Failure(ExitCode::Usage, "the port in the URL must be a number from 1 to 65535");
    }
}

void requireHost(std::string_view authority) {
    if (authority.find('@') != std::string_view::npos) {
        throw Failure(
            ExitCode::Usage,
            "a user name or password in the URL is not supported; use -H 'Authorization: ...'");
    }
    if (authority.find('[') != std::string_view::npos) {
        throw Failure(ExitCode::Usage,
                      "an IPv6 address in the URL is not supported; use a host name");
    }
    const std::size_t colon = authority.find(':');
    if (authority.empty() || colon == 0) {
        throw Failure(ExitCode::Usage, "the URL has no host");
    }
    if (colon != std::string_view::npos) {
        requirePort(authority.substr(colon + 1));
    }
}

}  // namespace

httpclient_core::URL parseUrlArgument(const std::string& text) {
    if (std::any_of(text.begin(), text.end(),
                    [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; })) {
        throw Failure(ExitCode::Usage, "the URL has a control character");
    }
    const std::size_t marker = text.find("://");
    const std::string scheme = lowerCase(std::string_view(text).substr(0, marker));
    const bool secure = scheme == "https";
    if (marker == std::string::npos || (!secure && scheme != "http")) {
        throw Failure(ExitCode::Usage, "the URL must begin with http:// or https://");
    }
    const std::size_t start = marker + 3;
    const std::size_t end = std::min(text.find_first_of("/?#", start), text.size());
    requireHost(std::string_view(text).substr(start, end - start));
    std::string rest = text.substr(start);
    if (end < text.size() && text[end] == '?') {
        rest.insert(end - start, 1, '/');
    }
    return {(secure ? "https://" : "http://") + rest};
}

std::string remoteName(const std::string& url) {
    const std::size_t marker = url.find("://");
    const std::size_t start = marker == std::string::npos ? 0 : marker + 3;
    const std::size_t end = std::min(url.find_first_of("?#", start), url.size());
    const std::size_t slash = url.rfind('/', end == 0 ? 0 : end - 1);
    std::string name = slash == std::string::npos || slash < start
                           ? std::string()
                           : url.substr(slash + 1, end - slash - 1);
    if (name.empty() || name == "." || name == "..") {
        throw Failure(ExitCode::Usage, "the URL's path names no file for -O; use -o FILE");
    }
    return name;
}

}  // namespace foundation::httpclient_tool
