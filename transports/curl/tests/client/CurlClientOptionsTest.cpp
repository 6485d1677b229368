#include "support/TestClient.h"

#include <foundation/httpclient_curl/CurlClientOptions.h>

namespace foundation::httpclient_curl::testing {
namespace {

class DecliningPrompt final : public ProxyCredentialPrompt {
public:
    std::optional<ProxyCredentials> promptForCredentials(bool,
                                                         std::int32_t,
                                                         std::int64_t) override {
        ++timesAsked;
        return std::nullopt;
    }

    int timesAsked = 0;
};

TEST(CurlClientOptionsTest, PromptIsThatOfTheClient) {
    const auto prompt = std::make_shared<DecliningPrompt>();
    CurlClientOptions options;
    options.credentialPrompt = prompt;
    TestClient withOptions(std::move(options));
    TestClient withPrompt(prompt);
    const HttpResponse response;
    withOptions->proxyCredentialPrompt(response, nullptr)->promptForCredentials(false, 3, 1000);
    EXPECT_EQ(prompt->timesAsked, 1);
    withPrompt->proxyCredentialPrompt(response, nullptr)->promptForCredentials(false, 3, 1000);
    EXPECT_EQ(prompt->timesAsked, 2);
    EXPECT_EQ(TestClient()->proxyCredentialPrompt(response, nullptr), nullptr);
}

TEST(CurlClientOptionsTest, DefaultsAreThoseOfTheDocumentation) {
    const CurlClientOptions options;
    EXPECT_EQ(options.credentialPrompt, nullptr);
    EXPECT_EQ(options.sensitiveHeaders,
              (std::vector<std::string>{"X-Api-Key", "X-Auth-Token", "X-Csrf-Token"}));
    EXPECT_EQ(options.maxResponseHeaderFields, 1000);
    EXPECT_EQ(options.maxResponseHeaderBytes, 262144);
    EXPECT_EQ(options.maxResponseBodyBytes, -1);
    EXPECT_FALSE(options.attemptObserver);
}

TEST(CurlClientOptionsTest, TheUsualSecretsNeedNoNaming) {
    LoopbackServer other(
        [](const ReceivedRequest&, Connection& connection) { connection.sendResponse(200, "OK"); });
    LoopbackServer server([&other](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(302, "There", {{"Location", other.url()}});
    });
    CurlClientOptions options;
    options.sensitiveHeaders.clear();
    TestClient client(std::move(options));
    client.run(HttpRequest(HttpMethod::GET, server.url(),
                           {{"Authorization", "a"}, {"Cookie", "b"}, {"X-Api-Key", "c"}}));
    ASSERT_EQ(other.requestCount(), 1);
    EXPECT_FALSE(other.requests()[0].hasHeader("Authorization"));
    EXPECT_FALSE(other.requests()[0].hasHeader("Cookie"));
    EXPECT_TRUE(other.requests()[0].hasHeader("X-Api-Key"));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
