#pragma once
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::httpclient_curl {

/// One challenge of a Proxy-Authenticate field (RFC 9110 11.6.1).
struct AuthChallenge {
    std::string scheme;
    /// Names as they came; values without quotes and escapes.
    std::vector<std::pair<std::string, std::string>> parameters;

    /// Whether the challenge is of that scheme, in any letter case.
    bool isOf(std::string_view name) const;
    /// The value of the first parameter of that name in any letter case; empty where there is none.
    std::string parameter(std::string_view name) const;
};

/// The challenges of one field value, in order. What is malformed is skipped.
std::vector<AuthChallenge> parseChallenges(std::string_view value);

}  // namespace foundation::httpclient_curl
