#include "servers/ChildProcess.h"
#include "support/TestClient.h"

#include <optional>
#include <string>

namespace foundation::httpclient_curl::testing {
namespace {

class EagerPrompt final : public ProxyCredentialPrompt {
public:
    std::optional<ProxyCredentials> promptForCredentials(bool, int, std::int64_t) override {
        ADD_FAILURE() << "asked";
        return ProxyCredentials("ann", "secret");
    }
};

class SocksTest : public BothRoads {};

INSTANTIATE_TEST_SUITE_P(Roads,
                         SocksTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

// Behind a SOCKS proxy it is always the server that says 407.
TEST_P(SocksTest, GoesThroughTheProxyAndTakesNoRefusalForItsOwn) {
    ChildProcess proxy({"python3", HTTPCLIENT_SOCKS_SERVER});
    const std::string port = proxy.readUntil("\n");
    ASSERT_TRUE(port.starts_with("port ")) << port;
    TestClient client(std::make_shared<EagerPrompt>());
    ClientConfiguration configuration = plainConfiguration();
    Access::setProxyUrl(configuration,
                        "socks5h://127.0.0.1:" + std::to_string(std::stoi(port.substr(5))));
    client->setClientConfiguration(configuration);
    const Outcome outcome = client.get("http://somewhere.invalid/", GetParam());
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.code(), HttpResponseCode::ProxyAuthenticationRequired);
    EXPECT_EQ(outcome.body(), "somewhere.invalid:80");
    EXPECT_FALSE(outcome.response.hasHeader("QZ-Internal-Proxy-Info"));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
