#pragma once
#include <cstddef>
#include <stdexcept>

namespace foundation::httpclient_core {

/// Throws std::length_error(message) when a container of `size` elements is as large as it can be. The
/// standard containers of this platform never report it themselves.
inline void requireRoomForOneMore(std::size_t size, std::size_t maxSize, const char* message) {
    if (size >= maxSize) {
        throw std::length_error(message);
    }
}

}  // namespace foundation::httpclient_core
