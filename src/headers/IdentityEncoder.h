#pragma once
#include <string>

namespace foundation::httpclient_core {

/// The encoder for texts that are printed as they are stored.
inline std::string identityEncoder(std::string text) {
    return text;
}

}  // namespace foundation::httpclient_core
