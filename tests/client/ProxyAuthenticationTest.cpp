// Serving a proxy, on both roads.
#include "tests/client/ProxyFakes.h"
#include "tests/client/Roads.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <gtest/gtest.h>

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::answer;
using testing::Attempt;
using testing::Events;
using testing::failure;
using testing::FakePrompt;
using testing::FakeStore;
using testing::getRequest;
using testing::LogRecord;
using testing::postRequest;
using testing::refusal;
using testing::Road;
using testing::roadName;
using testing::RoadTest;
using testing::ScriptedTransport;
using testing::Seen;
using testing::textOf;
using testing::throwsExactly;

const char* const tooManyAttempts =
    "Maximum number of failed proxy authentication attempts reached but authentication still "
    "failed";

class ProxyAuthenticationTest : public RoadTest {
protected:
    ProxyAuthenticationTest() { client.setClientConfiguration(once()); }

    /// The default proxy strategy and no retries.
    static ClientConfiguration once() {
        return ClientConfiguration().withRetryStrategy(noRetriesStrategy());
    }

    /// Attempts end as listed and are among the events.
    void script(std::vector<Attempt> attempts) {
        client.answerWith([this, attempts = std::move(attempts),
                           next = std::size_t{0}](const Seen& seen) mutable {
            events.push_back(std::string(seen.isProxyResend() ? "re-send" : "send"));
            if (next == attempts.size()) {
                ADD_FAILURE() << "an attempt more than the script has";
                return failure("The script is at its end.");
            }
            return attempts[next++];
        });
    }

    std::shared_ptr<FakePrompt> usePrompt(std::vector<ProxyCredentials> answers) {
        auto prompt = std::make_shared<FakePrompt>(events, std::move(answers));
        client.makePrompt = [prompt](const HttpResponse&, const std::exception_ptr&) {
            return prompt;
        };
        return prompt;
    }

    std::shared_ptr<FakeStore> useStore() {
        auto store = std::make_shared<FakeStore>(events);
        client.makeStore = [store] { return store; };
        return store;
    }

    HttpResponse get() { return run(client, getRequest()); }

    ScriptedTransport client;
    Events events;
};

