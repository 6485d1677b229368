#pragma once
#include <cstddef>
#include <string>
#include <vector>

namespace foundation::fuzz {

/// The network of a fuzz target: every connection that this process makes leads to one end of a socket pair.
/// On it the next of the answers waits already, whole, and behind it the end of the stream. There is no other
/// thread and no other process; what the client sends stays unread.
class SocketPeer {
public:
    /// From here on until it goes, in which time no other may live. A read of the client gives at most
    /// `mostPerRead` bytes; 0: no limit.
    SocketPeer(std::vector<std::string> answers, std::size_t mostPerRead);
    SocketPeer(const SocketPeer&) = delete;
    SocketPeer& operator=(const SocketPeer&) = delete;
    /// The client must have closed its connections.
    ~SocketPeer();

    /// How many connections were made. One without an answer of its own ends at once.
    std::size_t connections() const;

    // For the functions of the system that are replaced.
    int connect(int socket);
    std::size_t limit(std::size_t wanted) const;
    static SocketPeer* current();

private:
    std::vector<std::string> answers_;
    std::size_t mostPerRead_;
    std::vector<int> ends_;
};

}  // namespace foundation::fuzz
