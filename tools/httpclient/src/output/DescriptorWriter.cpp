#include "output/DescriptorWriter.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

bool isRegular(int descriptor) noexcept {
    struct stat status{};
    return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

// 0 when the descriptor takes bytes, else why not.
int waitUntilWritable(int descriptor, int wake) noexcept {
    std::array<pollfd, 2> ends = {pollfd{.fd = descriptor, .events = POLLOUT, .revents = 0},
                                  pollfd{.fd = wake, .events = POLLIN, .revents = 0}};
    while (ends[0].revents == 0 && ends[1].revents == 0) {
        if (::poll(ends.data(), ends.size(), -1) < 0 && errno != EINTR) {
            return errno;
        }
    }
    return ends[1].revents != 0 ? ECANCELED : 0;
}

}  // namespace

int writeAll(int descriptor, std::string_view bytes) noexcept {
    return writeAll(descriptor, bytes, -1);
}

int writeAll(int descriptor, std::string_view bytes, int wake) noexcept {
    const bool mayBlock = !isRegular(descriptor);
    while (!bytes.empty()) {
        // A pipe that is writable takes this much without blocking, and nothing can wake a blocked write.
        const std::size_t size =
            mayBlock ? std::min<std::size_t>(bytes.size(), PIPE_BUF) : bytes.size();
        const int waitError = mayBlock ? waitUntilWritable(descriptor, wake) : 0;
        if (waitError != 0) {
            return waitError;
        }
        const ssize_t written = ::write(descriptor, bytes.data(), size);
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR && errno != EAGAIN) {
            return errno;
        }
    }
    return 0;
}

}  // namespace foundation::httpclient_tool
