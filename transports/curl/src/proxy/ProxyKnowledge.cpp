#include "proxy/ProxyKnowledge.h"

#include "request/HeaderText.h"

#include <algorithm>
#include <utility>

namespace foundation::httpclient_curl {

ProxyKnowledge::Refusal ProxyKnowledge::learn(const std::string& proxyInfo,
                                              const core::HttpHeaders& headers) {
    Refusal refusal;
    unsigned long offered = 0;
    for (const auto& [name, value] : headers) {
        if (!sameName(name, "Proxy-Authenticate")) {
            continue;
        }
        for (const AuthChallenge& challenge : parseChallenges(value)) {
            if (challenge.isOf("Basic")) {
                offered |= CURLAUTH_BASIC;
            } else if (challenge.isOf("Negotiate")) {
                offered |= CURLAUTH_NEGOTIATE;
            } else if (challenge.isOf("Digest")) {
                offered |= CURLAUTH_DIGEST;
                if (!refusal.nonce.has_value()) {
                    refusal.nonce = DigestNonce::from(challenge);
                    refusal.isStale = sameName(challenge.parameter("stale"), "true");
                }
            }
        }
    }
    const std::lock_guard lock(mutex_);
    entries_[proxyInfo].offered = static_cast<long>(offered);
    return refusal;
}

long ProxyKnowledge::schemeFor(const std::string& proxyInfo, bool asksForNegotiate) const {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(proxyInfo);
    const unsigned long offered =
        entry != entries_.end() ? static_cast<unsigned long>(entry->second.offered) : 0;
    // The strongest first. Negotiate only on demand: without a ticket it ends the attempt, although
    // another scheme would do.
    for (const unsigned long scheme :
         {asksForNegotiate ? CURLAUTH_NEGOTIATE : 0UL, CURLAUTH_DIGEST, CURLAUTH_BASIC}) {
        if ((offered & scheme) != 0) {
            return static_cast<long>(scheme);
        }
    }
    return 0;
}

std::optional<DigestNonce> ProxyKnowledge::takeNonce(const std::string& proxyInfo) {
    const std::lock_guard lock(mutex_);
    std::vector<DigestNonce>& nonces = entries_[proxyInfo].nonces;
    const auto least =
        std::min_element(nonces.rbegin(), nonces.rend(),
                         [](const auto& a, const auto& b) { return a.uses() < b.uses(); });
    if (least == nonces.rend()) {
        return std::nullopt;
    }
    DigestNonce taken = std::move(*least);
    nonces.erase(std::next(least).base());
    return taken;
}

void ProxyKnowledge::giveNonce(const std::string& proxyInfo, DigestNonce nonce) {
    constexpr std::size_t mostNonces = 256;
    const std::lock_guard lock(mutex_);
    std::vector<DigestNonce>& nonces = entries_[proxyInfo].nonces;
    if (nonces.size() == mostNonces) {
        nonces.erase(nonces.begin());
    }
    nonces.push_back(std::move(nonce));
}

void ProxyKnowledge::dropNonces(const std::string& proxyInfo) {
    const std::lock_guard lock(mutex_);
    entries_[proxyInfo].nonces.clear();
}

}  // namespace foundation::httpclient_curl
