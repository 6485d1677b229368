#include "tests/support/FlakyFileServer.h"
#include "tests/support/LoopbackServer.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <future>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace foundation::httpclient_core::testing {
namespace {

struct Answer {
    std::string bytes;
    int error = 0;  // errno of the read that ended it; 0 for an end of stream
};

// Sends the bytes over a plain socket and reads until the server ends the connection.
Answer exchange(std::uint16_t port, std::string_view bytes) {
    const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    EXPECT_EQ(::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
    Answer answer;
    std::array<char, 4096> chunk{};
    for (;;) {
        const ssize_t got = ::recv(socket, chunk.data(), chunk.size(), 0);
        if (got <= 0) {
            answer.error = got < 0 ? errno : 0;
            break;
        }
        answer.bytes.append(chunk.data(), static_cast<std::size_t>(got));
    }
    ::close(socket);
    return answer;
}

TEST(LoopbackServerTest, AnswersAsTheHandlerSays) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(200, "OK", {{"X-Path", request.target}}, request.body);
        connection.close();
    });
    const Answer answer =
        exchange(server.port(), "POST /a?b HTTP/1.1\r\nCONTENT-length: 3\r\n\r\nxyz");
    EXPECT_EQ(answer.bytes, "HTTP/1.1 200 OK\r\nX-Path: /a?b\r\nContent-Length: 3\r\n\r\nxyz");
    ASSERT_EQ(server.requestCount(), 1);
    EXPECT_EQ(server.requests().front().method, "POST");
    EXPECT_TRUE(server.requests().front().hasHeader("Content-Length"));
}

TEST(LoopbackServerTest, DecodesChunkedBodies) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(200, "OK", {}, request.body);
        connection.close();
    });
    const Answer answer = exchange(server.port(),
                                   "PUT / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                                   "3\r\nabc\r\nA\r\n0123456789\r\n0\r\nX: y\r\n\r\n");
    EXPECT_EQ(answer.bytes, "HTTP/1.1 200 OK\r\nContent-Length: 13\r\n\r\nabc0123456789");
}

TEST(LoopbackServerTest, ReadsSeveralRequestsOfOneConnection) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.sendResponse(204, "No Content");
        if (request.target == "/2") {
            connection.close();
        }
    });
    exchange(server.port(), "GET /1 HTTP/1.1\r\n\r\nGET /2 HTTP/1.1\r\n\r\n");
    EXPECT_EQ(server.requestCount(), 2);
    EXPECT_EQ(server.connectionCount(), 1);
}

TEST(LoopbackServerTest, ResetsAndClosesAtAnyByte) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        connection.send("HTTP/1.");
        request.target == "/reset" ? connection.reset() : connection.close();
    });
    const Answer closed = exchange(server.port(), "GET /close HTTP/1.1\r\n\r\n");
    EXPECT_EQ(closed.bytes, "HTTP/1.");
    EXPECT_EQ(closed.error, 0);
    EXPECT_EQ(exchange(server.port(), "GET /reset HTTP/1.1\r\n\r\n").error, ECONNRESET);
}

TEST(LoopbackServerTest, PausesForTheWholeTime) {
    std::promise<std::chrono::steady_clock::duration> paused;
    LoopbackServer server([&paused](const ReceivedRequest&, Connection& connection) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_TRUE(connection.pause(std::chrono::milliseconds(1)));
        paused.set_value(std::chrono::steady_clock::now() - begin);
        connection.close();
    });
    exchange(server.port(), "GET / HTTP/1.1\r\n\r\n");
    EXPECT_GE(paused.get_future().get(), std::chrono::milliseconds(1));
}

TEST(LoopbackServerTest, StopEndsPausesAndOpenConnections) {
    Answer answer;
    std::thread client;
    std::promise<void> asked;
    {
        LoopbackServer server([&asked](const ReceivedRequest&, Connection& connection) {
            connection.send("x");
            asked.set_value();
            EXPECT_FALSE(connection.pause(std::chrono::hours(1)));
        });
        client = std::thread(
            [&answer, port = server.port()] { answer = exchange(port, "GET / HTTP/1.1\r\n\r\n"); });
        asked.get_future().wait();
    }
    client.join();
    EXPECT_EQ(answer.bytes, "x");
}

TEST(FlakyFileServerTest, ServesRangesAndBreaksTheFirstAnswers) {
    FlakyFileServer::Options options;
    options.size = 1000;
    options.dropAfter = 100;
    options.drops = 1;
    const FlakyFileServer server(options);
    const std::string& content = server.content();
    ASSERT_EQ(content.size(), 1000U);
    const std::string broken = exchange(server.port(), "GET / HTTP/1.1\r\n\r\n").bytes;
    EXPECT_EQ(broken.substr(broken.find("\r\n\r\n") + 4), content.substr(0, 100));
    // The second connection is not broken by the server, so the client asks it to end.
    const std::string rest =
        exchange(server.port(), "GET / HTTP/1.1\r\nRange: bytes=990-\r\n\r\n GARBAGE\r\n\r\n")
            .bytes;
    EXPECT_NE(rest.find("206 Partial Content\r\nContent-Range: bytes 990-999/1000\r\n"),
              std::string::npos);
    EXPECT_EQ(rest.substr(rest.find("\r\n\r\n") + 4), content.substr(990));
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
