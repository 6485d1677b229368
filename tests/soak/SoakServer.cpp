#include "tests/soak/SoakServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace foundation::httpclient_curl::testing {
namespace {

constexpr std::array names{"well", "chunked", "put",   "redirect", "resume",  "page",   "busy",
                           "cut",  "broken",  "reset", "chunks",   "lengths", "silent", "drip"};
static_assert(names.size() == static_cast<std::size_t>(SoakKind::Count));

SoakKind kindOf(std::string_view name) {
    return static_cast<SoakKind>(std::find(names.begin(), names.end(), name) - names.begin());
}

/// One connection, on a thread of its own.
class Visitor {
public:
    explicit Visitor(int socket) : socket_(socket) {}
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;
    ~Visitor() { ::close(socket_); }

    void serve() {
        while (readHead() && answer()) {
        }
    }

private:
    bool readMore() {
        std::array<char, 16384> bytes{};
        const ssize_t got = ::recv(socket_, bytes.data(), bytes.size(), 0);
        if (got > 0) {
            input_.append(bytes.data(), static_cast<std::size_t>(got));
        }
        return got > 0;
    }

    bool readHead() {
        std::size_t end = 0;
        while ((end = input_.find("\r\n\r\n")) == std::string::npos) {
            if (!readMore()) {
                return false;
            }
        }
        head_ = input_.substr(0, end + 2);
        input_.erase(0, end + 4);
        return true;
    }

    std::size_t numberBehind(const std::string& text) const {
        const std::size_t at = head_.find(text);
        return at == std::string::npos ? 0 : std::strtoull(&head_[at + text.size()], nullptr, 10);
    }

