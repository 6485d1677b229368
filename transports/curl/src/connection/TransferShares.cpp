#include "connection/TransferShares.h"

#include <stdexcept>
#include <string>

namespace foundation::httpclient_curl {
namespace {

template <class Value>
void setShareOption(CURLSH* share, CURLSHoption option, Value value) {
    const CURLSHcode code = curl_share_setopt(share, option, value);
    if (code != CURLSHE_OK) {
        throw std::runtime_error(std::string("libcurl cannot share between transfers: ") +
                                 curl_share_strerror(code));
    }
}

}  // namespace

TransferShares::TransferShares() : plain_(false), withHsts_(true) {}

TransferShares::Share::Share(bool withHsts) : handle_(requireMemory(curl_share_init())) {
    using Mutexes = decltype(mutexes_);
    const curl_lock_function lock = [](CURL*, curl_lock_data data, curl_lock_access,
                                       void* mutexes) {
        (*static_cast<Mutexes*>(mutexes))[data].lock();
    };
    const curl_unlock_function unlock = [](CURL*, curl_lock_data data, void* mutexes) {
        (*static_cast<Mutexes*>(mutexes))[data].unlock();
    };
    setShareOption(handle_.get(), CURLSHOPT_LOCKFUNC, lock);
    setShareOption(handle_.get(), CURLSHOPT_UNLOCKFUNC, unlock);
    setShareOption(handle_.get(), CURLSHOPT_USERDATA, static_cast<void*>(&mutexes_));
    setShareOption(handle_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
    if (withHsts) {
        setShareOption(handle_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_HSTS);
    }
}

}  // namespace foundation::httpclient_curl
