#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace foundation::httpclient_core::detail {
namespace {

using Client = ClientConfigurationAccess;
using WebSocket = WebSocketClientConfigurationAccess;

TEST(TransportAccessTest, ReadsAndSetsWhatHasNoAccessor) {
    ClientConfiguration configuration;
    Client::setProxyUrl(configuration, "http://proxy:3128");
    EXPECT_EQ(Client::proxyUrl(configuration), "http://proxy:3128");
    WebSocketClientConfiguration webSocket;
    WebSocket::setPingIntervalMs(webSocket, 250);
    EXPECT_EQ(WebSocket::pingIntervalMs(webSocket), 250);
}

TEST(TransportAccessTest, ClientConfigurationHasItsDefaults) {
    const ClientConfiguration configuration;
    EXPECT_EQ(Client::connectTimeoutMs(configuration), 5000);
    EXPECT_EQ(Client::responseTimeoutMs(configuration), 30000);
    EXPECT_EQ(Client::idleTimeoutMs(configuration), 30000);
    EXPECT_EQ(Client::proxyUrl(configuration), "");
    EXPECT_EQ(Client::credentialPromptTimeoutMs(configuration), 120000);
}

TEST(TransportAccessTest, WebSocketClientConfigurationHasItsDefaults) {
    const WebSocketClientConfiguration configuration;
    EXPECT_EQ(WebSocket::tlsVerifyMode(configuration), 1);
    EXPECT_EQ(WebSocket::connectTimeoutMs(configuration), 5000);
    EXPECT_EQ(WebSocket::pingIntervalMs(configuration), 0);
}

std::string describe(const ClientConfiguration& c) {
    return std::to_string(Client::connectTimeoutMs(c)) + "|" +
           std::to_string(Client::responseTimeoutMs(c)) + "|" +
           std::to_string(Client::idleTimeoutMs(c)) + "|" + Client::proxyUrl(c) + "|" +
           std::to_string(Client::credentialPromptTimeoutMs(c));
}

TEST(TransportAccessTest, ClientSettingsAreIndependentUncheckedAndPartOfTheValue) {
    ClientConfiguration configuration;
    Client::setConnectTimeoutMs(configuration, -1);
    Client::setResponseTimeoutMs(configuration, 2);
    Client::setIdleTimeoutMs(configuration, 3);
    Client::setProxyUrl(configuration, "no url");
    Client::setCredentialPromptTimeoutMs(configuration, 4294967296);
    const std::string expected = "-1|2|3|no url|4294967296";
    EXPECT_EQ(describe(configuration), expected);
    ClientConfiguration copy(configuration);
    ClientConfiguration target;
    target = copy;
    Client::setProxyUrl(configuration, "changed");
    EXPECT_EQ(describe(target), expected);
    const ClientConfiguration moved(std::move(copy));
    EXPECT_EQ(describe(moved), expected);
    ClientConfiguration assigned;
    assigned = std::move(target);
    EXPECT_EQ(describe(assigned), expected);
}

std::string describe(const WebSocketClientConfiguration& c) {
    return std::to_string(WebSocket::tlsVerifyMode(c)) + "|" +
           std::to_string(WebSocket::connectTimeoutMs(c)) + "|" +
           std::to_string(WebSocket::pingIntervalMs(c));
}

TEST(TransportAccessTest, WebSocketSettingsAreIndependentUncheckedAndPartOfTheValue) {
    WebSocketClientConfiguration configuration;
    WebSocket::setTlsVerifyMode(configuration, -7);
    WebSocket::setConnectTimeoutMs(configuration, 4294967296);
    WebSocket::setPingIntervalMs(configuration, -1);
    const std::string expected = "-7|4294967296|-1";
    EXPECT_EQ(describe(configuration), expected);
    WebSocketClientConfiguration copy(configuration);
    WebSocketClientConfiguration target;
    target = copy;
    WebSocket::setTlsVerifyMode(configuration, 0);
    EXPECT_EQ(describe(target), expected);
    const WebSocketClientConfiguration moved(std::move(copy));
    EXPECT_EQ(describe(moved), expected);
    WebSocketClientConfiguration assigned;
    assigned = std::move(target);
    EXPECT_EQ(describe(assigned), expected);
}

}  // namespace
}  // namespace foundation::httpclient_core::detail
