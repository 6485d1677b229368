#include "fuzz/support/SocketPeer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <fcntl.h>
#include <mutex>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace foundation::fuzz {
namespace {

std::atomic<SocketPeer*> currentPeer = nullptr;
// Attempts of the asynchronous road connect on threads of the client.
std::mutex peerMutex;

}  // namespace

SocketPeer::SocketPeer(std::vector<std::string> answers, std::size_t mostPerRead)
    : answers_(std::move(answers)), mostPerRead_(mostPerRead) {
    currentPeer = this;
}

SocketPeer::~SocketPeer() {
    currentPeer = nullptr;
    for (const int end : ends_) {
        ::close(end);
    }
}

SocketPeer* SocketPeer::current() {
    return currentPeer;
}

std::size_t SocketPeer::connections() const {
    const std::lock_guard lock(peerMutex);
    return ends_.size();
}

std::size_t SocketPeer::limit(std::size_t wanted) const {
    return mostPerRead_ == 0 ? wanted : std::min(wanted, mostPerRead_);
}

int SocketPeer::connect(int socket) {
    const std::lock_guard lock(peerMutex);
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return -1;
    }
    const std::string answer = ends_.size() < answers_.size() ? answers_[ends_.size()] : "";
    ends_.push_back(ends[1]);
    // Answers are small: a socket takes a hundred kilobytes at once.
    std::size_t sent = 0;
    while (sent < answer.size()) {
        const ssize_t count =
            ::send(ends[1], answer.data() + sent, answer.size() - sent, MSG_NOSIGNAL);
        if (count <= 0) {
            break;
        }
        sent += static_cast<std::size_t>(count);
    }
    ::shutdown(ends[1], SHUT_WR);
    const int result = ::dup3(ends[0], socket, O_CLOEXEC) < 0 ? -1 : 0;
    ::close(ends[0]);
    return result;
}

}  // namespace foundation::fuzz

// Replace the C library's for the whole program, so that libcurl calls them.
extern "C" {

__attribute__((visibility("default"))) int connect(int socket,
                                                   const sockaddr* address,
                                                   socklen_t size) {
    if (foundation::fuzz::SocketPeer* peer = foundation::fuzz::SocketPeer::current()) {
        return peer->connect(socket);
    }
    return static_cast<int>(::syscall(SYS_connect, socket, address, size));
}

__attribute__((visibility("default"))) ssize_t recv(int socket,
                                                    void* buffer,
                                                    std::size_t size,
                                                    int flags) {
    if (const foundation::fuzz::SocketPeer* peer = foundation::fuzz::SocketPeer::current()) {
        size = peer->limit(size);
    }
    return ::syscall(SYS_recvfrom, socket, buffer, size, flags, nullptr, nullptr);
}

}  // extern "C"