INSTANTIATE_TEST_SUITE_P(Roads,
                         ProxyAuthenticationTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(ProxyAuthenticationTest, AsksTheUserAndSendsAgain) {
    script({refusal(), refusal(), answer(HttpResponseCode::OK, "Hello")});
    usePrompt({{"ann", "secret"}});
    useStore();
    HttpResponse response = get();
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::OK);
    EXPECT_EQ(response.getResponseBodyString(), "Hello");
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000",
                              "store ann:secret for proxy.test:3128", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, StoredCredentialsMaySuffice) {
    script({refusal(), answer(HttpResponseCode::OK)});
    usePrompt({{"ann", "secret"}});
    useStore();
    get();
    EXPECT_EQ(events, (Events{"send", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, ARequestThatNoProxyRefusesIsSentOnce) {
    script({answer(HttpResponseCode::OK)});
    usePrompt({{"ann", "secret"}});
    get();
    EXPECT_EQ(events, (Events{"send"}));
    EXPECT_FALSE(client.useProxyCredentialProvider());
}

TEST_P(ProxyAuthenticationTest, WithoutAPromptItSendsAgainExactlyOnce) {
    script({refusal(), refusal()});
    useStore();
    EXPECT_EQ(get().getResponseCode(), HttpResponseCode::ProxyAuthenticationRequired);
    EXPECT_EQ(events, (Events{"send", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, PromptsAsOftenAsConfigured) {
    script({refusal(), refusal(), refusal(), refusal(), refusal()});
    usePrompt({{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}});
    useStore();
    EXPECT_EQ(get().getResponseCode(), HttpResponseCode::ProxyAuthenticationRequired);
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000",
                              "store a:1 for proxy.test:3128", "re-send", "prompt again 2 120000",
                              "store b:2 for proxy.test:3128", "re-send", "prompt again 1 120000",
                              "store c:3 for proxy.test:3128", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, AClientThatWasNeverConfiguredPromptsThreeTimes) {
    ScriptedTransport fresh;
    fresh.answerWith([](const Seen&) { return refusal(); });
    const auto prompt = std::make_shared<FakePrompt>(
        events, std::vector<ProxyCredentials>{{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}});
    fresh.makePrompt = [prompt](const HttpResponse&, const std::exception_ptr&) { return prompt; };
    HttpRequest request = getRequest();
    request.setClientConfiguration(once());
    EXPECT_EQ(run(fresh, std::move(request)).getResponseCode(),
              HttpResponseCode::ProxyAuthenticationRequired);
    EXPECT_EQ(events,
              (Events{"prompt first 3 120000", "prompt again 2 120000", "prompt again 1 120000"}));
}

TEST_P(ProxyAuthenticationTest, NoPromptsConfiguredMeansOneMoreSend) {
    for (const int retries : {0, -1}) {
        client.setClientConfiguration(once().withProxyCredentialPromptNumRetries(retries));
        events.clear();
        script({refusal(), refusal()});
        usePrompt({{"ann", "secret"}});
        get();
        EXPECT_EQ(events, (Events{"send", "re-send"}));
    }
}

TEST_P(ProxyAuthenticationTest, TheClientsConfigurationCountsThePrompts) {
    client.setClientConfiguration(once().withProxyCredentialPromptNumRetries(1));
    script({refusal(), refusal(), refusal()});
    usePrompt({{"a", "1"}, {"b", "2"}});
    HttpRequest request = getRequest();
    request.setClientConfiguration(once().withProxyCredentialPromptNumRetries(7));
    run(client, std::move(request));
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 1 120000", "re-send"}));
}

// The number is read once, the time limit at each prompt; both follow setClientConfiguration.
TEST_P(ProxyAuthenticationTest, ALaterConfigurationReachesTheNextPrompt) {
    script({refusal(), refusal(), refusal(), refusal()});
    usePrompt({{"a", "1"}, {"b", "2"}})->onPrompt = [this] {
        ClientConfiguration changed = once().withProxyCredentialPromptNumRetries(9);
        detail::ClientConfigurationAccess::setCredentialPromptTimeoutMs(changed, 500);
        client.setClientConfiguration(changed);
    };
    get();
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000", "re-send",
                              "prompt again 2 500", "re-send", "prompt again 1 500"}));
}

TEST_P(ProxyAuthenticationTest, ADeclinedPromptSendsNothingMore) {
    script({refusal(), refusal()});
    usePrompt({});
    useStore();
    EXPECT_EQ(get().getResponseCode(), HttpResponseCode::ProxyAuthenticationRequired);
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000", "declined"}));
}

TEST_P(ProxyAuthenticationTest, TheUserMayDeclineLater) {
    script({refusal(), refusal(), refusal()});
    usePrompt({{"ann", "wrong"}});
    useStore();
    get();
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000",
                              "store ann:wrong for proxy.test:3128", "re-send",
                              "prompt again 2 120000", "declined"}));
}

TEST_P(ProxyAuthenticationTest, WithoutAStoreTheAnswerIsNotKept) {
    script({refusal(), refusal(), answer(HttpResponseCode::OK)});
    usePrompt({{"ann", "secret"}});
    EXPECT_EQ(get().getResponseCode(), HttpResponseCode::OK);
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, WithoutAStoreNobodyIsToldOfADeclinedPrompt) {
    script({refusal(), refusal()});
    usePrompt({});
    get();
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000"}));
}

TEST_P(ProxyAuthenticationTest, UserAndPasswordAreJoinedWithoutEscaping) {
    script({refusal(), refusal(), answer(HttpResponseCode::OK)});
    usePrompt({{"a:b", ":c%"}});
    useStore();
    get();
    EXPECT_EQ(events[3], "store a:b::c% for proxy.test:3128");
}

TEST_P(ProxyAuthenticationTest, TheProxyInfoOfEachRefusalIsPassedOn) {
    script({refusal("ignored"), refusal("first:1"), refusal("Second; gen=2"),
            answer(HttpResponseCode::OK)});
    usePrompt({{"a", "1"}, {"b", "2"}});
    useStore();
    get();
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000", "store a:1 for first:1",
                              "re-send", "prompt again 2 120000", "store b:2 for Second; gen=2",
                              "re-send"}));
}

