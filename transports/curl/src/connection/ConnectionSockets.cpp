#include "connection/ConnectionSockets.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <exception>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace foundation::httpclient_curl {
namespace {

std::string nameOf(const ConnectionSockets::Ends& ends) {
    std::string name = ends.localAddress;
    name.append(" ").append(std::to_string(ends.localPort)).append(" ");
    name.append(ends.remoteAddress).append(" ").append(std::to_string(ends.remotePort));
    return name;
}

int portOf(const sockaddr_storage& address) {
    if (address.ss_family == AF_INET) {
        sockaddr_in ip{};
        std::memcpy(&ip, &address, sizeof ip);
        return ntohs(ip.sin_port);
    }
    if (address.ss_family == AF_INET6) {
        sockaddr_in6 ip{};
        std::memcpy(&ip, &address, sizeof ip);
        return ntohs(ip.sin6_port);
    }
    return -1;
}

// The port of this end or of the peer's; -1 where there is none.
template <class Ask>
int portBy(Ask ask, curl_socket_t socket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): the interface of sockets
    return ask(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0 ? portOf(address) : -1;
}

}  // namespace

void ConnectionSockets::watch(CURL* easy, Opening& opening) {
    opening.sockets = this;
    setOption(easy, CURLOPT_OPENSOCKETFUNCTION, &ConnectionSockets::openCallback);
    setOption(easy, CURLOPT_OPENSOCKETDATA, &opening);
    setOption(easy, CURLOPT_CLOSESOCKETFUNCTION, &ConnectionSockets::closeCallback);
    setOption(easy, CURLOPT_CLOSESOCKETDATA, this);
}

void ConnectionSockets::connected(const Ends& ends) noexcept {
    try {
        const std::lock_guard lock(mutex_);
        const auto made =
            std::find_if(unnamed_.begin(), unnamed_.end(), [&ends](curl_socket_t socket) {
                return portBy(::getsockname, socket) == ends.localPort &&
                       portBy(::getpeername, socket) == ends.remotePort;
            });
        if (made != unnamed_.end()) {
            named_[nameOf(ends)] = *made;
            unnamed_.erase(made);
        }
        // Without memory a connection stays unknown, and is used unseen.
    } catch (const std::exception&) {  // NOLINT(bugprone-empty-catch): see above
    }
}

bool ConnectionSockets::hasUnread(const Ends& ends) const noexcept {
    try {
        const std::lock_guard lock(mutex_);
        const auto known = named_.find(nameOf(ends));
        if (known == named_.end()) {
            return false;
        }
        pollfd watched{known->second, POLLIN, 0};
        return ::poll(&watched, 1, 0) > 0;
    } catch (const std::exception&) {
        return false;
    }
}

curl_socket_t ConnectionSockets::openCallback(void* data,
                                              curlsocktype /*purpose*/,
                                              curl_sockaddr* address) {
    const curl_socket_t socket =
        ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    auto& opening = *static_cast<Opening*>(data);
    if (socket < 0) {
        opening.error = errno;
    } else if (address->family != AF_UNIX) {
        try {
            ConnectionSockets& sockets = *opening.sockets;
            const std::lock_guard lock(sockets.mutex_);
            sockets.unnamed_.push_back(socket);
        } catch (const std::exception&) {
            ::close(socket);
            return CURL_SOCKET_BAD;
        }
    }
    return socket;
}

int ConnectionSockets::closeCallback(void* self, curl_socket_t socket) {
    auto& sockets = *static_cast<ConnectionSockets*>(self);
    {
        const std::lock_guard lock(sockets.mutex_);
        std::erase(sockets.unnamed_, socket);
        std::erase_if(sockets.named_,
                      [socket](const auto& named) { return named.second == socket; });
    }
    return ::close(socket);
}

}  // namespace foundation::httpclient_curl
