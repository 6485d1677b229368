#include "support/TestClient.h"

#include <functional>
#include <iostream>
#include <memory>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <tuple>

namespace foundation::httpclient_curl::testing {
namespace {

// Where code of the caller runs inside a request.
enum class Place {
    Progress,
    Factory,
    ResponseStream,
    RequestStream,
    PreResponse,
    Observer,
    RetryStrategy,
    ProxyStrategy,
    Prompt
};

const char* nameOf(Place place) {
    switch (place) {
        case Place::Progress:
            return "Progress";
        case Place::Factory:
            return "Factory";
        case Place::ResponseStream:
            return "ResponseStream";
        case Place::RequestStream:
            return "RequestStream";
        case Place::PreResponse:
            return "PreResponse";
        case Place::Observer:
            return "Observer";
        case Place::RetryStrategy:
            return "RetryStrategy";
        case Place::ProxyStrategy:
            return "ProxyStrategy";
        case Place::Prompt:
            return "Prompt";
    }
    return "";
}

using Action = std::function<void()>;

// A text that is worth an action to read or write.
class ActingBuffer final : public std::stringbuf {
public:
    ActingBuffer(std::string text, Action action)
        : std::stringbuf(std::move(text)), action_(std::move(action)) {}

protected:
    std::streamsize xsgetn(char* text, std::streamsize count) override {
        action_();
        return std::stringbuf::xsgetn(text, count);
    }
    std::streamsize xsputn(const char* text, std::streamsize count) override {
        action_();
        return std::stringbuf::xsputn(text, count);
    }

private:
    Action action_;
};

class ActingStream final : public std::iostream {
public:
    ActingStream(std::string text, Action action)
        : std::iostream(nullptr), buffer_(std::move(text), std::move(action)) {
        rdbuf(&buffer_);
    }

private:
    ActingBuffer buffer_;
};

class ActingPrompt final : public ProxyCredentialPrompt {
public:
    explicit ActingPrompt(Action action) : action_(std::move(action)) {}
    std::optional<ProxyCredentials> promptForCredentials(bool, int, std::int64_t) override {
        action_();
        return std::nullopt;
    }

private:
    Action action_;
};

// Runs one request through a proxy that refuses it; the action runs at the place, if it is reached.
void runRequest(std::unique_ptr<CurlHttpClient>& client,
                Place place,
                Road road,
                const Action& action) {
    boost::log::core::get()->set_logging_enabled(false);
    LoopbackServer proxy([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(407, "Who", {{"Proxy-Authenticate", "Basic realm=\"x\""}}, "login");
    });
    const auto at = [place, &action](Place here) {
        if (here == place) {
            action();
        }
    };
    CurlClientOptions options;
    options.credentialPrompt = std::make_shared<ActingPrompt>([at] { at(Place::Prompt); });
    options.attemptObserver = [at](const AttemptReport&) { at(Place::Observer); };
    client = std::make_unique<CurlHttpClient>(std::move(options));
    ClientConfiguration configuration;
    Access::setProxyUrl(configuration, "http://127.0.0.1:" + std::to_string(proxy.port()));
    configuration.setRetryStrategy(
        [at](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int, int) {
            at(Place::RetryStrategy);
            return false;
        });
    configuration.setProxyAuthenticationStrategy(
        [at, usual = defaultProxyAuthenticationStrategy()](
            const HttpResponse& response, const std::exception_ptr& error, int attempt) {
            at(Place::ProxyStrategy);
            return usual(response, error, attempt);
        });
    client->setClientConfiguration(configuration);
    HttpRequest request(HttpMethod::PUT, "http://somewhere.invalid/", {{"Content-Length", "4"}});
    request.setRequestBody(
        std::make_unique<ActingStream>("body", [at] { at(Place::RequestStream); }));
    request.setProgressCallback([at](const Progress&) {
        at(Place::Progress);
        return ProgressResult::Continue;
    });
    request.setPreRespCodeAndHeadersCallback([at] { at(Place::PreResponse); });
    request.setResponseStreamFactory(
        [at](HttpResponseCode, const std::string&, const HttpHeaders&) {
            at(Place::Factory);
            return std::make_unique<ActingStream>("", [at] { at(Place::ResponseStream); });
        });
    if (road == Road::Synchronous) {
        client->makeRequest(std::move(request));
    } else {
        client->makeAsyncRequest(std::move(request)).first.get();
    }
}

class DestructionTest : public ::testing::TestWithParam<std::tuple<Place, Road>> {};
using DestructionDeathTest = DestructionTest;

const auto everywhere =
    ::testing::Combine(::testing::Values(Place::Progress,
                                         Place::Factory,
                                         Place::ResponseStream,
                                         Place::RequestStream,
                                         Place::PreResponse,
                                         Place::Observer,
                                         Place::RetryStrategy,
                                         Place::ProxyStrategy,
                                         Place::Prompt),
                       ::testing::Values(Road::Synchronous, Road::Asynchronous));

std::string nameOfRow(const ::testing::TestParamInfo<std::tuple<Place, Road>>& row) {
    return nameOf(std::get<0>(row.param)) + ::testing::PrintToString(std::get<1>(row.param));
}

INSTANTIATE_TEST_SUITE_P(Places, DestructionTest, everywhere, nameOfRow);
INSTANTIATE_TEST_SUITE_P(Places, DestructionDeathTest, everywhere, nameOfRow);

// Neither a deadlock nor memory that is used after its end, but a reason.
TEST_P(DestructionDeathTest, InsideARequestOfTheClientEndsTheProgram) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto& [place, road] = GetParam();
    EXPECT_DEATH(
        {
            std::unique_ptr<CurlHttpClient> client;
            // Not reset(), which would empty the pointer first.
            runRequest(client, place, road, [&client] { client.get_deleter()(client.get()); });
        },
        "A client was destroyed inside one of its own requests, by a stream, callback, strategy or "
        "prompt");
}

TEST_P(DestructionTest, OfAnotherClientMayHappenAnywhere) {
    const auto& [place, road] = GetParam();
    auto other = std::make_unique<CurlHttpClient>();
    int runs = 0;
    std::unique_ptr<CurlHttpClient> client;
    runRequest(client, place, road, [&] {
        ++runs;
        other.reset();
    });
    EXPECT_GE(runs, 1);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