TEST_P(ProxyAuthenticationTest, ARefusalWithoutProxyInfoEndsWithoutAPrompt) {
    script({refusal(), answer(HttpResponseCode::ProxyAuthenticationRequired)});
    usePrompt({{"ann", "secret"}});
    useStore();
    get();
    EXPECT_EQ(events, (Events{"send", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, ARefusalWithoutProxyInfoEndsAlsoAfterAPrompt) {
    script({refusal(), refusal(), answer(HttpResponseCode::ProxyAuthenticationRequired)});
    usePrompt({{"a", "1"}, {"b", "2"}});
    get();
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, ProxyInfoOfAnotherAnswerPromptsNobody) {
    script({refusal(), answer(HttpResponseCode::Unauthorized, "",
                              {{"QZ-Internal-Proxy-Info", "proxy.test:3128"}})});
    usePrompt({{"ann", "secret"}});
    EXPECT_EQ(get().getResponseCode(), HttpResponseCode::Unauthorized);
    EXPECT_EQ(events, (Events{"send", "re-send"}));
}

// --- What the re-sends are given ---

TEST_P(ProxyAuthenticationTest, TheRequestIsSentAgainUnchanged) {
    client.script({refusal(), refusal(), answer(HttpResponseCode::OK)});
    usePrompt({{"ann", "secret"}});
    run(client, postRequest("abc"));
    const std::vector<Seen> seen = client.seen();
    ASSERT_EQ(seen.size(), 3U);
    for (const Seen& attempt : seen) {
        EXPECT_EQ(attempt.headers, seen[0].headers);
        EXPECT_EQ(attempt.body, "abc");
        EXPECT_EQ(attempt.url, "http://host/form");
    }
    // The response is handed over as it is; to clear it is the transport's part.
    EXPECT_EQ(seen[1].codeAtEntry, HttpResponseCode::ProxyAuthenticationRequired);
    EXPECT_TRUE(seen[1].responseHeadersAtEntry.hasHeader("QZ-Internal-Proxy-Info"));
    EXPECT_EQ(seen[2].codeAtEntry, HttpResponseCode::ProxyAuthenticationRequired);
}

TEST_P(ProxyAuthenticationTest, ReSendsAreSynchronousOnTheThreadOfTheAttempt) {
    script({refusal(), answer(HttpResponseCode::OK)});
    get();
    EXPECT_EQ(client.seen()[0].asynchronous, !synchronous());
    EXPECT_FALSE(client.seen()[1].asynchronous);
    EXPECT_EQ(client.seen()[1].thread, client.seen()[0].thread);
}

TEST_P(ProxyAuthenticationTest, TheBodyOfARefusalIsNotPartOfTheAnswer) {
    Attempt explained = refusal();
    explained.body = "Who are you?";
    script({explained, explained, answer(HttpResponseCode::OK, "Hello")});
    usePrompt({{"ann", "secret"}});
    EXPECT_EQ(get().getResponseBodyString(), "Hello");
}

// A multipart content type that a transport writes stays through the re-sends.
TEST_P(ProxyAuthenticationTest, ReSendsKeepTheContentTypeOfAMultipartRequest) {
    client.script({refusal(), answer(HttpResponseCode::OK)});
    client.onSend = [](HttpRequest& request) {
        request.setHeaderValue("Content-Type", "multipart/form-data; boundary=x");
    };
    HttpRequest request(HttpMethod::POST, URL("http://host/upload"), HttpHeaders());
    request.setMultipartBody(MultipartBody().withPart(DataPart("text")));
    run(client, std::move(request));
    EXPECT_EQ(client.seenHeader("Content-Type"),
              (std::vector<std::string>{"-", "multipart/form-data; boundary=x"}));
}

// --- The flag, and the objects of the transport ---

TEST_P(ProxyAuthenticationTest, TheFlagIsSetFirstAndForGood) {
    script({refusal(), answer(HttpResponseCode::OK), answer(HttpResponseCode::OK)});
    bool atPrompt = false;
    client.makePrompt = [&](const HttpResponse&, const std::exception_ptr&) {
        atPrompt = client.useProxyCredentialProvider();
        return nullptr;
    };
    EXPECT_FALSE(client.useProxyCredentialProvider());
    get();
    EXPECT_TRUE(atPrompt);
    EXPECT_TRUE(client.useProxyCredentialProvider());
    get();
    client.setClientConfiguration(once());
    EXPECT_TRUE(client.useProxyCredentialProvider());
}

TEST_P(ProxyAuthenticationTest, PromptThenStoreAreFetchedBeforeTheReSend) {
    script({refusal(), answer(HttpResponseCode::OK)});
    client.makePrompt = [this](const HttpResponse& response, const std::exception_ptr& error) {
        events.push_back("fetch prompt for " + response.getHeaderValue("QZ-Internal-Proxy-Info") +
                         " " + textOf(error));
        return nullptr;
    };
    client.makeStore = [this] {
        events.emplace_back("fetch store");
        return nullptr;
    };
    get();
    EXPECT_EQ(events,
              (Events{"send", "fetch prompt for proxy.test:3128 none", "fetch store", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, PromptAndStoreAreReleasedAtTheEnd) {
    script({refusal(), refusal(), answer(HttpResponseCode::OK)});
    std::weak_ptr<FakePrompt> prompt;
    std::weak_ptr<FakeStore> store;
    client.makePrompt = [&](const HttpResponse&, const std::exception_ptr&) {
        auto made =
            std::make_shared<FakePrompt>(events, std::vector<ProxyCredentials>{{"ann", "secret"}});
        prompt = made;
        return made;
    };
    client.makeStore = [&] {
        auto made = std::make_shared<FakeStore>(events);
        store = made;
        return made;
    };
    bool released = false;
    client.setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [&](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int, int) {
            released = prompt.expired() && store.expired();
            return false;
        }));
    get();
    EXPECT_EQ(events.size(), 5U);
    EXPECT_TRUE(released);
}

// --- Failures ---

TEST_P(ProxyAuthenticationTest, AnExceptionOfTheFirstReSendBecomesTheError) {
    script({refusal(), failure("proxy gone")});
    usePrompt({{"ann", "secret"}});
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>([&] { get(); }, "proxy gone"));
    EXPECT_EQ(events, (Events{"send", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, AnExceptionOfALaterReSendBecomesTheError) {
    script({refusal(), refusal(), failure("proxy gone")});
    usePrompt({{"a", "1"}, {"b", "2"}});
    useStore();
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>([&] { get(); }, "proxy gone"));
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000",
                              "store a:1 for proxy.test:3128", "re-send"}));
}

TEST_P(ProxyAuthenticationTest, TheRetryStrategySeesTheErrorOfAReSend) {
    script({refusal(), failure("proxy gone"), answer(HttpResponseCode::OK, "Hello")});
    std::vector<std::string> told;
    client.setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [&told](const HttpRequest&, const HttpResponse&, const std::exception_ptr& error, int total,
                int) {
            told.push_back(textOf(error) + " " + std::to_string(total));
            return total < 2;
        }));
    EXPECT_EQ(get().getResponseBodyString(), "Hello");
    // The re-sends are no attempts of their own.
    EXPECT_EQ(told, (std::vector<std::string>{"proxy gone 1", "none 2"}));
}

