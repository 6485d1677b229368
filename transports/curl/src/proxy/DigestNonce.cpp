#include "proxy/DigestNonce.h"

#include "proxy/Md5.h"
#include "proxy/Secret.h"
#include "request/HeaderText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>

namespace foundation::httpclient_curl {
namespace {

bool offersAuth(std::string_view protections) {
    while (!protections.empty()) {
        const std::size_t comma = std::min(protections.find(','), protections.size());
        if (sameName(trimmed(protections.substr(0, comma)), "auth")) {
            return true;
        }
        protections.remove_prefix(std::min(comma + 1, protections.size()));
    }
    return false;
}

bool has(const AuthChallenge& challenge, std::string_view name) {
    return std::any_of(challenge.parameters.begin(), challenge.parameters.end(),
                       [name](const auto& parameter) { return sameName(parameter.first, name); });
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
        }
        result += c;
    }
    return result + '"';
}

std::string hexadecimal(std::uint32_t number) {
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08x", number);
    return text.data();
}

}  // namespace

std::optional<DigestNonce> DigestNonce::from(const AuthChallenge& challenge) {
    const std::string algorithm = challenge.parameter("algorithm");
    if (!challenge.isOf("Digest") || !(algorithm.empty() || sameName(algorithm, "MD5")) ||
        !offersAuth(challenge.parameter("qop")) || challenge.parameter("nonce").empty() ||
        sameName(challenge.parameter("userhash"), "true")) {
        return std::nullopt;
    }
    DigestNonce nonce;
    nonce.realm_ = challenge.parameter("realm");
    nonce.nonce_ = challenge.parameter("nonce");
    nonce.opaque_ = challenge.parameter("opaque");
    nonce.hasOpaque_ = has(challenge, "opaque");
    nonce.namesAlgorithm_ = !algorithm.empty();
    return nonce;
}

std::string DigestNonce::authorize(const std::string& user,
                                   const std::string& password,
                                   std::string_view method,
                                   std::string_view target) {
    std::random_device random;
    const std::string clientNonce =
        hexadecimal(random()) + hexadecimal(random()) + hexadecimal(random());
    const std::string count = hexadecimal(++uses_);
    std::string secret = user + ":" + realm_ + ":" + password;
    const std::string secretHash = md5(secret);
    wipe(secret);
    const std::string requestHash = md5(std::string(method) + ":" + std::string(target));
    const std::string response =
        md5(secretHash + ":" + nonce_ + ":" + count + ":" + clientNonce + ":auth:" + requestHash);
    std::string field = "Digest username=" + quoted(user) + ", realm=" + quoted(realm_) +
                        ", nonce=" + quoted(nonce_) + ", uri=" + quoted(target) +
                        ", cnonce=" + quoted(clientNonce) + ", nc=" + count +
                        ", qop=auth, response=" + quoted(response);
    if (hasOpaque_) {
        field += ", opaque=" + quoted(opaque_);
    }
    if (namesAlgorithm_) {
        field += ", algorithm=MD5";
    }
    return field;
}

}  // namespace foundation::httpclient_curl
