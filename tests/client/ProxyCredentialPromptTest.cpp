#include <foundation/httpclient_core/ProxyCredentialPrompt.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

namespace foundation::httpclient_core {
namespace {

/// Asks no more once the proxy has refused an answer.
class OneTry : public ProxyCredentialPrompt {
public:
    explicit OneTry(bool& destroyed) : destroyed_(destroyed) {}
    OneTry(const OneTry&) = delete;
    OneTry& operator=(const OneTry&) = delete;
    ~OneTry() override { destroyed_ = true; }

    std::optional<ProxyCredentials> promptForCredentials(bool previousAttemptFailed,
                                                         int remainingAttempts,
                                                         std::int64_t timeoutMs) override {
        if (previousAttemptFailed) {
            return std::nullopt;
        }
        return ProxyCredentials("user" + std::to_string(remainingAttempts),
                                std::to_string(timeoutMs));
    }

private:
    bool& destroyed_;
};

TEST(ProxyCredentialPromptTest, AnswersOrDeclines) {
    bool destroyed = false;
    std::shared_ptr<ProxyCredentialPrompt> prompt = std::make_shared<OneTry>(destroyed);
    const std::optional<ProxyCredentials> answer =
        prompt->promptForCredentials(false, 3, 5'000'000'000);
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->username(), "user3");
    EXPECT_EQ(answer->password(), "5000000000");
    EXPECT_FALSE(prompt->promptForCredentials(true, 2, 0).has_value());
}

TEST(ProxyCredentialPromptTest, IsDestroyedThroughItsBase) {
    bool destroyed = false;
    std::unique_ptr<ProxyCredentialPrompt> prompt = std::make_unique<OneTry>(destroyed);
    prompt.reset();
    EXPECT_TRUE(destroyed);
    EXPECT_TRUE(std::is_abstract_v<ProxyCredentialPrompt>);
}

}  // namespace
}  // namespace foundation::httpclient_core
