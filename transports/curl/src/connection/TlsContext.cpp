#include "connection/TlsContext.h"

#include "connection/TlsEnd.h"
#include "connection/TrustedRoots.h"

#include <exception>
#include <openssl/ssl.h>
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {
namespace {

bool isBuiltOnOpenSsl() {
    const char* name = curl_version_info(CURLVERSION_NOW)->ssl_version;
    return name != nullptr && std::string_view(name).starts_with("OpenSSL/");
}

TrustedRoots& systemRoots() {
    static TrustedRoots roots = TrustedRoots::ofSystem();
    return roots;
}

// With a bundle to read late, or null.
CURLcode configureContext(CURL* /*easy*/, void* context, void* bundle) {
    auto* tls = static_cast<SSL_CTX*>(context);
    TlsEnd::announceIn(tls);
    try {
        if (bundle != nullptr) {
            TrustedRoots::readBundleLate(tls, *static_cast<const std::string*>(bundle));
        }
        return CURLE_OK;
    } catch (const std::exception&) {
        return CURLE_OUT_OF_MEMORY;
    }
}

}  // namespace

void prepareTlsContext(CURL* easy, bool trustsSystem) {
    static const bool applies = isBuiltOnOpenSsl();
    if (!applies) {
        return;
    }
    setOption(easy, CURLOPT_SSL_CTX_FUNCTION, &configureContext);
    if (trustsSystem && systemRoots().areFoundByName) {
        // libcurl looks into the directory by itself.
        setOption(easy, CURLOPT_CAINFO, static_cast<char*>(nullptr));
        setOption(easy, CURLOPT_PROXY_CAINFO, static_cast<char*>(nullptr));
        if (!systemRoots().bundle.empty()) {
            setOption(easy, CURLOPT_SSL_CTX_DATA, &systemRoots().bundle);
        }
    }
}

}  // namespace foundation::httpclient_curl
