#pragma once
#include <cstdint>
#include <limits>

namespace foundation::httpclient_core {

/// The largest body that one stream carries, in bytes. The same on every platform, whatever the string
/// type of the platform could hold.
inline constexpr std::uint64_t largestStreamSize = std::numeric_limits<std::int32_t>::max();

/// Throws std::bad_alloc for a body that is longer than largestStreamSize.
void requireStreamSize(std::uint64_t size);

}  // namespace foundation::httpclient_core
