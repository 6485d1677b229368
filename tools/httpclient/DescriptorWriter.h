#pragma once
#include <string_view>

namespace foundation::httpclient_tool {

/// Writes all bytes to a file descriptor, waiting where it must; also for a descriptor that some other
/// process has set to non-blocking.
/// @return 0, or the errno of the write that failed.
int writeAll(int descriptor, std::string_view bytes) noexcept;

}  // namespace foundation::httpclient_tool
