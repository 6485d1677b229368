#pragma once
#include <cerrno>
#include <unistd.h>

namespace foundation::httpclient_tool {

/// Makes a call to the system, again as long as a signal interrupts it: on some file systems also calls that wait
/// for no more than a disk.
template <class Call>
int uninterrupted(const Call& call) {
    for (;;) {
        const int result = call();
        if (result >= 0 || errno != EINTR) {
            return result;
        }
    }
}

/// Closes a descriptor. Not again after an interruption: it is closed then as well, and its number may belong to
/// another thread's file.
inline int closeOnce(int descriptor) noexcept {
    const int result = ::close(descriptor);
    return result < 0 && errno == EINTR ? 0 : result;
}

}  // namespace foundation::httpclient_tool
