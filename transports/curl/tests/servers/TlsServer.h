#pragma once
#include "CertificateAuthority.h"
#include "ChildProcess.h"

#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {

/// `openssl s_server` on a free port of 127.0.0.1, answering every GET with a page.
class TlsServer {
public:
    explicit TlsServer(const Certificate& certificate, std::vector<std::string> options = {});

    std::string url(const std::string& host) const {
        return "https://" + host + ":" + std::to_string(port_) + "/";
    }

private:
    ChildProcess process_;
    int port_ = 0;
};

}  // namespace foundation::httpclient_curl::testing
