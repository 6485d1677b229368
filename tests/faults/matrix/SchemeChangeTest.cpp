#include "tests/faults/matrix/TlsPeer.h"

namespace foundation::httpclient_curl::testing {
namespace {

class SchemeChangeTest : public BothRoads {};

INSTANTIATE_TEST_SUITE_P(Roads,
                         SchemeChangeTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

// Host and port stay: only the first connection speaks http.
TEST_P(SchemeChangeTest, RedirectToAnotherSchemeAloneDropsWhatIsForTheFirstOrigin) {
    CertificateAuthority authority;
    std::string first;
    std::string second;
    const std::string answer = headOf(200, lengthField(5)) + "Hello";
    const RawPeer::Handler secure = tlsHandler(authority.issue("IP:127.0.0.1"),
                                               TlsScript{.answer = answer, .request = &second});
    std::string place;
    RawPeer peer([&](RawSocket& socket, int number) {
        if (number > 0) {
            secure(socket, number);
            return;
        }
        first = socket.receiveUntil("\r\n\r\n");
        socket.send(headOf(302, "Location: " + place + "\r\n" + lengthField(0)));
    });
    place = peer.url("https");
    TestClient client;
    client->setClientConfiguration(plainConfiguration().withCertificateFile(authority.file()));
    const Outcome outcome = client.run(HttpRequest(HttpMethod::GET, peer.url("http"),
                                                   {{"Authorization", "Basic secret"},
                                                    {"Cookie", "name=secret"},
                                                    {"X-Api-Key", "secret"},
                                                    {"X-Other", "shown"}}),
                                       GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "Hello");
    EXPECT_EQ(outcome.response.getTransactionReport().redirectCount(), 1);
    EXPECT_NE(first.find("Basic secret"), std::string::npos) << first;
    EXPECT_NE(second.find("X-Other: shown"), std::string::npos) << second;
    EXPECT_EQ(second.find("secret"), std::string::npos) << second;
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
