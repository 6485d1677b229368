#pragma once
#include "ChildProcess.h"
#include "ScratchFolder.h"

#include <memory>
#include <string>

namespace foundation::httpclient_curl::testing {

/// squid in the foreground on a free port of 127.0.0.1, with its files in a folder of its own; ended by
/// process id. It lets "ann" with the password "right one" pass, to everywhere.
class SquidProxy {
public:
    enum class Scheme { Basic, Digest, Both };

    /// A nonce of Digest serves `maxNonceUses` requests. With the port of a parent, another squid for
    /// Basic, every request goes through that one.
    /// Throws std::runtime_error with the log if it does not start.
    explicit SquidProxy(Scheme scheme, int maxNonceUses = 50, int parentPort = 0);
    SquidProxy(const SquidProxy&) = delete;
    SquidProxy& operator=(const SquidProxy&) = delete;
    ~SquidProxy();

    int port() const noexcept { return port_; }
    /// "http://127.0.0.1:PORT".
    std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }
    /// How many requests it has answered with 407 so far, CONNECT among them.
    int refusals() const;
    /// Its access log: status, method, URL and user of each request that has ended.
    std::string accessLog() const { return folder_.read("access.log"); }

private:
    std::string configuration(Scheme scheme, int maxNonceUses, int parentPort) const;
    /// Two of one name would share their memory, which a killed one leaves behind.
    std::string serviceName() const;
    void removeSharedMemory() const;

    ScratchFolder folder_;
    int port_ = 0;
    std::unique_ptr<ChildProcess> process_;
};

}  // namespace foundation::httpclient_curl::testing
