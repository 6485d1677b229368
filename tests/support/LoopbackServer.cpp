#include "tests/support/LoopbackServer.h"

#include <algorithm>
#include <charconv>
#include <strings.h>

namespace foundation::httpclient_core::testing {
namespace {

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

bool Connection::readMore() {
    const std::string more = socket_.receive();
    input_ += more;
    return !more.empty();
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

LoopbackServer::LoopbackServer(Handler handler)
    : handler_(std::move(handler)),
      peer_([this](RawSocket& socket, int number) { serve(socket, number); }) {}

LoopbackServer::LoopbackServer(Handler handler, const std::filesystem::path& path)
    : handler_(std::move(handler)),
      peer_([this](RawSocket& socket, int number) { serve(socket, number); }, path) {}

std::string LoopbackServer::url(std::string_view path) const {
    std::string text = "http://127.0.0.1:" + std::to_string(port());
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

void LoopbackServer::serve(RawSocket& socket, int number) {
    Connection connection(socket, number);
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
}

}  // namespace foundation::httpclient_core::testing
