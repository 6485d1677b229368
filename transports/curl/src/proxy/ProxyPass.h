#pragma once
#include "proxy/CredentialStore.h"
#include "proxy/ProxyKnowledge.h"
#include "proxy/ProxyResolver.h"
#include "response/HeaderBlock.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace foundation::httpclient_curl {

/// How one hop gets past its proxy: what it shows, and what it makes of a refusal.
///
/// Where a nonce for Digest is at hand, the field is made here and libcurl knows no credentials. Else
/// libcurl has them: it sends Basic at once, and asks the proxy for a nonce with a request that has no
/// body, which it then repeats.
class ProxyPass {
public:
    /// `login` is null where there are no credentials to show. `mayRepeat` is false where the hop has
    /// been repeated often enough.
    ProxyPass(Proxy proxy,
              std::optional<ProxyLogin> login,
              ProxyKnowledge& knowledge,
              bool mayRepeat);

    /// Sets the proxy and what it is shown. `method` and `url` are those of the hop.
    void configure(CURL* easy, const std::string& method, const WireUrl& url);
    /// A final answer has come, or one to CONNECT.
    void onAnswer(const HeaderBlock& block, bool toConnect);

    /// libcurl may repeat the request by itself after a 407.
    bool libcurlAnswers() const noexcept { return libcurlAnswers_; }
    /// The last answer was the proxy's own refusal.
    bool isRefused() const noexcept { return refused_; }
    /// The proxy has let the hop pass, with what it was shown.
    bool hasPassed() const noexcept { return passed_; }
    /// The hop is to be made once more, because the refusal told how to do better.
    bool repeats() const noexcept { return mayRepeat_ && repeats_; }
    const std::string& info() const noexcept { return proxy_.info; }
    /// Of the credentials shown; 0 for none or those of the proxy's URL.
    std::uint64_t generation() const noexcept { return login_ ? login_->generation : 0; }

private:
    void showLogin(CURL* easy);
    bool showDigest(CURL* easy, const std::string& method, const WireUrl& url);
    void onRefusal(const HeaderBlock& block, bool toConnect);
    void onPassed(bool nonceWasSent);
    bool asksForNegotiate() const { return login_ != nullptr && login_->user.empty(); }

    Proxy proxy_;
    std::unique_ptr<const ProxyLogin> login_;  ///< Null shows no credentials.
    ProxyKnowledge& knowledge_;
    bool mayRepeat_;
    HeaderLines lines_;
    long scheme_ = 0;                   ///< What was allowed to libcurl or used here.
    std::optional<DigestNonce> nonce_;  ///< Lent, or got by libcurl.
    bool libcurlAnswers_ = false;
    bool tunnels_ = false;
    bool refused_ = false;
    bool passed_ = false;
    bool repeats_ = false;
};

}  // namespace foundation::httpclient_curl
