#pragma once
#include <functional>
#include <string>

namespace foundation::httpclient_core {

/// The encoder for texts that are printed as they are stored.
inline std::string identityEncoder(std::string text) {
    return text;
}

/// Whether that is the encoder: there is then no need to call it.
inline bool isIdentityEncoder(const std::function<std::string(std::string)>& encoder) noexcept {
    const auto* function = encoder.target<std::string (*)(std::string)>();
    return function != nullptr && *function == identityEncoder;
}

}  // namespace foundation::httpclient_core
