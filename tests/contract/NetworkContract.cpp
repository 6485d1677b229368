// What a transport over connections owes besides.
#include "tests/contract/TransportContract.h"

#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {
namespace {

using Access = detail::ClientConfigurationAccess;

PeerAnswer redirectTo(const std::string& path) {
    return {HttpResponseCode::Found, "Found", HttpHeaders({{"Location", path}}), "elsewhere"};
}

TEST_P(NetworkTransportContract, FollowsRedirectsAndReportsThem) {
    start([](const PeerRequest& request) {
        return request.path == "/a"   ? redirectTo("/b")
               : request.path == "/b" ? redirectTo("/c")
                                      : PeerAnswer{.body = "here"};
    });
    onBothRoads([this](ContractRoad road) {
        const Ended ended = attempt(road, get("/a"));
        EXPECT_EQ(ended.body(), "here") << ended.message();
        const TransactionReport report = ended.response.getTransactionReport();
        EXPECT_EQ(report.redirectCount(), 2);
        EXPECT_EQ(report.effectiveURL(), URL(subject().url("/c")));
    });
}

TEST_P(NetworkTransportContract, LeavesRedirectsAloneWhereTheConfigurationSaysSo) {
    answerAlways(redirectTo("/b"));
    onBothRoads([this](ContractRoad road) {
        HttpRequest request = get("/a");
        request.setClientConfiguration(ClientConfiguration().withFollowRedirects(false));
        const Ended ended = attempt(road, std::move(request));
        EXPECT_EQ(ended.code(), HttpResponseCode::Found) << ended.message();
        EXPECT_EQ(ended.body(), "elsewhere");
    });
}

TEST_P(NetworkTransportContract, UpgradeAfterARedirectMakesAFreshRequest) {
    std::atomic<int> asked = 0;
    start([&asked](const PeerRequest& request) -> PeerAnswer {
        if (request.path == "/old") {
            return redirectTo("/new");
        }
        return ++asked % 2 == 1
                   ? PeerAnswer{HttpResponseCode::UpgradeRequired, "Upgrade Required", {}, "no"}
                   : PeerAnswer{.body = "fresh"};
    });
    client().setClientConfiguration(ClientConfiguration().withRetryStrategy(
        defaultRetryStrategy(5, 0, std::chrono::seconds(1), defaultIsRetriable())));
    onBothRoads([this](ContractRoad road) {
        EXPECT_EQ(run(road, get("/old")).body(), "fresh");
        EXPECT_EQ(lastReceived().path, "/new");
    });
}

TEST_P(NetworkTransportContract, SilenceIsATimeout) {
    answerAlways({.kind = PeerAnswer::Kind::Hold});
    onBothRoads([this](ContractRoad road) {
        ClientConfiguration configuration;
        Access::setResponseTimeoutMs(configuration, 30);
        HttpRequest request = get();
        request.setClientConfiguration(configuration);
        const Ended ended = attempt(road, std::move(request));
        EXPECT_TRUE(ended.failedWith<HttpRequestTimeoutException>()) << ended.message();
        EXPECT_EQ(ended.code(), HttpResponseCode::ResponseNotReceived);
    });
}

TEST_P(NetworkTransportContract, BodyThatBreaksOffIsAFailure) {
    answerAlways({.body = "0123456789", .cutAfter = 4});
    onBothRoads([this](ContractRoad road) {
        const Ended ended = attempt(road, get());
        EXPECT_TRUE(ended.failedWith<HttpRequestFailedException>()) << ended.message();
        EXPECT_EQ(ended.code(), HttpResponseCode::OK);
        EXPECT_EQ(ended.body(), "0123");
    });
}

TEST_P(NetworkTransportContract, BodyThatBreaksOffIsContinuedToTheByte) {
    const std::string content = "0123456789abcdefghij";
    start([&content](const PeerRequest& request) -> PeerAnswer {
        PeerAnswer answer{.headers = HttpHeaders({{"Accept-Ranges", "bytes"}, {"ETag", "\"1\""}}),
                          .body = content,
                          .cutAfter = 7};
        const std::string range = request.headers.getHeaderValueOr("Range", "");
        if (!range.empty()) {
            const std::size_t first = std::stoul(range.substr(range.find('=') + 1));
            answer.code = HttpResponseCode::PartialContent;
            answer.body = content.substr(first);
            answer.headers.addHeaderValue("Content-Range",
                                          "bytes " + std::to_string(first) + "-19/20");
        }
        if (answer.body.size() <= 7) {
            answer.cutAfter.reset();
        }
        return answer;
    });
    client().setClientConfiguration(ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
        [](const HttpRequest&, const HttpResponse&, const std::exception_ptr& error, int total,
           int) { return error != nullptr && total < 9; }));
    onBothRoads([&](ContractRoad road) {
        const Ended ended = run(road, get());
        EXPECT_EQ(ended.body(), content) << ended.message();
        EXPECT_EQ(lastReceived().headers.getHeaderValueOr("Range", ""), "bytes=14-");
    });
}

