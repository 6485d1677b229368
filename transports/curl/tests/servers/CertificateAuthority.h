#pragma once
#include "ScratchFolder.h"

#include <string>

namespace foundation::httpclient_curl::testing {

/// A certificate and its key, as files.
struct Certificate {
    std::string file;
    std::string keyFile;
};

/// An authority of the tests' own, made by the openssl program, and the server certificates it signs.
class CertificateAuthority {
public:
    explicit CertificateAuthority(const std::string& name = "Test authority");

    /// The file for the configuration's `certificateFile`.
    std::string file() const { return folder_ / "authority.pem"; }
    /// Its key, for a server that shows the authority's own certificate.
    std::string keyFile() const { return folder_ / "authority.key"; }
    /// A certificate for these names, such as "DNS:localhost,IP:127.0.0.1", valid for two days from
    /// yesterday, or, as an expired one, until yesterday.
    Certificate issue(const std::string& names, bool isExpired = false);

private:
    ScratchFolder folder_;
    int issued_ = 0;
};

}  // namespace foundation::httpclient_curl::testing
