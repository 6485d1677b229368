#pragma once
#include <string_view>

namespace foundation::httpclient_tool {

/// Writes all bytes to a file descriptor, waiting where it must; also for a descriptor that some other
/// process has set to non-blocking.
/// @return 0, or the errno of the write that failed.
int writeAll(int descriptor, std::string_view bytes) noexcept;

/// The same, but ends as soon as `wake` can be read, also while nobody reads the other end of a pipe. A
/// part of the bytes may have been written then.
/// @return 0, the errno of the write that failed, or ECANCELED.
int writeAll(int descriptor, std::string_view bytes, int wake) noexcept;

}  // namespace foundation::httpclient_tool
