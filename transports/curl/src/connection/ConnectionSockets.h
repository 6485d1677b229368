#pragma once
#include "connection/CurlTypes.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace foundation::httpclient_curl {

/// Knows the sockets of one client's connections, to look whether bytes wait on one before it is used
/// again. libcurl leaves what lies behind an answer in the socket and takes it for the next answer; it
/// gives out no socket at the moment that counts, only addresses. Every connection of the handles that it
/// watches must be closed before it goes. Thread-safe.
class ConnectionSockets {
public:
    /// The two ends of a connection over TCP, as libcurl tells them.
    struct Ends {
        const char* remoteAddress;
        const char* localAddress;
        int remotePort;
        int localPort;
    };

    ConnectionSockets() = default;
    ConnectionSockets(const ConnectionSockets&) = delete;
    ConnectionSockets& operator=(const ConnectionSockets&) = delete;

    /// What the handles of one transfer need to open connections here.
    struct Opening {
        ConnectionSockets* sockets = nullptr;
        int error = 0;  ///< Of the last socket that could not be made; libcurl forgets it.
    };

    /// Has the connections that this handle makes opened and closed here. `opening` must outlive the handle.
    void watch(CURL* easy, Opening& opening);
    /// A connection was made. Unknown ones, of unix domain sockets too, are left alone.
    void connected(const Ends& ends) noexcept;
    /// Whether bytes, or an end of stream, wait on a connection that was made before.
    bool hasUnread(const Ends& ends) const noexcept;

private:
    static curl_socket_t openCallback(void* data, curlsocktype purpose, curl_sockaddr* address);
    static int closeCallback(void* self, curl_socket_t socket);

    mutable std::mutex mutex_;  ///< Guards what follows.
    std::vector<curl_socket_t> unnamed_;
    std::map<std::string, curl_socket_t> named_;  ///< By both ends.
};

}  // namespace foundation::httpclient_curl
