#include <foundation/httpclient_core/HttpMethod.h>

#include <algorithm>
#include <array>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::httpclient_core {
namespace {

constexpr std::array<std::pair<HttpMethod, std::string_view>, 6> methods{{
    {HttpMethod::GET, "GET"},
    {HttpMethod::POST, "POST"},
    {HttpMethod::DELETE, "DELETE"},
    {HttpMethod::PUT, "PUT"},
    {HttpMethod::HEAD, "HEAD"},
    {HttpMethod::PATCH, "PATCH"},
}};

}  // namespace

std::ostream& operator<<(std::ostream& os, HttpMethod method) {
    const auto* entry =
        std::find_if(methods.begin(), methods.end(),
                     [method](const auto& candidate) { return candidate.first == method; });
    return os << (entry != methods.end() ? entry->second : "UNKNOWN");
}

HttpMethod createHttpMethod(const std::string& method) {
    const auto* entry =
        std::find_if(methods.begin(), methods.end(),
                     [&method](const auto& candidate) { return candidate.second == method; });
    if (entry == methods.end()) {
        throw std::out_of_range("invalid map<K, T> key");
    }
    return entry->first;
}

}  // namespace foundation::httpclient_core