TEST_P(ProxyAuthenticationTest, ASuccessfulReSendForgetsTheErrorOfTheAttempt) {
    client.setClientConfiguration(once().withProxyAuthenticationStrategy(
        [](const HttpResponse&, const std::exception_ptr&, int) { return true; }));
    client.script({failure("lost"), answer(HttpResponseCode::OK, "Hello")});
    EXPECT_EQ(get().getResponseBodyString(), "Hello");
}

TEST_P(ProxyAuthenticationTest, ThePromptIsGivenTheErrorOfTheAttempt) {
    client.setClientConfiguration(once().withProxyAuthenticationStrategy(
        [](const HttpResponse&, const std::exception_ptr&, int) { return true; }));
    client.script({failure("lost"), answer(HttpResponseCode::OK)});
    std::string told;
    client.makePrompt = [&told](const HttpResponse& response, const std::exception_ptr& error) {
        told = response.getResponseCodeReason() + " " + textOf(error);
        return nullptr;
    };
    get();
    EXPECT_EQ(told, "Request Not Made lost");
}

TEST_P(ProxyAuthenticationTest, AnExceptionOfFetchingThePromptBecomesTheError) {
    script({refusal()});
    client.makePrompt = [](const HttpResponse&,
                           const std::exception_ptr&) -> std::shared_ptr<ProxyCredentialPrompt> {
        throw std::runtime_error("no prompt");
    };
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { get(); }, "no prompt"));
    EXPECT_EQ(events, (Events{"send"}));
    EXPECT_TRUE(client.useProxyCredentialProvider());
}

