#include "TestClient.h"

#include <foundation/httpclient_curl/CurlClientOptions.h>

namespace foundation::httpclient_curl::testing {
namespace {

class SilentPrompt final : public ProxyCredentialPrompt {
public:
    std::optional<ProxyCredentials> promptForCredentials(bool,
                                                         std::int32_t,
                                                         std::int64_t) override {
        return std::nullopt;
    }
};

TEST(CurlClientOptionsTest, PromptIsThatOfTheClient) {
    const auto prompt = std::make_shared<SilentPrompt>();
    CurlClientOptions options;
    options.credentialPrompt = prompt;
    TestClient client(std::move(options));
    EXPECT_EQ(client->proxyCredentialPrompt(HttpResponse(), nullptr), prompt);
    EXPECT_EQ(TestClient(prompt)->proxyCredentialPrompt(HttpResponse(), nullptr), prompt);
    EXPECT_EQ(TestClient()->proxyCredentialPrompt(HttpResponse(), nullptr), nullptr);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
