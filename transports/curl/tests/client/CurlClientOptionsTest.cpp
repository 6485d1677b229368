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

}  // namespace
}  // namespace foundation::httpclient_curl::testing
