#include "connection/TlsEnd.h"

#include <map>
#include <openssl/ssl.h>

namespace foundation::httpclient_curl {
namespace {

// The watched connections of this thread, and whether their end was announced. By address only: none of
// them is touched, so it does not matter when they go.
std::map<const void*, bool>& announcements() {
    thread_local std::map<const void*, bool> all;
    return all;
}

void onTlsEvent(const SSL* connection, int kind, int detail) {
    constexpr int descriptionBits = 0xFF;
    if ((kind & SSL_CB_READ_ALERT) == SSL_CB_READ_ALERT &&
        (detail & descriptionBits) == SSL_AD_CLOSE_NOTIFY) {
        const auto entry = announcements().find(connection);
        if (entry != announcements().end()) {
            entry->second = true;
        }
    }
}

}  // namespace

void TlsEnd::announceIn(SSL_CTX* context) {
    SSL_CTX_set_info_callback(context, &onTlsEvent);
}

void TlsEnd::watch(CURL* easy) {
    curl_tlssessioninfo* session = nullptr;
    if (connection_ == nullptr &&
        curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session) == CURLE_OK && session != nullptr &&
        session->backend == CURLSSLBACKEND_OPENSSL && session->internals != nullptr) {
        connection_ = session->internals;
        announcements()[connection_] = false;
    }
}

void TlsEnd::stop() {
    const auto entry = announcements().find(connection_);
    if (entry != announcements().end()) {
        isMissing_ = !entry->second;
        announcements().erase(entry);
    }
    connection_ = nullptr;
}

}  // namespace foundation::httpclient_curl
