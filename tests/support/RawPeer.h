#pragma once
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace foundation::httpclient_core::testing {

/// One end of a connection of which nothing is known. Used on one thread, but for shutDown().
class RawSocket {
public:
    explicit RawSocket(int socket) : socket_(socket) {}
    RawSocket(const RawSocket&) = delete;
    RawSocket& operator=(const RawSocket&) = delete;
    ~RawSocket();

    /// What has come, at most so many bytes; empty at the end.
    std::string receive(std::size_t most = 16384);
    /// Bytes until the text is among them, the end, or so many.
    std::string receiveUntil(std::string_view text, std::size_t most = 1000000);
    /// False once the peer is gone.
    bool send(std::string_view bytes);
    /// An end of stream behind what was sent.
    void close();
    /// Bytes that the peer has not read yet may be lost.
    void reset();
    /// Waits until the peer closes, shutDown() or the time is over. True when the time is over.
    bool pause(std::chrono::milliseconds time);
    void waitForPeerToClose();
    /// Wakes every read and wait. From any thread.
    void shutDown();

private:
    void release();

    std::mutex mutex_;  ///< Guards the closing against shutDown().
    int socket_;
};

/// Listens on a free port of 127.0.0.1, or on a unix domain socket, and gives each connection, with its number from 0 on, to
/// the handler, on a thread of its own. Its end ends the connections.
class RawPeer {
public:
    using Handler = std::function<void(RawSocket& socket, int number)>;

    explicit RawPeer(Handler handler);
    /// On a unix domain socket at `path`, which is removed at the end.
    RawPeer(Handler handler, const std::filesystem::path& path);
    RawPeer(const RawPeer&) = delete;
    RawPeer& operator=(const RawPeer&) = delete;
    ~RawPeer();

    std::uint16_t port() const noexcept { return port_; }
    /// "SCHEME://HOST:PORT/".
    std::string url(const std::string& scheme, const std::string& host = "127.0.0.1") const {
        return scheme + "://" + host + ":" + std::to_string(port_) + "/";
    }
    /// How many connections came so far. From any thread.
    int connectionCount() const;

private:
    void start();
    void acceptAll();

    Handler handler_;
    int listener_;
    std::uint16_t port_ = 0;
    std::filesystem::path path_;
    mutable std::mutex mutex_;  ///< Guards what follows.
    bool stops_ = false;
    std::list<std::unique_ptr<RawSocket>> sockets_;
    std::vector<std::thread> threads_;
    std::thread acceptor_;
};

}  // namespace foundation::httpclient_core::testing
