#include "connection/ConnectionOptions.h"

#include "connection/TlsContext.h"

#include <algorithm>
#include <cstdint>

namespace foundation::httpclient_curl {
namespace {

void setTlsOptions(CURL* easy, const TransferSettings& settings) {
    setOption(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    setOption(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    setOption(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    prepareTlsContext(easy, settings.certificateFile.empty());
    // A proxy that is spoken to over TLS has to prove itself just the same.
    setOption(easy, CURLOPT_PROXY_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    setOption(easy, CURLOPT_PROXY_SSL_VERIFYPEER, 1L);
    setOption(easy, CURLOPT_PROXY_SSL_VERIFYHOST, 2L);
    if (!settings.certificateFile.empty()) {
        setOption(easy, CURLOPT_CAINFO, settings.certificateFile.c_str());
        setOption(easy, CURLOPT_PROXY_CAINFO, settings.certificateFile.c_str());
    }
}

}  // namespace

void setConnectionOptions(CURL* easy,
                          const TransferSettings& settings,
                          const TransferShares& shares) {
    setTlsOptions(easy, settings);
    setOption(easy, CURLOPT_SHARE, shares.handle(settings.hstsEnabled));
    if (settings.hstsEnabled) {
        setOption(easy, CURLOPT_HSTS_CTRL, CURLHSTS_ENABLE);
    }
    // 0 would mean libcurl's own limit.
    constexpr std::int64_t longest = 2147483647;
    const std::int64_t connectTimeout = settings.connectTimeout.count();
    setOption(easy, CURLOPT_CONNECTTIMEOUT_MS,
              static_cast<long>(connectTimeout > 0 ? std::min(connectTimeout, longest) : longest));
    // An ended transfer must not wait for its name to be resolved.
    setOption(easy, CURLOPT_QUICK_EXIT, 1L);
    // Servers drop idle connections after a minute at the earliest.
    setOption(easy, CURLOPT_MAXAGE_CONN, 55L);
    if (!settings.domainSocketPath.empty()) {
        setOption(easy, CURLOPT_UNIX_SOCKET_PATH, settings.domainSocketPath.c_str());
    }
    // Both set always, so that libcurl does not look into the environment itself.
    setOption(easy, CURLOPT_PROXY, "");
    setOption(easy, CURLOPT_NOPROXY, "");
}

}  // namespace foundation::httpclient_curl
