#pragma once
#include <string>

namespace foundation::httpclient_curl::testing {

/// While one lives, the look-up of its host name does not return. The tests' program has a getaddrinfo
/// of its own for that, which passes every other name on.
class HangingResolver {
public:
    HangingResolver();
    HangingResolver(const HangingResolver&) = delete;
    HangingResolver& operator=(const HangingResolver&) = delete;
    /// Lets all look-ups that hang fail.
    ~HangingResolver();

    std::string host() const;
    /// Waits until somebody looks the name up. False when it takes longer than ten seconds.
    bool awaitLookUp();
};

}  // namespace foundation::httpclient_curl::testing
