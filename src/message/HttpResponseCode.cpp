#include <foundation/httpclient_core/HttpResponseCode.h>

#include <foundation/httpclient_core/HttpResponse.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace foundation::httpclient_core {
namespace {

struct Reason {
    std::int32_t code;
    std::string_view phrase;
};

// In ascending order of the codes, for the binary search.
// Deliberate: "IM Used" stands at 209 (226 has no phrase) and 306 is "Switch Proxy"; both differ from
// the registered codes, and programs compare with these texts.
constexpr std::array<Reason, 63> reasons{{
    {-1, "Request Not Made"},
    {0, "Response Not Received"},
    {100, "Continue"},
    {101, "Switching Protocols"},
    {102, "Processing"},
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {203, "Non-Authoritative Information"},
    {204, "No Content"},
    {205, "Reset Content"},
    {206, "Partial Content"},
    {207, "Multi-Status"},
    {208, "Already Reported"},
    {209, "IM Used"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {305, "Use Proxy"},
    {306, "Switch Proxy"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Payload Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Range Not Satisfiable"},
    {417, "Expectation Failed"},
    {418, "I'm a Teapot"},
    {421, "Misdirected Request"},
    {422, "Unprocessable Entity"},
    {423, "Locked"},
    {424, "Failed Dependency"},
    {426, "Upgrade Required"},
    {428, "Precondition Required"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {451, "Unavailable For Legal Reasons"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {506, "Variant Also Negotiates"},
    {507, "Insufficient Storage"},
    {508, "Loop Detected"},
    {510, "Not Extended"},
    {511, "Network Authentication Required"},
}};

static_assert(std::is_sorted(reasons.begin(), reasons.end(), [](const Reason& a, const Reason& b) {
    return a.code < b.code;
}));

constexpr bool isInClass(HttpResponseCode code, std::uint32_t first) noexcept {
    // The pseudo codes wrap to large numbers, so they belong to no class.
    return static_cast<std::uint32_t>(code) - first <= 99;
}

}  // namespace

std::string getReasonStringForCode(HttpResponseCode code) {
    const auto number = static_cast<std::int32_t>(code);
    const auto* entry = std::lower_bound(
        reasons.begin(), reasons.end(), number,
        [](const Reason& candidate, std::int32_t sought) { return candidate.code < sought; });
    if (entry == reasons.end() || entry->code != number) {
        return {};
    }
    return std::string(entry->phrase);
}

std::string to_string(HttpResponseCode code) {
    return std::to_string(static_cast<std::int32_t>(code));
}

std::ostream& operator<<(std::ostream& os, HttpResponseCode code) {
    return os << to_string(code);
}

bool isInformational(HttpResponseCode code) noexcept {
    return isInClass(code, 100);
}

bool isSuccess(HttpResponseCode code) noexcept {
    return isInClass(code, 200);
}

bool isRedirection(HttpResponseCode code) noexcept {
    return isInClass(code, 300);
}

bool isClientError(HttpResponseCode code) noexcept {
    return isInClass(code, 400);
}

bool isServerError(HttpResponseCode code) noexcept {
    return isInClass(code, 500);
}

bool isInformational(const HttpResponse& response) {
    return isInformational(response.getResponseCode());
}

bool isSuccess(const HttpResponse& response) {
    return isSuccess(response.getResponseCode());
}

bool isRedirection(const HttpResponse& response) {
    return isRedirection(response.getResponseCode());
}

bool isClientError(const HttpResponse& response) {
    return isClientError(response.getResponseCode());
}

bool isServerError(const HttpResponse& response) {
    return isServerError(response.getResponseCode());
}

}  // namespace foundation::httpclient_core
