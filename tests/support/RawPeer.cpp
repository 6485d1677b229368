#include "tests/support/RawPeer.h"

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace foundation::httpclient_core::testing {
namespace {

void require(bool success, const char* what) {
    if (!success) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

}  // namespace

RawSocket::~RawSocket() {
    close();
}

std::string RawSocket::receive(std::size_t most) {
    std::string bytes(most, '\0');
    ssize_t got = 0;
    do {
        got = ::recv(socket_, bytes.data(), bytes.size(), 0);
    } while (got < 0 && errno == EINTR);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
}

std::string RawSocket::receiveUntil(std::string_view text, std::size_t most) {
    std::string bytes;
    while (bytes.size() < most && bytes.find(text) == std::string::npos) {
        const std::string more = receive(most - bytes.size());
        if (more.empty()) {
            break;
        }
        bytes += more;
    }
    return bytes;
}

bool RawSocket::send(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) {
            continue;
        }
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return socket_ >= 0;
}

void RawSocket::release() {
    ::close(socket_);
    socket_ = -1;
}

void RawSocket::close() {
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) {
        // With unread input the kernel would send a reset.
        std::array<char, 4096> rest{};
        while (::recv(socket_, rest.data(), rest.size(), MSG_DONTWAIT) > 0) {
        }
        release();
    }
}

void RawSocket::reset() {
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) {
        const linger abort{1, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        release();
    }
}

bool RawSocket::pause(std::chrono::milliseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left <= std::chrono::milliseconds::zero()) {
            return true;
        }
        pollfd watched{socket_, POLLRDHUP, 0};
        if (socket_ < 0 || ::poll(&watched, 1, static_cast<int>(left.count())) > 0) {
            return false;
        }
    }
}

void RawSocket::waitForPeerToClose() {
    pollfd watched{socket_, POLLRDHUP, 0};
    while (socket_ >= 0 && ::poll(&watched, 1, -1) < 0 && errno == EINTR) {
    }
}

void RawSocket::shutDown() {
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) {
        ::shutdown(socket_, SHUT_RDWR);
    }
}

RawPeer::RawPeer(Handler handler)
    : handler_(std::move(handler)), listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    require(::bind(listener_, generic, size) == 0, "bind");
    require(::getsockname(listener_, generic, &size) == 0, "getsockname");
    port_ = ntohs(address.sin_port);
    start();
}

RawPeer::RawPeer(Handler handler, const std::filesystem::path& path)
    : handler_(std::move(handler)),
      listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)),
      path_(path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    require(::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
            "bind");
    start();
}

void RawPeer::start() {
    require(::listen(listener_, SOMAXCONN) == 0, "listen");
    acceptor_ = std::thread([this] { acceptAll(); });
}

RawPeer::~RawPeer() {
    {
        const std::lock_guard lock(mutex_);
        stops_ = true;
    }
    // Wakes the acceptor; from then on no connection is added.
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    ::close(listener_);
    for (const auto& socket : sockets_) {
        socket->shutDown();
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
    if (!path_.empty()) {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
}

int RawPeer::connectionCount() const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(sockets_.size());
}

void RawPeer::acceptAll() {
    for (;;) {
        const int accepted = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (accepted < 0 && (errno == EINTR || errno == ECONNABORTED)) {
            continue;
        }
        if (accepted < 0) {
            return;
        }
        const int on = 1;
        ::setsockopt(accepted, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        auto socket = std::make_unique<RawSocket>(accepted);
        const std::lock_guard lock(mutex_);
        if (stops_) {
            return;
        }
        sockets_.push_back(std::move(socket));
        threads_.emplace_back(
            [this, peer = sockets_.back().get(), number = static_cast<int>(threads_.size())] {
                handler_(*peer, number);
                peer->close();
            });
    }
}

}  // namespace foundation::httpclient_core::testing
