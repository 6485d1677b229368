#pragma once
#include "connection/CurlTypes.h"

#include <array>
#include <memory>
#include <mutex>

namespace foundation::httpclient_curl {

/// What the transfers of one client know in common: the addresses of names, and for those that want it
/// which hosts are to be reached by https only (HSTS, RFC 6797). All of it lives in memory. Every handle
/// that uses a share must go before it does. Thread-safe.
class TransferShares {
public:
    TransferShares();

    /// Two, because a handle heeds the HSTS entries of its share whether it was told to or not.
    CURLSH* handle(bool withHsts) const noexcept {
        return withHsts ? withHsts_.handle() : plain_.handle();
    }

private:
    class Share {
    public:
        explicit Share(bool withHsts);
        CURLSH* handle() const noexcept { return handle_.get(); }

    private:
        /// One for each kind of data, as libcurl locks them apart.
        std::array<std::mutex, CURL_LOCK_DATA_LAST> mutexes_;
        ShareHandle handle_;
    };

    Share plain_;
    Share withHsts_;
};

}  // namespace foundation::httpclient_curl
