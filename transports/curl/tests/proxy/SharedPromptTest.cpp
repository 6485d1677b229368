#include "proxy/InternalHeaders.h"
#include "proxy/SharedPrompt.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
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

// Two requests: one that asks and tries, and one that waits for it.
struct TrialDesk : Desk {
    using Desk::Desk;

    Answer ask(std::uint64_t refused, SharedPrompt::Trial& trial, int remaining = 3) {
        return shared.ask(proxy, refused, false, remaining, 1000, cancelled, &trial);
    }
    // Asks on a thread of its own, as a request that was refused without credentials.
    std::future<Answer> askElsewhere() {
        return std::async(std::launch::async, [this] {
            SharedPrompt::Trial trial;
            const Answer answer = ask(0, trial);
            shared.endTrial(trial);
            return answer;
        });
    }
    // Long enough for its thread to get there.
    static bool isWaiting(const std::future<Answer>& answer) {
        return answer.wait_for(std::chrono::seconds(1)) == std::future_status::timeout;
    }
};

Answer numbered(int asked) {
    return ProxyCredentials("ann", std::to_string(asked));
}

TEST(SharedPromptTest, AnAnswerIsTriedBeforeTheOthersGetIt) {
    TrialDesk desk(numbered);
    SharedPrompt::Trial trial;
    EXPECT_EQ(desk.ask(0, trial)->password(), "1");
    auto other = desk.askElsewhere();
    EXPECT_TRUE(TrialDesk::isWaiting(other));
    desk.store->judge(proxy, trial.generation, true);
    EXPECT_EQ(other.get()->password(), "1");
    EXPECT_EQ(desk.prompt->asked, 1);
    desk.shared.endTrial(trial);
}

TEST(SharedPromptTest, TheOthersWaitUntilAnAnswerIsRight) {
    TrialDesk desk(numbered);
    SharedPrompt::Trial trial;
    desk.ask(0, trial);
    auto other = desk.askElsewhere();
    desk.store->judge(proxy, trial.generation, false);
    EXPECT_TRUE(TrialDesk::isWaiting(other));
    EXPECT_EQ(desk.ask(trial.generation, trial, 2)->password(), "2");
    desk.store->judge(proxy, trial.generation, true);
    EXPECT_EQ(other.get()->password(), "2");
    EXPECT_EQ(desk.prompt->asked, 2);
    desk.shared.endTrial(trial);
}

TEST(SharedPromptTest, TheOthersAreDeclinedWhereTheLastAnswerIsWrong) {
    TrialDesk desk(numbered);
    SharedPrompt::Trial trial;
    desk.ask(0, trial, 1);
    auto other = desk.askElsewhere();
    EXPECT_TRUE(TrialDesk::isWaiting(other));
    desk.store->judge(proxy, trial.generation, false);
    desk.shared.endTrial(trial);
    EXPECT_FALSE(other.get().has_value());
    EXPECT_EQ(desk.prompt->asked, 1);
    // Who comes later asks anew.
    EXPECT_EQ(desk.askElsewhere().get()->password(), "2");
}

TEST(SharedPromptTest, TheNextOneAsksWhereTheFirstEndedWithAttemptsLeft) {
    TrialDesk desk(numbered);
    SharedPrompt::Trial trial;
    desk.ask(0, trial);
    auto other = desk.askElsewhere();
    EXPECT_TRUE(TrialDesk::isWaiting(other));
    desk.store->judge(proxy, trial.generation, false);
    desk.shared.endTrial(trial);
    EXPECT_EQ(other.get()->password(), "2");
}

TEST(SharedPromptTest, AnAnswerWithoutAVerdictIsTheOthersWhenItsRequestEnds) {
    TrialDesk desk(numbered);
    SharedPrompt::Trial trial;
    desk.ask(0, trial, 1);
    auto other = desk.askElsewhere();
    EXPECT_TRUE(TrialDesk::isWaiting(other));
    desk.shared.endTrial(trial);
    EXPECT_EQ(other.get()->password(), "1");
}

TEST(SharedPromptTest, ARequestThatIsCancelledDoesNotWaitForATrial) {
    TrialDesk desk(numbered);
    SharedPrompt::Trial trial;
    desk.ask(0, trial);
    auto other = desk.askElsewhere();
    EXPECT_TRUE(TrialDesk::isWaiting(other));
    desk.cancelled = true;
    EXPECT_THROW(other.get(), core::HttpRequestCancelledException);
    desk.shared.endTrial(trial);
}

// Open until it is told to stop; a count tells which time.
class OpenPrompt final : public CancellableCredentialPrompt {
public:
    Answer ask(bool, int, std::int64_t, std::stop_token stop) override {
        if (++asked > 1) {
            return ProxyCredentials("ann", "secret");
        }
        std::promise<void> stopped;
        const std::stop_callback tell(stop, [&stopped] { stopped.set_value(); });
        isOpen.set_value();
        stopped.get_future().wait();
        return std::nullopt;
    }

    std::atomic<int> asked{0};
    std::promise<void> isOpen;
};

struct OpenDesk {
    std::future<Answer> ask(const std::atomic<bool>& cancelled) {
        return std::async(std::launch::async, [this, &cancelled] {
            return shared.ask(proxy, 0, false, 3, 1000, cancelled);
        });
    }

    std::shared_ptr<OpenPrompt> prompt = std::make_shared<OpenPrompt>();
    SharedPrompt shared{prompt, std::make_shared<CredentialStore>()};
};

TEST(SharedPromptTest, WithdrawsTheQuestionOfARequestThatIsCancelled) {
    OpenDesk desk;
    std::atomic<bool> first{false};
    std::atomic<bool> second{false};
    auto asking = desk.ask(first);
    desk.prompt->isOpen.get_future().wait();
    auto waiting = desk.ask(second);
    // Somebody else's.
    desk.shared.cancellationsChanged();
    EXPECT_TRUE(TrialDesk::isWaiting(asking));
    first = true;
    desk.shared.cancellationsChanged();
    EXPECT_THROW(asking.get(), core::HttpRequestCancelledException);
    // That was no word of the user: the other one asks in its place.
    EXPECT_EQ(waiting.get()->password(), "secret");
    EXPECT_EQ(desk.prompt->asked, 2);
}

TEST(SharedPromptTest, RefusesAllQuestionsOnceItIsClosed) {
    OpenDesk desk;
    const std::atomic<bool> cancelled{false};
    auto asking = desk.ask(cancelled);
    desk.prompt->isOpen.get_future().wait();
    auto waiting = desk.ask(cancelled);
    desk.shared.close();
    EXPECT_THROW(asking.get(), core::HttpRequestCancelledException);
    EXPECT_THROW(waiting.get(), core::HttpRequestCancelledException);
    EXPECT_THROW(desk.ask(cancelled).get(), core::HttpRequestCancelledException);
    EXPECT_EQ(desk.prompt->asked, 1);
}

TEST(SharedPromptTest, ARequestThatIsCancelledAlreadyAsksNobody) {
    Desk desk(numbered);
    desk.cancelled = true;
    EXPECT_THROW(desk.ask(0), core::HttpRequestCancelledException);
    EXPECT_EQ(desk.prompt->asked, 0);
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
