#pragma once
#include "proxy/AuthChallenge.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// A nonce that a proxy gave out for Digest authentication (RFC 7616 with MD5 and "auth"), and how often
/// it has been used. libcurl keeps its nonces with the handle, and a handle serves one hop only; kept
/// here, one nonce serves many requests, each of which would cost a refusal otherwise.
class DigestNonce {
public:
    /// Nothing for a challenge that asks for what is not done here: another algorithm, no "auth" among
    /// its protections, hashed user names, or no nonce.
    static std::optional<DigestNonce> from(const AuthChallenge& challenge);

    /// What the next Proxy-Authorization field says. Counts as a use.
    std::string authorize(const std::string& user,
                          const std::string& password,
                          std::string_view method,
                          std::string_view target);
    /// A use that happened elsewhere, or is taken back with -1.
    void addUses(int uses) noexcept { uses_ += static_cast<std::uint32_t>(uses); }
    std::uint32_t uses() const noexcept { return uses_; }

private:
    std::string realm_;
    std::string nonce_;
    std::string opaque_;
    bool hasOpaque_ = false;
    bool namesAlgorithm_ = false;
    std::uint32_t uses_ = 0;
};

}  // namespace foundation::httpclient_curl
