#pragma once
#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// Listens on 127.0.0.1, takes connections and never says a word. With a full queue it does not even
/// take the connections; without a queue they are refused, and its port is nobody else's as long as it lives.
class SilentPeer {
public:
    enum class Queue { Open, Full, None };

    explicit SilentPeer(Queue queue = Queue::Open)
        : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(listener_, generic, size) != 0 ||
            (queue != Queue::None && ::listen(listener_, queue == Queue::Open ? 16 : 0) != 0) ||
            ::getsockname(listener_, generic, &size) != 0) {
            throw std::runtime_error("no listener");
        }
        port_ = ntohs(address.sin_port);
        for (int i = 0; queue == Queue::Full && i < 3; ++i) {
            sockets_.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
            ::connect(sockets_.back(), generic, size);
        }
    }
    SilentPeer(const SilentPeer&) = delete;
    SilentPeer& operator=(const SilentPeer&) = delete;
    ~SilentPeer() {
        for (const int socket : sockets_) {
            ::close(socket);
        }
        ::close(listener_);
    }

    /// "127.0.0.1:PORT".
    std::string authority() const { return "127.0.0.1:" + std::to_string(port_); }

    /// Waits until a client connects and sends its first bytes, of which it reads one. False when it
    /// takes longer than ten seconds.
    bool awaitBytes() {
        if (!isReadable(listener_)) {
            return false;
        }
        sockets_.push_back(::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC));
        char byte = 0;
        return isReadable(sockets_.back()) && ::recv(sockets_.back(), &byte, 1, 0) == 1;
    }

private:
    static bool isReadable(int socket) {
        constexpr int patience = 10000;
        pollfd entry{.fd = socket, .events = POLLIN, .revents = 0};
        return ::poll(&entry, 1, patience) == 1;
    }

    int listener_;
    std::uint16_t port_ = 0;
    std::vector<int> sockets_;
};

}  // namespace foundation::httpclient_curl::testing
