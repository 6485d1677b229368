#pragma once
#include <stdexcept>
#include <string>

namespace examples {

/// Ends an example that does not do what it says.
inline void require(bool condition, const std::string& what) {
    if (!condition) {
        throw std::runtime_error("wrong result: " + what);
    }
}

}  // namespace examples
