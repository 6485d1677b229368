#include "support/TestClient.h"

#include <foundation/httpclient_curl/CancellableCredentialPrompt.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <stop_token>
#include <thread>

namespace foundation::httpclient_curl::testing {
namespace {

// Has no answer before it is told to stop.
class PatientPrompt final : public CancellableCredentialPrompt {
public:
    std::optional<ProxyCredentials> ask(bool,
                                        int,
                                        std::int64_t,
                                        std::stop_token cancelled) override {
        std::promise<void> stopped;
        const std::stop_callback stop(cancelled, [&stopped] { stopped.set_value(); });
        asked.add();
        stopped.get_future().wait();
        return std::nullopt;
    }
    Counter asked;
};

// Keeps its request until the test lets go.
class StubbornPrompt final : public ProxyCredentialPrompt {
public:
    std::optional<ProxyCredentials> promptForCredentials(bool, int, std::int64_t) override {
        asked.add();
        released.waitFor(1);
        return ProxyCredentials("user", "password");
    }
    Counter asked;
    Counter released;
};

TEST(CancellableCredentialPromptTest, AsksWithoutAWayToCancelWhereItIsAPlainPrompt) {
    class Prompt final : public CancellableCredentialPrompt {
        std::optional<ProxyCredentials> ask(bool previousAttemptFailed,
                                            int remainingAttempts,
                                            std::int64_t timeoutMs,
                                            std::stop_token cancelled) override {
            EXPECT_TRUE(previousAttemptFailed);
            EXPECT_EQ(remainingAttempts, 2);
            EXPECT_EQ(timeoutMs, 5);
            EXPECT_FALSE(cancelled.stop_possible());
            return ProxyCredentials("ann", "secret");
        }
    } prompt;
    ProxyCredentialPrompt& plain = prompt;
    EXPECT_EQ(plain.promptForCredentials(true, 2, 5)->username(), "ann");
}

// A client with a prompt, and requests that a proxy refuses.
template <class Prompt>
struct Scene {
    Scene() {
        boost::log::core::get()->set_logging_enabled(false);
        ClientConfiguration configuration = plainConfiguration();
        Access::setProxyUrl(configuration, "http://127.0.0.1:" + std::to_string(proxy.port()));
        client->setClientConfiguration(configuration);
    }

    unsigned long start(const std::string& url = "http://somewhere.invalid/") {
        return client->makeAsyncRequest(
            HttpRequest(HttpMethod::GET, url, {}),
            [this](HttpRequest, HttpResponse response, std::exception_ptr error) {
                EXPECT_EQ(response.getResponseCode(), HttpResponseCode::RequestNotMade);
                EXPECT_FALSE(response.hasHeader("QZ-Internal-Proxy-Info"));
                EXPECT_TRUE(holds<HttpRequestCancelledException>(error)) << messageOf(error);
                ended.add();
            });
    }
    std::future<std::exception_ptr> startSynchronous() {
        return std::async(std::launch::async, [this]() -> std::exception_ptr {
            try {
                client->makeRequest(HttpRequest(HttpMethod::GET, "http://sync.invalid/", {}));
                return nullptr;
            } catch (...) {
                return std::current_exception();
            }
        });
    }

    LoopbackServer proxy{[](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(407, "Who", {{"Proxy-Authenticate", "Basic realm=\"x\""}}, "login");
    }};
    Counter ended;
    std::shared_ptr<Prompt> prompt = std::make_shared<Prompt>();
    std::unique_ptr<CurlHttpClient> client = std::make_unique<CurlHttpClient>(prompt);
};

TEST(CancellableCredentialPromptTest, CancellingItsRequestEndsTheQuestion) {
    Scene<PatientPrompt> scene;
    const unsigned long id = scene.start();
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    EXPECT_TRUE(scene.client->cancelRequest(id));
    EXPECT_TRUE(scene.ended.waitFor(1));
}

TEST(CancellableCredentialPromptTest, CancellingAnotherRequestDoesNot) {
    Scene<PatientPrompt> scene;
    scene.start();
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    EXPECT_TRUE(scene.client->cancelRequest(scene.start()));
    EXPECT_TRUE(scene.ended.waitFor(1));
    EXPECT_EQ(scene.prompt->asked.value(), 1);
    scene.client->cancelAllRequests();
    EXPECT_TRUE(scene.ended.waitFor(2));
}

TEST(CancellableCredentialPromptTest, TheNextRequestAsksWhenTheOneThatAskedIsCancelled) {
    Scene<PatientPrompt> scene;
    const unsigned long first = scene.start();
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    const unsigned long second = scene.start();
    EXPECT_TRUE(scene.client->cancelRequest(first));
    ASSERT_TRUE(scene.prompt->asked.waitFor(2));
    EXPECT_TRUE(scene.ended.waitFor(1));
    EXPECT_TRUE(scene.client->cancelRequest(second));
    EXPECT_TRUE(scene.ended.waitFor(2));
}

TEST(CancellableCredentialPromptTest, CancellingAllRequestsEndsTheQuestionOnBothRoads) {
    Scene<PatientPrompt> scene;
    auto synchronous = scene.startSynchronous();
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    for (int i = 0; i < 8; ++i) {
        scene.start();
    }
    scene.client->cancelAllRequests();
    EXPECT_TRUE(scene.ended.waitFor(8));
    EXPECT_TRUE(holds<HttpRequestCancelledException>(synchronous.get()));
    EXPECT_EQ(scene.prompt->asked.value(), 1);
}

TEST(CancellableCredentialPromptTest, DestroyingTheClientEndsTheQuestion) {
    Scene<PatientPrompt> scene;
    for (int i = 0; i < 8; ++i) {
        scene.start();
    }
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    scene.client.reset();
    EXPECT_EQ(scene.ended.value(), 8);
    EXPECT_EQ(scene.prompt->asked.value(), 1);
}

TEST(CancellableCredentialPromptTest, DestroyingTheClientEndsTheQuestionOfASynchronousRequest) {
    Scene<PatientPrompt> scene;
    auto synchronous = scene.startSynchronous();
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    scene.client.reset();
    EXPECT_TRUE(holds<HttpRequestCancelledException>(synchronous.get()));
}

TEST(CancellableCredentialPromptTest, APlainPromptHoldsUpItsOwnRequestAlone) {
    Scene<StubbornPrompt> scene;
    const unsigned long asking = scene.start();
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    for (int i = 0; i < 8; ++i) {
        scene.start();
    }
    scene.client->cancelAllRequests();
    EXPECT_TRUE(scene.ended.waitFor(8));
    EXPECT_EQ(scene.ended.value(), 8);
    // It counts as in flight all the time.
    EXPECT_TRUE(scene.client->cancelRequest(asking));
    scene.prompt->released.add();
    EXPECT_TRUE(scene.ended.waitFor(9));
}

TEST(CancellableCredentialPromptTest, TheDestructorWaitsForAPlainPrompt) {
    Scene<StubbornPrompt> scene;
    for (int i = 0; i < 8; ++i) {
        scene.start();
    }
    ASSERT_TRUE(scene.prompt->asked.waitFor(1));
    auto destroyed = std::async(std::launch::async, [&scene] { scene.client.reset(); });
    EXPECT_TRUE(scene.ended.waitFor(7));
    EXPECT_EQ(destroyed.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    scene.prompt->released.add();
    destroyed.get();
    EXPECT_EQ(scene.ended.value(), 8);
    EXPECT_EQ(scene.prompt->asked.value(), 1);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
