#include "tests/support/LoopbackServer.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace foundation::httpclient_core::testing {
namespace {

[[noreturn]] void throwSystemError(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool isFramed(const HeaderList& headers) {
    return std::any_of(headers.begin(), headers.end(), [](const auto& field) {
        return sameName(field.first, "Content-Length") ||
               sameName(field.first, "Transfer-Encoding");
    });
}

std::size_t toNumber(std::string_view text, int base) {
    std::size_t value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value, base);
    return value;
}

}  // namespace

bool ReceivedRequest::hasHeader(std::string_view name) const {
    return std::any_of(headers.begin(), headers.end(),
                       [name](const auto& field) { return sameName(field.first, name); });
}

std::string ReceivedRequest::header(std::string_view name) const {
    const std::vector<std::string> all = headersNamed(name);
    return all.empty() ? std::string() : all.front();
}

std::vector<std::string> ReceivedRequest::headersNamed(std::string_view name) const {
    std::vector<std::string> values;
    for (const auto& [fieldName, value] : headers) {
        if (sameName(fieldName, name)) {
            values.push_back(value);
        }
    }
    return values;
}

Connection::Connection(int socket, int number) : socket_(socket), number_(number) {}

Connection::~Connection() {
    close();
}

bool Connection::send(std::string_view bytes) {
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

bool Connection::sendResponse(int status,
                              std::string_view reason,
                              const HeaderList& headers,
                              std::string_view body) {
    std::string bytes = "HTTP/1.1 " + std::to_string(status) + " ";
    bytes += reason;
    bytes += "\r\n";
    for (const auto& [name, value] : headers) {
        bytes += name + ": " + value + "\r\n";
    }
    if (!isFramed(headers)) {
        bytes += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    bytes += "\r\n";
    if (method_ != "HEAD") {
        bytes += body;
    }
    return send(bytes);
}

void Connection::close() {
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) {
        // Read what is there first: closing with unread input would send a reset instead.
        std::array<char, 4096> rest{};
        while (::recv(socket_, rest.data(), rest.size(), MSG_DONTWAIT) > 0) {
        }
        ::close(socket_);
        socket_ = -1;
    }
}

void Connection::reset() {
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) {
        const linger abort{1, 0};
        ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abort, sizeof abort);
        ::close(socket_);
        socket_ = -1;
    }
}

bool Connection::pause(std::chrono::milliseconds time) {
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

void Connection::waitForPeerToClose() {
    pollfd watched{socket_, POLLRDHUP, 0};
    while (socket_ >= 0 && ::poll(&watched, 1, -1) < 0 && errno == EINTR) {
    }
}

void Connection::shutDown() {
    const std::lock_guard lock(mutex_);
    if (socket_ >= 0) {
        ::shutdown(socket_, SHUT_RDWR);
    }
}

bool Connection::readMore() {
    std::array<char, 16384> chunk{};
    for (;;) {
        const ssize_t got = ::recv(socket_, chunk.data(), chunk.size(), 0);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return false;
        }
        input_.append(chunk.data(), static_cast<std::size_t>(got));
        return true;
    }
}

bool Connection::readLine(std::string& line) {
    std::size_t end = 0;
    while ((end = input_.find("\r\n")) == std::string::npos) {
        if (!readMore()) {
            return false;
        }
    }
    line = input_.substr(0, end);
    input_.erase(0, end + 2);
    return true;
}

bool Connection::readExactly(std::size_t count, std::string& bytes) {
    while (input_.size() < count) {
        if (!readMore()) {
            return false;
        }
    }
    bytes.append(input_, 0, count);
    input_.erase(0, count);
    return true;
}

bool Connection::readChunked(std::string& body) {
    std::string line;
    for (;;) {
        if (!readLine(line)) {
            return false;
        }
        const std::size_t size = toNumber(line, 16);
        if (size == 0) {
            break;
        }
        if (!readExactly(size, body) || !readLine(line)) {
            return false;
        }
    }
    // The trailer section ends with an empty line.
    while (readLine(line)) {
        if (line.empty()) {
            return true;
        }
    }
    return false;
}

bool Connection::readRequest(ReceivedRequest& request) {
    std::string line;
    if (!readLine(line)) {
        return false;
    }
    const std::size_t first = line.find(' ');
    const std::size_t last = line.rfind(' ');
    if (first == std::string::npos || first == last) {
        return false;
    }
    request.method = line.substr(0, first);
    request.target = line.substr(first + 1, last - first - 1);
    request.connectionNumber = number_;
    while (readLine(line) && !line.empty()) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos) {
            return false;
        }
        request.headers.emplace_back(line.substr(0, colon),
                                     trimmed(std::string_view(line).substr(colon + 1)));
    }
    if (!line.empty()) {
        return false;
    }
    method_ = request.method;
    if (request.hasHeader("Expect")) {
        send("HTTP/1.1 100 Continue\r\n\r\n");
    }
    const std::string coding = request.header("Transfer-Encoding");
    if (sameName(coding.substr(coding.rfind(' ') + 1), "chunked")) {
        return readChunked(request.body);
    }
    return readExactly(toNumber(request.header("Content-Length"), 10), request.body);
}

LoopbackServer::LoopbackServer(Handler handler) : handler_(std::move(handler)) {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* generic = reinterpret_cast<sockaddr*>(&address);
    if (socket < 0 || ::bind(socket, generic, size) != 0 ||
        ::getsockname(socket, generic, &size) != 0) {
        throwSystemError("bind");
    }
    port_ = ntohs(address.sin_port);
    listenOn(socket);
}

LoopbackServer::LoopbackServer(Handler handler, const std::filesystem::path& path)
    : handler_(std::move(handler)), path_(path) {
    const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    if (socket < 0 ||
        ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        throwSystemError("bind");
    }
    listenOn(socket);
}

void LoopbackServer::listenOn(int socket) {
    listener_ = socket;
    if (::listen(listener_, SOMAXCONN) != 0) {
        throwSystemError("listen");
    }
    acceptor_ = std::thread([this] { acceptAll(); });
}

LoopbackServer::~LoopbackServer() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    // Wakes the acceptor; from then on no connection is added.
    ::shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    ::close(listener_);
    for (const auto& connection : connections_) {
        connection->shutDown();
    }
    for (std::thread& thread : threads_) {
        thread.join();
    }
    if (!path_.empty()) {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }
}

std::string LoopbackServer::url(std::string_view path) const {
    std::string text = "http://127.0.0.1:" + std::to_string(port_);
    text += path;
    return text;
}

std::vector<ReceivedRequest> LoopbackServer::requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
}

int LoopbackServer::requestCount() const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(requests_.size());
}

int LoopbackServer::connectionCount() const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(connections_.size());
}

void LoopbackServer::acceptAll() {
    for (;;) {
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0 && (errno == EINTR || errno == ECONNABORTED)) {
            continue;
        }
        const std::lock_guard lock(mutex_);
        if (socket < 0 || stopping_) {
            if (socket >= 0) {
                ::close(socket);
            }
            return;
        }
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        connections_.push_back(
            std::make_unique<Connection>(socket, static_cast<int>(connections_.size())));
        threads_.emplace_back(
            [this, connection = connections_.back().get()] { serve(*connection); });
    }
}

void LoopbackServer::serve(Connection& connection) {
    for (;;) {
        ReceivedRequest request;
        if (!connection.readRequest(request)) {
            break;
        }
        {
            const std::lock_guard lock(mutex_);
            request.number = static_cast<int>(requests_.size());
            requests_.push_back(request);
        }
        handler_(request, connection);
    }
    connection.close();
}

}  // namespace foundation::httpclient_core::testing
