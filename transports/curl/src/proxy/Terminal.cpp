#include "proxy/Terminal.h"

#include <cerrno>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace foundation::httpclient_curl {

Terminal::Terminal() : file_(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {
    // In the background the first change of the settings would stop the process.
    if (file_ >= 0 && ::tcgetpgrp(file_) == ::getpgrp() && ::tcgetattr(file_, &former_) == 0) {
        take();
    }
}

Terminal::~Terminal() {
    release();
    if (file_ >= 0) {
        ::close(file_);
    }
}

void Terminal::take() {
    termios ours = former_;
    ours.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | ISIG);
    ours.c_cc[VMIN] = 1;
    ours.c_cc[VTIME] = 0;
    isTaken_ = set(TCSAFLUSH, ours);
}

void Terminal::release() {
    if (isTaken_) {
        isTaken_ = false;
        set(TCSADRAIN, former_);
    }
}

bool Terminal::set(int when, const termios& settings) const {
    int result = -1;
    do {
        result = ::tcsetattr(file_, when, &settings);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

void Terminal::print(std::string_view text) const {
    while (!text.empty()) {
        const ssize_t written = ::write(file_, text.data(), text.size());
        if (written < 0 && errno != EINTR) {
            return;
        }
        text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
}

Terminal::Input Terminal::readKey(int milliseconds, char& key) const {
    pollfd watched{file_, POLLIN, 0};
    const int ready = ::poll(&watched, 1, milliseconds);
    if (ready <= 0) {
        return ready == 0 || errno == EINTR ? Input::None : Input::End;
    }
    // Whoever asks meanwhile has to wait for this user's answer.
    // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection): poll found a byte
    const ssize_t got = ::read(file_, &key, 1);
    if (got == 1) {
        return Input::Key;
    }
    return got < 0 && errno == EINTR ? Input::None : Input::End;
}

bool Terminal::isKey(char key, int purpose) const {
    const cc_t own = former_.c_cc[purpose];
    return own != _POSIX_VDISABLE && static_cast<cc_t>(key) == own;
}

}  // namespace foundation::httpclient_curl