TEST_P(ProxyAuthenticationTest, AnExceptionOfFetchingTheStoreBecomesTheError) {
    script({refusal()});
    client.makeStore = []() -> std::shared_ptr<ProxyCredentialStore> {
        throw std::runtime_error("no store");
    };
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { get(); }, "no store"));
    EXPECT_EQ(events, (Events{"send"}));
}

TEST_P(ProxyAuthenticationTest, AnExceptionOfThePromptBecomesTheError) {
    script({refusal(), refusal()});
    usePrompt({})->onPrompt = [] { throw std::runtime_error("no terminal"); };
    useStore();
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { get(); }, "no terminal"));
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000"}));
}

TEST_P(ProxyAuthenticationTest, AnExceptionThatIsNoStandardOneBecomesTheError) {
    script({refusal(), refusal()});
    usePrompt({})->onPrompt = [] { throw 42; };
    EXPECT_THROW(get(), int);
}

TEST_P(ProxyAuthenticationTest, AnExceptionOfTheStoreBecomesTheError) {
    script({refusal(), refusal()});
    usePrompt({{"ann", "secret"}});
    useStore()->onStore = [] { throw std::runtime_error("locked"); };
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { get(); }, "locked"));
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000",
                              "store ann:secret for proxy.test:3128"}));
}

TEST_P(ProxyAuthenticationTest, AnExceptionOnDecliningBecomesTheError) {
    script({refusal(), refusal()});
    usePrompt({});
    useStore()->onDeclined = [] { throw std::runtime_error("locked"); };
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { get(); }, "locked"));
}

// --- With the strategies ---

TEST_P(ProxyAuthenticationTest, TheLimitCountsAllAttempts) {
    client.setClientConfiguration(
        ClientConfiguration()
            .withRetryStrategy(testing::retryUpTo(2))
            .withProxyAuthenticationStrategy(defaultProxyAuthenticationStrategy(1)));
    script({answer(HttpResponseCode::BadGateway), refusal()});
    try {
        get();
        FAIL() << "threw nothing";
    } catch (const HttpRequestFailedException& error) {
        EXPECT_TRUE(synchronous());
        EXPECT_STREQ(error.what(), tooManyAttempts);
    } catch (const std::future_error& error) {
        EXPECT_FALSE(synchronous());
        EXPECT_EQ(error.code(), std::future_errc::broken_promise);
    }
    EXPECT_EQ(events, (Events{"send", "send"}));
}

TEST_P(ProxyAuthenticationTest, AProxyMayBeServedAtEveryAttempt) {
    client.setClientConfiguration(
        ClientConfiguration()
            .withRetryStrategy(testing::retryUpTo(2))
            .withProxyAuthenticationStrategy(defaultProxyAuthenticationStrategy(2)));
    script({refusal(), refusal(), refusal(), refusal()});
    usePrompt({});
    EXPECT_EQ(get().getResponseCode(), HttpResponseCode::ProxyAuthenticationRequired);
    EXPECT_EQ(events, (Events{"send", "re-send", "prompt first 3 120000", "send", "re-send",
                              "prompt first 3 120000"}));
}

TEST_P(ProxyAuthenticationTest, WritesNoRecord) {
    Attempt lost = failure("proxy gone");
    script({refusal(), refusal(), lost});
    usePrompt({{"ann", "secret"}});
    useStore();
    EXPECT_THROW(get(), HttpRequestFailedException);
    EXPECT_EQ(log.records(), std::vector<LogRecord>{});
}

}  // namespace
}  // namespace foundation::httpclient_core
