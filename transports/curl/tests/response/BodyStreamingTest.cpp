#include "support/GeneratedBody.h"
#include "support/TestClient.h"

#include <array>
#include <fstream>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace foundation::httpclient_curl::testing {
namespace {

constexpr std::int64_t bodySize = std::int64_t{256} << 20;
// Far less than a body, far more than buffers take; sanitizers keep freed memory for a while.
constexpr long allowedGrowth = 96L << 10;

// What the process holds at its peak, in kB.
long peakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    return -1;
}

class BodyStreamingTest : public BothRoads {
protected:
    BodyStreamingTest() { client_->setClientConfiguration(plainConfiguration()); }

    TestClient client_;
};

INSTANTIATE_TEST_SUITE_P(Roads,
                         BodyStreamingTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(BodyStreamingTest, DownloadIsNotHeldInMemory) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(bodySize) +
                        "\r\n\r\n");
        std::array<char, 65536> block{};
        StreamOver<GeneratedBuffer> source(bodySize);
        while (source.read(block.data(), block.size())) {
            if (!connection.send({block.data(), block.size()})) {
                return;
            }
        }
    });
    Checked checked;
    HttpRequest request(HttpMethod::GET, server.url(), {});
    request.setResponseStreamFactory(
        [&checked](HttpResponseCode, const std::string&, const HttpHeaders&) {
            return std::make_unique<StreamOver<CheckingBuffer>>(checked);
        });
    const long before = peakMemory();
    ASSERT_GT(before, 0);
    const Outcome outcome = client_.run(std::move(request), GetParam());
    EXPECT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(checked.bytes, bodySize);
    EXPECT_EQ(checked.wrong, 0);
    EXPECT_LT(peakMemory() - before, allowedGrowth);
}

// A server that holds no body: LoopbackServer reads a request whole before its handler runs. It reads into one block, where
// RawSocket makes a string each time, which a sanitizer keeps for a while after its end.
class SinkServer {
public:
    SinkServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* generic = reinterpret_cast<sockaddr*>(&address);
        if (::bind(listener_, generic, size) != 0 || ::listen(listener_, 1) != 0 ||
            ::getsockname(listener_, generic, &size) != 0) {
            throw std::runtime_error("no listener");
        }
        port_ = ntohs(address.sin_port);
        thread_ = std::thread([this] { serve(); });
    }
    SinkServer(const SinkServer&) = delete;
    SinkServer& operator=(const SinkServer&) = delete;
    ~SinkServer() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }
    // Once the answer is there.
    const Checked& checked() const { return checked_; }

private:
    void serve() {
        const int socket = ::accept(listener_, nullptr, nullptr);
        if (socket < 0) {
            return;
        }
        std::string head;
        StreamOver<CheckingBuffer> sink(checked_);
        std::array<char, 65536> block{};
        std::size_t end = std::string::npos;
        while (checked_.bytes < bodySize) {
            const ssize_t got = ::recv(socket, block.data(), block.size(), 0);
            if (got <= 0) {
                break;
            }
            if (end != std::string::npos) {
                sink.write(block.data(), got);
                continue;
            }
            head.append(block.data(), static_cast<std::size_t>(got));
            end = head.find("\r\n\r\n");
            if (end != std::string::npos) {
                const std::string begun = head.substr(end + 4);
                sink.write(begun.data(), static_cast<std::streamsize>(begun.size()));
            }
        }
        const std::string_view answer = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
        ::send(socket, answer.data(), answer.size(), MSG_NOSIGNAL);
        ::close(socket);
    }

    int listener_;
    std::uint16_t port_ = 0;
    Checked checked_;
    std::thread thread_;
};

TEST_P(BodyStreamingTest, UploadIsNotHeldInMemory) {
    SinkServer server;
    HttpRequest request(HttpMethod::PUT, server.url(), {});
    request.setRequestBody(std::make_unique<StreamOver<GeneratedBuffer>>(bodySize));
    request.setHeaderValue("Content-Length", std::to_string(bodySize));
    const long before = peakMemory();
    ASSERT_GT(before, 0);
    const Outcome outcome = client_.run(std::move(request), GetParam());
    EXPECT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.code(), HttpResponseCode::OK);
    EXPECT_EQ(server.checked().bytes, bodySize);
    EXPECT_EQ(server.checked().wrong, 0);
    EXPECT_LT(peakMemory() - before, allowedGrowth);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
