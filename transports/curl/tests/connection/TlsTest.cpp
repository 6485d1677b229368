#include "servers/TlsServer.h"
#include "support/TestClient.h"

namespace foundation::httpclient_curl::testing {
namespace {

bool isTlsFailure(const Outcome& outcome) {
    return holds<HttpRequestFailedException>(outcome.error) &&
           outcome.message().find(": TLS verification: ") != std::string::npos;
}

class TlsTest : public BothRoads {
protected:
    static CertificateAuthority& authority() {
        static CertificateAuthority authority;
        return authority;
    }
    static ClientConfiguration trusting() {
        return plainConfiguration().withCertificateFile(authority().file());
    }
};

INSTANTIATE_TEST_SUITE_P(Roads,
                         TlsTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(TlsTest, AcceptsACertificateOfTheCertificateFileForItsNameOnly) {
    const TlsServer server(authority().issue("DNS:localhost"));
    TestClient client;
    client->setClientConfiguration(trusting());
    const Outcome right = client.get(server.url("localhost"), GetParam());
    EXPECT_EQ(right.error, nullptr) << right.message();
    EXPECT_EQ(right.code(), HttpResponseCode::OK);
    const Outcome wrong = client.get(server.url("127.0.0.1"), GetParam());
    EXPECT_TRUE(isTlsFailure(wrong)) << wrong.message();
    EXPECT_EQ(wrong.response.getResponseCode(), HttpResponseCode::RequestNotMade);
}

TEST_P(TlsTest, RefusesAnAuthorityThatNobodyTrusts) {
    const TlsServer server(authority().issue("DNS:localhost"));
    TestClient client;
    client->setClientConfiguration(plainConfiguration());
    const Outcome outcome = client.get(server.url("localhost"), GetParam());
    EXPECT_TRUE(isTlsFailure(outcome)) << outcome.message();
}

TEST_P(TlsTest, RefusesAServerThatSignedItsCertificateItself) {
    // The authority's own certificate in the place of one that it issued.
    CertificateAuthority other;
    const TlsServer server({other.file(), other.keyFile()});
    TestClient client;
    client->setClientConfiguration(trusting());
    const Outcome outcome = client.get(server.url("localhost"), GetParam());
    EXPECT_TRUE(isTlsFailure(outcome)) << outcome.message();
}

TEST_P(TlsTest, RefusesACertificateThatHasExpired) {
    const TlsServer server(authority().issue("DNS:localhost", true));
    TestClient client;
    client->setClientConfiguration(trusting());
    const Outcome outcome = client.get(server.url("localhost"), GetParam());
    EXPECT_TRUE(isTlsFailure(outcome)) << outcome.message();
    EXPECT_NE(outcome.message().find("expired"), std::string::npos) << outcome.message();
}

TEST_P(TlsTest, MissingCertificateFileIsAFailure) {
    LoopbackServer server([](const ReceivedRequest&, Connection&) {});
    TestClient client;
    client->setClientConfiguration(plainConfiguration().withCertificateFile("/nowhere.pem"));
    const Outcome outcome =
        client.get("https://127.0.0.1:" + std::to_string(server.port()) + "/", GetParam());
    EXPECT_TRUE(isTlsFailure(outcome)) << outcome.message();
}

TEST_P(TlsTest, RefusesVersionsBefore12) {
    TestClient client;
    client->setClientConfiguration(trusting());
    const TlsServer old(authority().issue("DNS:localhost"),
                        {"-tls1_1", "-cipher", "ALL:@SECLEVEL=0"});
    const Outcome refused = client.get(old.url("localhost"), GetParam());
    EXPECT_TRUE(holds<HttpRequestFailedException>(refused.error));
    EXPECT_NE(refused.message().find("(libcurl 35)"), std::string::npos) << refused.message();
    const TlsServer lowest(authority().issue("DNS:localhost"), {"-tls1_2"});
    const Outcome accepted = client.get(lowest.url("localhost"), GetParam());
    EXPECT_EQ(accepted.error, nullptr) << accepted.message();
}

// A proxy that is spoken to over TLS.
TEST_P(TlsTest, AProxyHasToProveItselfJustTheSame) {
    const TlsServer proxy(authority().issue("DNS:localhost"));
    TestClient client;
    ClientConfiguration configuration = trusting();
    Access::setProxyUrl(configuration, proxy.url("localhost"));
    client->setClientConfiguration(configuration);
    const Outcome right = client.get("http://somewhere.invalid/", GetParam());
    EXPECT_EQ(right.error, nullptr) << right.message();
    EXPECT_EQ(right.code(), HttpResponseCode::OK);
    Access::setProxyUrl(configuration, proxy.url("127.0.0.1"));
    client->setClientConfiguration(configuration);
    const Outcome wrong = client.get("http://somewhere.invalid/", GetParam());
    EXPECT_TRUE(isTlsFailure(wrong)) << wrong.message();
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
