#include "proxy/ProxyPass.h"

#include <utility>

namespace foundation::httpclient_curl {
namespace {

using core::HttpResponseCode;

std::string requestTarget(const WireUrl& url, bool tunnels) {
    const UrlHandle parsed(requireMemory(curl_url()));
    curl_url_set(parsed.get(), CURLUPART_URL, url.text().c_str(), CURLU_PATH_AS_IS);
    const auto part = [&parsed](CURLUPart which, unsigned int flags) {
        char* text = nullptr;
        if (curl_url_get(parsed.get(), which, &text, flags) != CURLUE_OK) {
            return std::string();
        }
        const CurlText owned(text);
        return std::string(text);
    };
    if (tunnels) {
        return part(CURLUPART_HOST, 0) + ":" + part(CURLUPART_PORT, CURLU_DEFAULT_PORT);
    }
    // As libcurl writes it into the request line.
    return part(CURLUPART_URL, CURLU_NO_DEFAULT_PORT);
}

}  // namespace

ProxyPass::ProxyPass(Proxy proxy,
                     std::optional<ProxyLogin> login,
                     ProxyKnowledge& knowledge,
                     bool mayRepeat)
    : proxy_(std::move(proxy)),
      login_(login.has_value() ? std::make_unique<ProxyLogin>(std::move(*login)) : nullptr),
      knowledge_(knowledge),
      mayRepeat_(mayRepeat) {
    if (login_ == nullptr && proxy_.hasCredentials) {
        login_ = std::make_unique<ProxyLogin>(ProxyLogin{proxy_.user, Secret(proxy_.password), 0});
    }
    wipe(proxy_.password);
    using namespace std::string_view_literals;
    if (login_ != nullptr && login_->user.find_first_of("\r\n\0"sv) != std::string::npos) {
        throw core::HttpRequestFailedException(
            "The user name for the proxy holds a line break or a NUL");
    }
}

void ProxyPass::configure(CURL* easy, const std::string& method, const WireUrl& url) {
    tunnels_ = url.origin().scheme == "https";
    setOption(easy, CURLOPT_PROXY, proxy_.url.c_str());
    if (login_ == nullptr) {
        return;
    }
    if (!proxy_.speaksHttp) {
        showLogin(easy);
        return;
    }
    scheme_ = knowledge_.schemeFor(proxy_.info, asksForNegotiate());
    if (scheme_ == static_cast<long>(CURLAUTH_DIGEST) && showDigest(easy, method, url)) {
        return;
    }
    libcurlAnswers_ = true;
    showLogin(easy);
    // Never "any": where the proxy offers Negotiate without a ticket here, that ends the attempt.
    const auto usual = static_cast<long>(asksForNegotiate() ? CURLAUTH_NEGOTIATE
                                                            : CURLAUTH_BASIC | CURLAUTH_DIGEST);
    setOption(easy, CURLOPT_PROXYAUTH, scheme_ != 0 ? scheme_ : usual);
}

void ProxyPass::showLogin(CURL* easy) {
    setOption(easy, CURLOPT_PROXYUSERNAME, login_->user.c_str());
    setOption(easy, CURLOPT_PROXYPASSWORD, login_->password.text().c_str());
}

bool ProxyPass::showDigest(CURL* easy, const std::string& method, const WireUrl& url) {
    nonce_ = knowledge_.takeNonce(proxy_.info);
    if (!nonce_.has_value()) {
        return false;
    }
    appendField(lines_, "Proxy-Authorization",
                nonce_->authorize(login_->user, login_->password.text(),
                                  tunnels_ ? "CONNECT" : method, requestTarget(url, tunnels_)));
    // Apart from the other fields, which go through the tunnel to the server.
    setOption(easy, CURLOPT_HEADEROPT, static_cast<long>(CURLHEADER_SEPARATE));
    setOption(easy, CURLOPT_PROXYHEADER, lines_.get());
    return true;
}

void ProxyPass::onAnswer(const HeaderBlock& block, bool toConnect) {
    refused_ = false;
    repeats_ = false;
    if (!proxy_.speaksHttp || (!toConnect && isInformational(block.code()))) {
        return;
    }
    if (!toConnect && tunnels_) {
        // A tunnel that stood already was not asked for again.
        onPassed(false);
    } else if (block.code() == HttpResponseCode::ProxyAuthenticationRequired) {
        onRefusal(block, toConnect);
    } else {
        onPassed(true);
    }
    tunnels_ = tunnels_ || toConnect;
}

void ProxyPass::onRefusal(const HeaderBlock& block, bool toConnect) {
    refused_ = true;
    ProxyKnowledge::Refusal refusal = knowledge_.learn(proxy_.info, block.headers());
    const long better = knowledge_.schemeFor(proxy_.info, asksForNegotiate());
    repeats_ = login_ != nullptr && scheme_ != 0 && better != 0 && better != scheme_;
    if (libcurlAnswers_) {
        // With this nonce it makes its next try.
        nonce_ = std::move(refusal.nonce);
        if (nonce_.has_value()) {
            nonce_->addUses(1);
        }
        return;
    }
    if (nonce_.has_value()) {
        const bool isTooOld = refusal.isStale || nonce_->uses() > 1;
        // libcurl took to https by itself, so that the field was made for another request.
        const bool isForAnother = toConnect && !tunnels_;
        nonce_.reset();
        if (isTooOld) {
            knowledge_.dropNonces(proxy_.info);
        }
        repeats_ = repeats_ || ((isTooOld || isForAnother) && refusal.nonce.has_value());
    }
    if (refusal.nonce.has_value()) {
        knowledge_.giveNonce(proxy_.info, std::move(*refusal.nonce));
    }
}

void ProxyPass::onPassed(bool nonceWasSent) {
    passed_ = true;
    if (!nonce_.has_value()) {
        return;
    }
    if (!nonceWasSent && !libcurlAnswers_) {
        nonce_->addUses(-1);
    }
    knowledge_.giveNonce(proxy_.info, std::move(*nonce_));
    nonce_.reset();
}

}  // namespace foundation::httpclient_curl
