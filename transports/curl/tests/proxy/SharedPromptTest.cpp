#include "proxy/InternalHeaders.h"
#include "proxy/SharedPrompt.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

using core::ProxyCredentials;
using Answer = std::optional<ProxyCredentials>;

const std::string proxy = "proxy.test:3128";

class CountingPrompt final : public core::ProxyCredentialPrompt {
public:
    explicit CountingPrompt(std::function<Answer(int)> answer) : answer_(std::move(answer)) {}

    Answer promptForCredentials(bool, int, std::int64_t) override {
        EXPECT_FALSE(busy_.exchange(true)) << "two at once";
        const std::unique_ptr<std::atomic<bool>, void (*)(std::atomic<bool>*)> guard(
            &busy_, [](std::atomic<bool>* busy) { *busy = false; });
        return answer_(++asked);
    }

    std::atomic<int> asked{0};

private:
    std::function<Answer(int)> answer_;
    std::atomic<bool> busy_{false};
};

struct Desk {
    explicit Desk(std::function<Answer(int)> answer)
        : prompt(std::make_shared<CountingPrompt>(std::move(answer))), shared(prompt, store) {}

    Answer ask(std::uint64_t refused) {
        return shared.ask(proxy, refused, false, 3, 1000, cancelled);
    }

    std::shared_ptr<CredentialStore> store = std::make_shared<CredentialStore>();
    std::shared_ptr<CountingPrompt> prompt;
    SharedPrompt shared;
    std::atomic<bool> cancelled{false};
};

TEST(SharedPromptTest, AsksAndKeepsTheAnswer) {
    Desk desk([](int) { return ProxyCredentials("ann", "secret"); });
    EXPECT_EQ(desk.ask(0)->password(), "secret");
    EXPECT_EQ(desk.store->credentialsFor(proxy), "ann:secret");
    EXPECT_EQ(desk.prompt->asked, 1);
}

TEST(SharedPromptTest, AnAnswerServesAllThatWereRefusedBeforeIt) {
    Desk desk([](int asked) { return ProxyCredentials("ann", std::to_string(asked)); });
    std::vector<std::future<Answer>> answers;
    for (int i = 0; i < 64; ++i) {
        answers.push_back(std::async(std::launch::async, [&desk] { return desk.ask(0); }));
    }
    for (auto& answer : answers) {
        EXPECT_EQ(answer.get()->password(), "1");
    }
    EXPECT_EQ(desk.prompt->asked, 1);
    // The one that was refused with that very answer asks again.
    EXPECT_EQ(desk.ask(desk.store->loginFor(proxy)->generation)->password(), "2");
}

TEST(SharedPromptTest, ARefusalByTheUserHoldsForThoseThatWaited) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    Desk desk([released](int) {
        released.wait();
        return Answer();
    });
    std::atomic<int> arrived{0};
    std::vector<std::future<Answer>> answers;
    for (int i = 0; i < 8; ++i) {
        answers.push_back(std::async(std::launch::async, [&] {
            ++arrived;
            return desk.ask(0);
        }));
    }
    while (arrived < 8) {
        std::this_thread::yield();
    }
    // Between its arrival and its turn a thread has one statement to go.
    std::this_thread::sleep_for(std::chrono::seconds(1));
    release.set_value();
    for (auto& answer : answers) {
        EXPECT_FALSE(answer.get().has_value());
    }
    EXPECT_EQ(desk.prompt->asked, 1);
    EXPECT_FALSE(desk.ask(0).has_value());
    EXPECT_EQ(desk.prompt->asked, 2);
}

TEST(SharedPromptTest, ARequestThatIsCancelledDoesNotWaitForTheAnswer) {
    std::promise<void> release;
    std::promise<void> isAsked;
    Desk desk([&](int) {
        isAsked.set_value();
        release.get_future().wait();
        return ProxyCredentials("ann", "secret");
    });
    auto first = std::async(std::launch::async, [&desk] { return desk.ask(0); });
    isAsked.get_future().wait();
    std::atomic<bool> cancelled{false};
    auto second = std::async(std::launch::async,
                             [&] { return desk.shared.ask(proxy, 0, false, 3, 1000, cancelled); });
    cancelled = true;
    EXPECT_THROW(second.get(), core::HttpRequestCancelledException);
    release.set_value();
    EXPECT_EQ(first.get()->password(), "secret");
}

TEST(SharedPromptTest, AnExceptionOfThePromptLeavesItUsable) {
    Desk desk([](int asked) -> Answer {
        if (asked == 1) {
            throw std::runtime_error("no terminal");
        }
        return ProxyCredentials("ann", "secret");
    });
    EXPECT_THROW(desk.ask(0), std::runtime_error);
    EXPECT_TRUE(desk.ask(0).has_value());
}

TEST(RequestPromptTest, ReadsFromTheResponseWhatWasRefused) {
    const auto store = std::make_shared<CredentialStore>();
    const auto prompt =
        std::make_shared<CountingPrompt>([](int) { return ProxyCredentials("ann", "asked"); });
    const auto shared = std::make_shared<SharedPrompt>(prompt, store);
    core::HttpResponse response;
    response.setHeaderValue(proxyInfoHeader, proxy);
    response.setHeaderValue(proxyGenerationHeader, "0");
    RequestPrompt request(shared, response, nullptr);
    store->storeCredentials(proxy, "ann:kept");
    EXPECT_EQ(request.promptForCredentials(false, 3, 1000)->password(), "kept");
    EXPECT_EQ(prompt->asked, 0);
    response.setHeaderValue(proxyGenerationHeader,
                            std::to_string(store->loginFor(proxy)->generation));
    EXPECT_EQ(request.promptForCredentials(true, 2, 1000)->password(), "asked");
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
