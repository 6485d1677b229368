#include "tests/faults/matrix/Wire.h"

#include <algorithm>
#include <charconv>
#include <random>
#include <sstream>

namespace foundation::httpclient_curl::testing {

std::string patterned(std::size_t size, unsigned int number) {
    std::mt19937 engine(number + 1);
    std::string bytes(size, '\0');
    for (char& byte : bytes) {
        byte = static_cast<char>(engine() & 0xFFU);
    }
    return bytes;
}

std::string headOf(int status, const std::string& fields) {
    return "HTTP/1.1 " + std::to_string(status) + " Answer\r\n" + fields + "\r\n";
}

std::string lengthField(std::size_t length) {
    return "Content-Length: " + std::to_string(length) + "\r\n";
}

std::string inChunks(std::string_view body, std::size_t size) {
    std::ostringstream bytes;
    while (!body.empty()) {
        const std::string_view chunk = body.substr(0, size);
        bytes << std::hex << chunk.size() << "\r\n" << chunk << "\r\n";
        body.remove_prefix(chunk.size());
    }
    bytes << "0\r\n\r\n";
    return bytes.str();
}

void leave(Connection& connection, Leaving leaving) {
    if (leaving == Leaving::Close) {
        connection.close();
    } else {
        connection.reset();
    }
}

void sendAndLeave(Connection& connection, std::string_view bytes, Leaving leaving) {
    connection.send(bytes);
    leave(connection, leaving);
}

std::size_t rangeStart(const ReceivedRequest& request) {
    const std::string range = request.header("Range");
    constexpr std::string_view unit = "bytes=";
    std::size_t first = 0;
    if (range.starts_with(unit)) {
        std::from_chars(range.data() + unit.size(), range.data() + range.size(), first);
    }
    return first;
}

WireAnswer honestAnswer(const ReceivedRequest& request, const Entity& entity) {
    const std::string condition = request.header("If-Range");
    const bool holds = condition.empty() ||
                       (!condition.starts_with("W/") &&
                        entity.validators.find(": " + condition + "\r\n") != std::string::npos);
    const std::size_t first = rangeStart(request);
    const std::size_t size = entity.data.size();
    const std::string common = "Accept-Ranges: bytes\r\n" + entity.validators;
    if (!request.hasHeader("Range") || !holds) {
        return {headOf(200, common + lengthField(size)), entity.data};
    }
    if (first >= size) {
        return {
            headOf(416, "Content-Range: bytes */" + std::to_string(size) + "\r\n" + lengthField(0)),
            ""};
    }
    const std::string range = "Content-Range: bytes " + std::to_string(first) + "-" +
                              std::to_string(size - 1) + "/" + std::to_string(size) + "\r\n";
    return {headOf(206, common + range + lengthField(size - first)), entity.data.substr(first)};
}

void answerHonestly(const ReceivedRequest& request, Connection& connection, const Entity& entity) {
    const WireAnswer answer = honestAnswer(request, entity);
    connection.send(answer.head + answer.body);
}

void resumes(HttpRequest&, ClientConfiguration& configuration) {
    configuration.setResumeOnRetry(true);
    configuration.setRetryStrategy(immediateRetries());
}

void retries(HttpRequest&, ClientConfiguration& configuration) {
    configuration.setRetryStrategy(immediateRetries());
}

void hurries(HttpRequest&, ClientConfiguration& configuration) {
    constexpr int soon = 60;
    Access::setConnectTimeoutMs(configuration, 4 * soon);
    Access::setResponseTimeoutMs(configuration, soon);
    Access::setIdleTimeoutMs(configuration, soon);
}

std::string printable(std::string_view text) {
    constexpr std::size_t most = 60;
    std::ostringstream result;
    for (const char c : text.substr(0, most)) {
        if (c >= ' ' && c < '\x7f') {
            result << c;
        } else {
            result << "\\x" << std::hex << (static_cast<unsigned int>(c) & 0xFFU);
        }
    }
    result << std::dec;
    if (text.size() > most) {
        result << "... of " << text.size();
    }
    return result.str();
}

}  // namespace foundation::httpclient_curl::testing