TEST_P(NetworkTransportContract, RefusalOfAProxyNamesIt) {
    answerAlways({HttpResponseCode::ProxyAuthenticationRequired, "Proxy Authentication Required",
                  HttpHeaders({{"Proxy-Authenticate", "Basic realm=\"x\""}}), "who are you"});
    // The peer plays the proxy.
    const std::string proxy = subject().url("");
    onBothRoads([&](ContractRoad road) {
        ClientConfiguration configuration;
        Access::setProxyUrl(configuration, proxy);
        HttpRequest request(HttpMethod::GET, URL("http://origin.test/"), HttpHeaders());
        request.setClientConfiguration(configuration);
        const Ended ended = attempt(road, std::move(request));
        // With an error in hand nobody would ask for credentials.
        EXPECT_EQ(ended.error, nullptr) << ended.message();
        EXPECT_EQ(ended.code(), HttpResponseCode::ProxyAuthenticationRequired);
        EXPECT_EQ(ended.response.getHeaders().getHeaderValueOr("QZ-Internal-Proxy-Info", ""),
                  proxy.substr(proxy.find("//") + 2));
    });
}

TEST_P(NetworkTransportContract, ServerCannotNameAProxy) {
    answerAlways({HttpResponseCode::ProxyAuthenticationRequired, "Proxy Authentication Required",
                  HttpHeaders({{"QZ-Internal-Proxy-Info", "proxy.test:3128"}}), "who are you"});
    onBothRoads([this](ContractRoad road) {
        const Ended ended = attempt(road, get());
        EXPECT_EQ(ended.code(), HttpResponseCode::ProxyAuthenticationRequired) << ended.message();
        EXPECT_FALSE(ended.response.hasHeader("QZ-Internal-Proxy-Info"));
    });
}

class OneAnswer : public ProxyCredentialPrompt {
public:
    std::optional<ProxyCredentials> promptForCredentials(bool, int, std::int64_t) override {
        ++asked;
        return ProxyCredentials("user", "pass");
    }

    std::atomic<int> asked = 0;
};

TEST_P(NetworkTransportContract, ProxyIsServedWithTheAnswerOfThePrompt) {
    const auto prompt = std::make_shared<OneAnswer>();
    start(
        [](const PeerRequest& request) -> PeerAnswer {
            const std::string login = request.headers.getHeaderValueOr("Proxy-Authorization", "");
            if (login == "Basic dXNlcjpwYXNz") {
                return {.body = "let in"};
            }
            return {HttpResponseCode::ProxyAuthenticationRequired, "Who",
                    HttpHeaders({{"Proxy-Authenticate", "Basic realm=\"x\""}}), "who are you"};
        },
        prompt);
    ClientConfiguration configuration;
    configuration.setRetryStrategy(noRetriesStrategy());
    Access::setProxyUrl(configuration, subject().url(""));
    client().setClientConfiguration(configuration);
    onBothRoads([&](ContractRoad road) {
        const Ended ended =
            run(road, HttpRequest(HttpMethod::GET, URL("http://origin.test/"), HttpHeaders()));
        EXPECT_EQ(ended.body(), "let in") << ended.message();
    });
    // The second road found the credentials in the store.
    EXPECT_EQ(prompt->asked, 1);
}

TEST_P(NetworkTransportContract, CancelInterruptsAnAttemptThatWaits) {
    // Shared: the peer may outlive the test's body.
    const auto arrived = std::make_shared<Signal>();
    start([arrived](const PeerRequest&) {
        arrived->give();
        return PeerAnswer{.kind = PeerAnswer::Kind::Hold};
    });
    auto [response, id] = client().makeAsyncRequest(get());
    EXPECT_TRUE(arrived->wait());
    EXPECT_TRUE(client().cancelRequest(id));
    ASSERT_EQ(response.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_THROW(response.get(), HttpRequestCancelledException);
}

TEST_P(NetworkTransportContract, DestructionInterruptsAttemptsThatWait) {
    // Shared: the peer may outlive the test's body.
    const auto arrived = std::make_shared<Signal>();
    start([arrived](const PeerRequest&) {
        arrived->give();
        return PeerAnswer{.kind = PeerAnswer::Kind::Hold};
    });
    std::vector<std::future<HttpResponse>> responses;
    for (int i = 0; i < 20; ++i) {
        responses.push_back(client().makeAsyncRequest(get()).first);
    }
    EXPECT_TRUE(arrived->wait());
    subject().destroyClient();
    for (std::future<HttpResponse>& response : responses) {
        EXPECT_THROW(response.get(), HttpRequestCancelledException);
    }
}

TEST_P(NetworkTransportContract, HandlersMayWaitForRequestsOfTheirOwn) {
    start([](const PeerRequest& request) { return PeerAnswer{.body = request.path}; });
    Signal ended;
    constexpr int count = 20;
    for (int i = 0; i < count; ++i) {
        client().makeAsyncRequest(get(), [&](HttpRequest, HttpResponse, std::exception_ptr) {
            EXPECT_EQ(client().makeAsyncRequest(get("/x")).first.get().getResponseBodyString(),
                      "/x");
            EXPECT_EQ(client().makeRequest(get("/y")).getResponseBodyString(), "/y");
            ended.give();
        });
    }
    EXPECT_TRUE(ended.wait(count));
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