    bool send(std::string_view bytes) {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) {
                return false;
            }
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    bool sendWhole(int status, const std::string& fields, const std::string& body) {
        return send("HTTP/1.1 " + std::to_string(status) + " Answer\r\n" + fields +
                    "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
    }

    void waitForEnd(std::chrono::milliseconds most) const {
        pollfd watched{socket_, POLLRDHUP, 0};
        ::poll(&watched, 1, static_cast<int>(most.count()));
    }

    // False when the connection ends.
    bool answer() {
        std::istringstream line(head_);
        std::string method;
        std::string target;
        line >> method >> target;
        std::replace(target.begin(), target.end(), '/', ' ');
        std::istringstream parts(target);
        std::string name;
        std::size_t size = 0;
        std::uint64_t number = 0;
        parts >> name >> size >> number;
        const std::string body = soakBody(size, number);
        const std::string length = "Content-Length: " + std::to_string(size) + "\r\n";
        constexpr const char* ok = "HTTP/1.1 200 OK\r\n";
        switch (kindOf(name)) {
            case SoakKind::Well:
                return sendWhole(200, "", body);
            case SoakKind::Chunked: {
                std::ostringstream text;
                text << ok << "Transfer-Encoding: chunked\r\n\r\n";
                for (std::size_t at = 0; at < body.size(); at += 1000) {
                    const std::string chunk = body.substr(at, 1000);
                    text << std::hex << chunk.size() << "\r\n" << chunk << "\r\n";
                }
                return send(text.str() + "0\r\n\r\n");
            }
            case SoakKind::Put: {
                const std::size_t expected = numberBehind("Content-Length: ");
                while (input_.size() < expected) {
                    if (!readMore()) {
                        return false;
                    }
                }
                const bool isRight = input_.substr(0, expected) == body;
                input_.erase(0, expected);
                return sendWhole(isRight ? 200 : 400, "", std::to_string(expected));
            }
            case SoakKind::Redirect:
                return sendWhole(302,
                                 "Location: /well/" + std::to_string(size) + "/" +
                                     std::to_string(number) + "\r\n",
                                 "moved");
            case SoakKind::Resume: {
                const std::size_t first = numberBehind("Range: bytes=");
                const std::string fields = "ETag: \"v\"\r\nAccept-Ranges: bytes\r\n";
                if (head_.find("\r\nRange: ") == std::string::npos) {
                    send(ok + fields + length + "\r\n" + body.substr(0, size / 2));
                    return false;
                }
                return sendWhole(206,
                                 fields + "Content-Range: bytes " + std::to_string(first) + "-" +
                                     std::to_string(size - 1) + "/" + std::to_string(size) + "\r\n",
                                 body.substr(first));
            }
            case SoakKind::Page:
                return sendWhole(404, "", "page");
            case SoakKind::Busy:
                return sendWhole(503, "Retry-After: 0\r\n", "page");
            case SoakKind::CutHead:
                send("HTTP/1.1 200 OK\r\nContent-Le");
                return false;
            case SoakKind::CutBody:
                send(ok + length + "\r\n" + body.substr(0, size - 1));
                return false;
            case SoakKind::Reset: {
                send(ok + length + "\r\n" + body.substr(0, size / 2));
                const linger abort{1, 0};
                ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
                return false;
            }
            case SoakKind::BadChunk:
                send(std::string(ok) + "Transfer-Encoding: chunked\r\n\r\n5\r\nHello\r\nzz\r\n");
                return false;
            case SoakKind::TwoLengths:
                send(ok + length + "Content-Length: 1\r\n\r\n" + body);
                return false;
            case SoakKind::Silent:
                waitForEnd(std::chrono::seconds(20));
                return false;
            case SoakKind::Drip:
                send(ok + length + "\r\n");
                for (std::size_t part = 0; part < 4; ++part) {
                    send(body.substr(part * size / 4, (part + 1) * size / 4 - part * size / 4));
                    waitForEnd(std::chrono::milliseconds(2));
                }
                return true;
            default:
                return sendWhole(500, "", "no such kind");
        }
    }

    int socket_;
    std::string input_;
    std::string head_;
};

}  // namespace

std::string nameOf(SoakKind kind) {
    return names.at(static_cast<std::size_t>(kind));
}

bool isFaulty(SoakKind kind) {
    return kind != SoakKind::Well && kind != SoakKind::Chunked && kind != SoakKind::Put;
}

std::string soakBody(std::size_t size, std::uint64_t number) {
    std::string body(size, '\0');
    // A congruential sequence; its upper bits are random enough for this.
    std::uint64_t state = number * 2 + 1;
    for (char& byte : body) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        byte = static_cast<char>(state >> 56U);
    }
    return body;
}

int serveSoak() {
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener, generic, size) != 0 || ::listen(listener, SOMAXCONN) != 0 ||
        ::getsockname(listener, generic, &size) != 0) {
        return 1;
    }
    std::printf("%d\n", int{ntohs(address.sin_port)});
    std::fflush(stdout);
    std::array<pollfd, 2> watched{{{STDIN_FILENO, POLLIN, 0}, {listener, POLLIN, 0}}};
    for (;;) {
        if (::poll(watched.data(), watched.size(), -1) < 0) {
            continue;
        }
        if (watched[0].revents != 0) {
            // The threads go with the process.
            std::_Exit(0);
        }
        const int socket = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket >= 0) {
            const int on = 1;
            ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
            std::thread([socket] { Visitor(socket).serve(); }).detach();
        }
    }
}

SoakServer::SoakServer(const std::string& program) {
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0 || ::pipe2(output.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    std::string path = program;
    std::string word = "serve";
    std::array<char*, 3> arguments{path.data(), word.data(), nullptr};
    const int error =
        ::posix_spawn(&process_, path.c_str(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    ::close(output[1]);
    input_ = input[1];
    std::array<char, 16> text{};
    if (error == 0 && ::read(output[0], text.data(), text.size() - 1) > 0) {
        port_ = std::atoi(text.data());
    }
    ::close(output[0]);
    if (port_ == 0) {
        throw std::runtime_error("no server");
    }
}

SoakServer::~SoakServer() {
    ::close(input_);
    int status = 0;
    ::waitpid(process_, &status, 0);
}

}  // namespace foundation::httpclient_curl::testing
