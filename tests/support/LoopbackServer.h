#pragma once
#include "tests/support/RawPeer.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {

using HeaderList = std::vector<std::pair<std::string, std::string>>;

/// One request as the loopback server read it. The body is complete and free of its framing.
struct ReceivedRequest {
    std::string method;
    std::string target;
    HeaderList headers;
    std::string body;
    int connectionNumber = 0;  ///< 0 for the first connection that the server accepted.
    int number = 0;            ///< 0 for the first request that the server read.

    /// Whether a field of that name came, in any letter case.
    bool hasHeader(std::string_view name) const;
    /// The value of the first field of that name in any letter case; empty where there is none.
    std::string header(std::string_view name) const;
    /// The values of all fields of that name, in order.
    std::vector<std::string> headersNamed(std::string_view name) const;
};

/// The server's end of one connection, for the handler to answer through. Bytes for a peer that is gone
/// vanish without a sign. Used on the thread of its connection only.
class Connection {
public:
    Connection(RawSocket& socket, int number) : socket_(socket), number_(number) {}
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Sends the bytes as they are. False once the peer is gone.
    bool send(std::string_view bytes) { return socket_.send(bytes); }
    /// Sends a whole response. Content-Length is added unless the headers frame the body themselves;
    /// the body is left out in answer to HEAD.
    bool sendResponse(int status,
                      std::string_view reason,
                      const HeaderList& headers = {},
                      std::string_view body = {});
    /// Ends the connection in order: the peer reads an end of stream after the bytes sent so far.
    void close() { socket_.close(); }
    /// Ends the connection with a reset; bytes that the peer has not read yet may be lost.
    void reset() { socket_.reset(); }
    /// Waits until the peer closes, the server stops or the time is over. True when the time is over.
    bool pause(std::chrono::milliseconds time) { return socket_.pause(time); }
    /// Waits until the peer closes or the server stops.
    void waitForPeerToClose() { socket_.waitForPeerToClose(); }

private:
    friend class LoopbackServer;
    bool readMore();
    bool readLine(std::string& line);
    bool readExactly(std::size_t count, std::string& bytes);
    bool readChunked(std::string& body);
    bool readRequest(ReceivedRequest& request);

    RawSocket& socket_;
    int number_;
    std::string input_;
    std::string method_;  ///< Of the request being answered.
};

/// A small HTTP/1.1 server on 127.0.0.1 (or on a unix domain socket) for tests. Each connection has a
/// thread of its own that reads request after request and calls the handler with each; a handler that
/// sends nothing leaves the client waiting. The destructor ends all connections and joins all threads,
/// so a handler must not wait for something that outlives it.
class LoopbackServer {
public:
    using Handler = std::function<void(const ReceivedRequest&, Connection&)>;

    /// Serves on a free port of 127.0.0.1.
    explicit LoopbackServer(Handler handler);
    /// Serves on a unix domain socket at `path`, which is removed at the end.
    LoopbackServer(Handler handler, const std::filesystem::path& path);
    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    std::uint16_t port() const noexcept { return peer_.port(); }
    /// "http://127.0.0.1:PORT" and the path.
    std::string url(std::string_view path = "/") const;
    /// The requests read so far, in order. From any thread.
    std::vector<ReceivedRequest> requests() const;
    int requestCount() const;
    int connectionCount() const { return peer_.connectionCount(); }

private:
    void serve(RawSocket& socket, int number);

    Handler handler_;
    mutable std::mutex mutex_;  ///< Guards what follows.
    std::vector<ReceivedRequest> requests_;
    RawPeer peer_;  // Last: its threads use the rest.
};

}  // namespace foundation::httpclient_core::testing
