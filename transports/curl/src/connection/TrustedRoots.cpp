#include "connection/TrustedRoots.h"

#include <curl/curl.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <new>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <string_view>
#include <system_error>

namespace foundation::httpclient_curl {
namespace {

// "1a2b3c4d.0", as `openssl rehash` names links to certificates.
bool isHashedName(std::string_view name) {
    constexpr std::size_t hashLength = 8;
    return name.size() == hashLength + 2 && name.substr(hashLength) == ".0" &&
           name.find_first_not_of("0123456789abcdef") == hashLength;
}

bool hasHashedNames(const char* directory) {
    std::error_code error;
    const std::filesystem::directory_iterator entries(directory, error);
    return !error && std::any_of(begin(entries), end(entries), [](const auto& entry) {
        return isHashedName(entry.path().filename().native());
    });
}

// The bundle of a context; null once it was read.
std::string* bundleOf(X509_LOOKUP* lookup) {
    return static_cast<std::string*>(X509_LOOKUP_get_method_data(lookup));
}

void forgetBundle(X509_LOOKUP* lookup) {
    delete bundleOf(lookup);  // NOLINT(cppcoreguidelines-owning-memory): OpenSSL holds it
    X509_LOOKUP_set_method_data(lookup, nullptr);
}

// Called when no other place of the context has the name.
int findInBundle(X509_LOOKUP* lookup,
                 X509_LOOKUP_TYPE type,
                 const X509_NAME* name,
                 X509_OBJECT* found) {
    if (type != X509_LU_X509 || bundleOf(lookup) == nullptr) {
        return 0;
    }
    X509_STORE* store = X509_LOOKUP_get_store(lookup);
    const bool isRead = X509_STORE_load_locations(store, bundleOf(lookup)->c_str(), nullptr) == 1;
    forgetBundle(lookup);
    if (!isRead) {
        return 0;
    }
    X509_STORE_lock(store);
    X509_OBJECT* object =
        X509_OBJECT_retrieve_by_subject(X509_STORE_get0_objects(store), type, name);
    X509_STORE_unlock(store);
    if (object == nullptr) {
        return 0;
    }
    X509* certificate = X509_OBJECT_get0_X509(object);
    // The caller of a lookup takes a reference of its own, so the one taken here has to go.
    X509_OBJECT_set1_X509(found, certificate);
    X509_free(certificate);
    return 1;
}

X509_LOOKUP_METHOD* lateBundle() {
    static X509_LOOKUP_METHOD* const method = [] {
        X509_LOOKUP_METHOD* made = X509_LOOKUP_meth_new("bundle of trusted authorities");
        if (made == nullptr) {
            throw std::bad_alloc();
        }
        X509_LOOKUP_meth_set_get_by_subject(made, &findInBundle);
        X509_LOOKUP_meth_set_free(made, &forgetBundle);
        return made;
    }();
    return method;
}

}  // namespace

TrustedRoots TrustedRoots::ofSystem() {
    const curl_version_info_data& built = *curl_version_info(CURLVERSION_NOW);
    return in(built.capath, built.cainfo);
}

TrustedRoots TrustedRoots::in(const char* directory, const char* bundle) {
    return {.bundle = bundle != nullptr ? bundle : "",
            .areFoundByName = directory != nullptr && hasHashedNames(directory)};
}

void TrustedRoots::readBundleLate(SSL_CTX* context, const std::string& bundle) {
    X509_LOOKUP* lookup = X509_STORE_add_lookup(SSL_CTX_get_cert_store(context), lateBundle());
    if (lookup == nullptr) {
        throw std::bad_alloc();
    }
    if (bundleOf(lookup) == nullptr) {
        X509_LOOKUP_set_method_data(lookup, std::make_unique<std::string>(bundle).release());
    }
}

}  // namespace foundation::httpclient_curl
