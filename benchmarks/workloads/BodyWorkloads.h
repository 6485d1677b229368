#pragma once
#include "benchmarks/support/Row.h"

#include <algorithm>
#include <cstddef>
#include <string>

namespace foundation::httpclient_core::benchmarks {

/// Keeps a response body of `size` bytes in memory, written as a transport writes it: in pieces of
/// 16 kB. A `Side` has make(), which returns a pointer to the stream.
template <class Side, class Visit>
void bodyWorkload(const Row& row, std::size_t size, const Visit& visit) {
    visit(row, [size] {
        return [size, piece = std::string(16384, 'x')] {
            auto stream = Side::make();
            for (std::size_t written = 0; written < size;) {
                const std::size_t count = std::min(piece.size(), size - written);
                stream->write(piece.data(), static_cast<std::streamsize>(count));
                written += count;
            }
            return stream;
        };
    });
}

}  // namespace foundation::httpclient_core::benchmarks
