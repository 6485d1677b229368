#pragma once
#include <string>

namespace foundation::httpclient_curl {

/// What decides whether credentials for one URL may go to another.
struct Origin {
    std::string scheme;
    std::string host;
    std::string port;

    bool operator==(const Origin&) const = default;
};

}  // namespace foundation::httpclient_curl
