#include "report/HeadText.h"

#include "text/LowerCase.h"
#include "text/SafeText.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace foundation::httpclient_tool {
namespace {

using namespace std::string_view_literals;

constexpr std::array shownNames = {"accept"sv,
                                   "accept-encoding"sv,
                                   "accept-language"sv,
                                   "accept-ranges"sv,
                                   "age"sv,
                                   "allow"sv,
                                   "cache-control"sv,
                                   "connection"sv,
                                   "content-disposition"sv,
                                   "content-encoding"sv,
                                   "content-language"sv,
                                   "content-length"sv,
                                   "content-range"sv,
                                   "content-type"sv,
                                   "date"sv,
                                   "etag"sv,
                                   "expires"sv,
                                   "host"sv,
                                   "if-match"sv,
                                   "if-modified-since"sv,
                                   "if-none-match"sv,
                                   "if-range"sv,
                                   "if-unmodified-since"sv,
                                   "keep-alive"sv,
                                   "last-modified"sv,
                                   "location"sv,
                                   "range"sv,
                                   "retry-after"sv,
                                   "server"sv,
                                   "strict-transport-security"sv,
                                   "transfer-encoding"sv,
                                   "user-agent"sv,
                                   "vary"sv,
                                   "via"sv};

}  // namespace

bool mayBeShown(const std::string& name) {
    return std::binary_search(shownNames.begin(), shownNames.end(), lowerCase(name));
}

std::string shownValue(const std::string& name, const std::string& value) {
    if (lowerCase(name) == "location") {
        return shownUrl(value);
    }
    // No other shown value needs a "?".
    const std::size_t query = value.find('?');
    return query == std::string::npos ? value : value.substr(0, query) + "?...";
}

std::string headText(httpclient_core::HttpResponseCode code,
                     const std::string& reason,
                     const httpclient_core::HttpHeaders& headers) {
    std::string text = withoutControlBytes("HTTP " + to_string(code) + " " + reason) + "\n";
    for (const auto& [name, value] : headers) {
        text += withoutControlBytes(name);
        text += ": ";
        text += withoutControlBytes(value);
        text += '\n';
    }
    return text + "\n";
}

std::vector<std::string> shownHeaders(const httpclient_core::HttpHeaders& headers) {
    std::vector<std::string> lines;
    for (const auto& [name, value] : headers) {
        lines.push_back(name + ": " + (mayBeShown(name) ? shownValue(name, value) : "(hidden)"));
    }
    return lines;
}

}  // namespace foundation::httpclient_tool
