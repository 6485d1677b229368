#include "connection/TrustedRoots.h"
#include "servers/CertificateAuthority.h"
#include "servers/ScratchFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <string>

namespace foundation::httpclient_curl::testing {
namespace {

template <auto release>
struct Free {
    template <class Handle>
    void operator()(Handle* handle) const {
        release(handle);
    }
};
using Context = std::unique_ptr<SSL_CTX, Free<SSL_CTX_free>>;
using X509Pointer = std::unique_ptr<X509, Free<X509_free>>;

X509Pointer readCertificate(const std::string& path) {
    const std::unique_ptr<BIO, Free<BIO_free_all>> file(BIO_new_file(path.c_str(), "r"));
    EXPECT_NE(file, nullptr) << path;
    return X509Pointer(PEM_read_bio_X509(file.get(), nullptr, nullptr, nullptr));
}

class TrustedRootsTest : public ::testing::Test {
protected:
    // The authority's certificate under the name by which it is looked up.
    void putIntoDirectory(const CertificateAuthority& authority) {
        const X509Pointer certificate = readCertificate(authority.file());
        std::array<char, 16> name{};
        std::snprintf(
            name.data(), name.size(), "%08lx.0",
            X509_NAME_hash_ex(X509_get_subject_name(certificate.get()), nullptr, nullptr, nullptr));
        std::filesystem::copy_file(authority.file(), folder_ / name.data());
    }

    // A context as libcurl makes it for the directory alone.
    Context contextWith(const std::string& bundle) {
        Context context(SSL_CTX_new(TLS_client_method()));
        const std::string directory = folder_ / "";
        EXPECT_EQ(SSL_CTX_load_verify_locations(context.get(), nullptr, directory.c_str()), 1);
        TrustedRoots::readBundleLate(context.get(), bundle);
        return context;
    }

    static bool trusts(const Context& context, const Certificate& certificate) {
        const X509Pointer leaf = readCertificate(certificate.file);
        const std::unique_ptr<X509_STORE_CTX, Free<X509_STORE_CTX_free>> check(
            X509_STORE_CTX_new());
        X509_STORE_CTX_init(check.get(), SSL_CTX_get_cert_store(context.get()), leaf.get(),
                            nullptr);
        return X509_verify_cert(check.get()) == 1;
    }

    // How many certificates a context has in memory.
    static int sizeOf(const Context& context) {
        return sk_X509_OBJECT_num(X509_STORE_get0_objects(SSL_CTX_get_cert_store(context.get())));
    }

    ScratchFolder folder_;
    CertificateAuthority inDirectory_;
    CertificateAuthority inBundle_{"Authority of the bundle"};
    CertificateAuthority unknown_{"Authority of nobody"};
};

TEST_F(TrustedRootsTest, OnlyADirectoryWithHashedNamesIsSearched) {
    const std::string directory = folder_ / "";
    for (const char* name :
         {"readme", "0a1b2c3d.pem", "0a1b2c3.0", "0A1B2C3D.0", "0a1b2c3d.0.bak"}) {
        std::ofstream(folder_ / name) << "x";
        EXPECT_FALSE(TrustedRoots::in(directory.c_str(), "/bundle").areFoundByName) << name;
    }
    EXPECT_FALSE(TrustedRoots::in((directory + "none").c_str(), nullptr).areFoundByName);
    EXPECT_FALSE(TrustedRoots::in(nullptr, nullptr).areFoundByName);
    putIntoDirectory(inDirectory_);
    EXPECT_TRUE(TrustedRoots::in(directory.c_str(), "/bundle").areFoundByName);
    EXPECT_EQ(TrustedRoots::in(directory.c_str(), "/bundle").bundle, "/bundle");
    EXPECT_EQ(TrustedRoots::in(directory.c_str(), nullptr).bundle, "");
}

TEST_F(TrustedRootsTest, BundleIsReadOnlyForAnAuthorityThatTheDirectoryLacks) {
    putIntoDirectory(inDirectory_);
    const Context context = contextWith(inBundle_.file());
    EXPECT_TRUE(trusts(context, inDirectory_.issue("DNS:localhost")));
    EXPECT_EQ(sizeOf(context), 1) << "the bundle was read";
    EXPECT_TRUE(trusts(context, inBundle_.issue("DNS:localhost")));
    EXPECT_EQ(sizeOf(context), 2);
    EXPECT_FALSE(trusts(context, unknown_.issue("DNS:localhost")));
    EXPECT_TRUE(trusts(context, inBundle_.issue("DNS:other")));
    EXPECT_TRUE(trusts(context, inDirectory_.issue("DNS:other")));
}

TEST_F(TrustedRootsTest, WithoutAReadableBundleTheDirectoryCounts) {
    putIntoDirectory(inDirectory_);
    const Context context = contextWith(folder_ / "none");
    EXPECT_FALSE(trusts(context, unknown_.issue("DNS:localhost")));
    EXPECT_FALSE(trusts(context, inBundle_.issue("DNS:localhost")));
    EXPECT_TRUE(trusts(context, inDirectory_.issue("DNS:localhost")));
}

TEST_F(TrustedRootsTest, ForgedNameOfATrustedAuthorityIsRefused) {
    putIntoDirectory(inDirectory_);
    CertificateAuthority forged;  // Of the same name, with another key.
    const Context context = contextWith(inBundle_.file());
    EXPECT_FALSE(trusts(context, forged.issue("DNS:localhost")));
    EXPECT_TRUE(trusts(context, inDirectory_.issue("DNS:localhost")));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
