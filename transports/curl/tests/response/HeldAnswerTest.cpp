#include "support/TestClient.h"

#include <foundation/httpclient_core/detail/BackoffHook.h>

#include <sstream>

namespace foundation::httpclient_curl::testing {
namespace {

// The first bytes of a resource of ten, and the rest of it.
const std::string begun =
    "HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nETag: \"a\"\r\nContent-Length: 10\r\n\r\n01234";
const std::string rest =
    "HTTP/1.1 206 Part\r\nETag: \"a\"\r\nContent-Range: bytes 5-9/10\r\nContent-Length: "
    "5\r\n\r\n56789";

std::string page(int status, const std::string& fields, const std::string& text) {
    return "HTTP/1.1 " + std::to_string(status) + " Page\r\n" + fields +
           "Content-Length: " + std::to_string(text.size()) + "\r\n\r\n" + text;
}

LoopbackServer::Handler scripted(const std::vector<std::string>& answers) {
    return [answers](const ReceivedRequest& request, Connection& connection) {
        const auto number = static_cast<std::size_t>(request.number);
        connection.send(number < answers.size() ? answers[number] : "");
        connection.close();
    };
}

class HeldAnswerTest : public BothRoads {
protected:
    // Retries up to this many attempts.
    Outcome run(const LoopbackServer& server, int attempts, ResponseStreamFactory factory = {}) {
        client_->setClientConfiguration(
            ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
                [this, attempts](const HttpRequest&, const HttpResponse& response,
                                 const std::exception_ptr& error, int total, int) {
                    seen_.push_back({response.getResponseCode(), messageOf(error)});
                    const bool isDone = error == nullptr && isSuccess(response);
                    return !isDone && total < attempts;
                }));
        HttpRequest request(HttpMethod::GET, server.url(), {});
        if (factory) {
            request.setResponseStreamFactory(std::move(factory));
        }
        return client_.run(std::move(request), GetParam());
    }

    TestClient client_;
    std::vector<Attempt> seen_;
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         HeldAnswerTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(HeldAnswerTest, LastPageArrivesAsTheServerSentIt) {
    LoopbackServer server(scripted({begun, page(503, "X-A: b\r\n", "busy")}));
    std::vector<std::string> made;
    const Outcome outcome =
        run(server, 2,
            [&made](HttpResponseCode code, const std::string& reason, const HttpHeaders& headers) {
                made.push_back(to_string(code) + reason + headers.getHeaderValueOr("X-A", "-") +
                               headers.getHeaderValueOr("Accept-Ranges", "-"));
                return std::make_unique<std::stringstream>();
            });
    ASSERT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.code(), HttpResponseCode::ServiceUnavailable);
    EXPECT_EQ(outcome.body(), "busy");
    EXPECT_EQ(outcome.response.getHeaderValue("X-A"), "b");
    EXPECT_FALSE(outcome.response.hasHeader("Accept-Ranges"));
    EXPECT_EQ(made, (std::vector<std::string>{"200OK-bytes", "503Pageb-"}));
    EXPECT_EQ(seen_.at(1).code, HttpResponseCode::ServiceUnavailable);
}

TEST_P(HeldAnswerTest, StrategySeesTheFieldsOfThePage) {
    LoopbackServer server(scripted({begun, page(503, "Retry-After: 7\r\n", "busy"), rest}));
    std::string retryAfter;
    client_->setClientConfiguration(ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
        [&](const HttpRequest&, const HttpResponse& response, const std::exception_ptr&, int total,
            int) {
            if (total == 2) {
                retryAfter = response.getHeaderValue("Retry-After");
            }
            return total < 3;
        }));
    EXPECT_EQ(client_.get(server.url(), GetParam()).body(), "0123456789");
    EXPECT_EQ(retryAfter, "7");
}

TEST_P(HeldAnswerTest, PartIsDeliveredWithTheHeadersOfItsAnswer) {
    LoopbackServer server(scripted({begun}));
    const Outcome outcome = run(server, 2);
    EXPECT_NE(outcome.error, nullptr);
    if (GetParam() == Road::Asynchronous) {
        EXPECT_EQ(outcome.code(), HttpResponseCode::ResponseNotReceived);
        EXPECT_EQ(outcome.body(), "01234");
        EXPECT_FALSE(outcome.response.hasHeader("Accept-Ranges"));
    }
}

TEST_P(HeldAnswerTest, PageReplacesThePartInAStreamThatBeganInside) {
    const auto factory = [](HttpResponseCode, const std::string&, const HttpHeaders&) {
        auto stream = std::make_unique<std::stringstream>();
        *stream << "prefix";
        return stream;
    };
    LoopbackServer longer(scripted({begun, page(503, "", "long enough")}));
    const Outcome outcome = run(longer, 2, factory);
    EXPECT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "prefixlong enough");
    // The stream cannot be cut, so the bytes behind the page would stay.
    LoopbackServer shorter(scripted({begun, page(503, "", "x")}));
    EXPECT_EQ(run(shorter, 2, factory).message(),
              "The response body stream keeps bytes of an earlier, longer body");
}

TEST_P(HeldAnswerTest, RefusalOfTheStreamToTakeThePageIsAFailure) {
    LoopbackServer server(scripted({begun, page(503, "", "busy")}));
    const Outcome outcome =
        run(server, 2, [](HttpResponseCode code, const std::string&, const HttpHeaders&) {
            auto stream = std::make_unique<std::stringstream>();
            if (code != HttpResponseCode::OK) {
                stream->setstate(std::ios::badbit);
            }
            return stream;
        });
    EXPECT_EQ(outcome.message(), "The response body stream refused data");
}

TEST_P(HeldAnswerTest, PartOutlivesARefusalOfTheProxy) {
    std::vector<std::string> answers{
        begun, page(407, "Proxy-Authenticate: Basic realm=\"x\"\r\n", "login"), rest};
    LoopbackServer proxy(scripted(answers));
    ClientConfiguration configuration =
        ClientConfiguration().withResumeOnRetry(true).withProxyAuthenticationStrategy(
            defaultProxyAuthenticationStrategy(5));
    Access::setProxyUrl(configuration, "http://127.0.0.1:" + std::to_string(proxy.port()));
    configuration.setRetryStrategy([](const HttpRequest&, const HttpResponse&,
                                      const std::exception_ptr& error, int total,
                                      int) { return error != nullptr && total < 5; });
    client_->setClientConfiguration(configuration);
    const Outcome outcome = client_.get("http://somewhere.invalid/", GetParam());
    EXPECT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.body(), "0123456789");
    EXPECT_EQ(proxy.requests().at(2).header("Range"), "bytes=5-");
}

// Waits in the middle of a pause between attempts; the response then is that of no attempt.
TEST(HeldAnswerOfCancelledRequestTest, IsNotDelivered) {
    LoopbackServer server(scripted({begun, page(503, "", "busy")}));
    TestClient client;
    Counter waiting;
    client->setClientConfiguration(ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
        [&waiting](const HttpRequest&, const HttpResponse&, const std::exception_ptr& error,
                   int total, int) {
            if (holds<HttpRequestCancelledException>(error)) {
                return false;
            }
            if (total == 2) {
                httpclient_core::detail::backoffWait(std::chrono::hours(1));
                waiting.add();
            }
            return true;
        }));
    std::promise<Outcome> promise;
    const unsigned long id = client->makeAsyncRequest(
        HttpRequest(HttpMethod::GET, server.url(), {}),
        [&promise](HttpRequest, HttpResponse response, std::exception_ptr error) {
            promise.set_value({std::move(response), std::move(error)});
        });
    ASSERT_TRUE(waiting.waitFor(1));
    EXPECT_TRUE(client->cancelRequest(id));
    const Outcome outcome = promise.get_future().get();
    EXPECT_TRUE(holds<HttpRequestCancelledException>(outcome.error));
    EXPECT_EQ(outcome.code(), HttpResponseCode::RequestNotMade);
    EXPECT_EQ(outcome.body(), "01234");
}

// Without makeRequest nobody would put a page that was held aside into the response.
TEST(HeldAnswerOfOwnAttemptsTest, PageGoesIntoTheResponseAtOnce) {
    LoopbackServer server(scripted({begun, page(503, "", "busy")}));
    TestClient client;
    client->setClientConfiguration(plainConfiguration().withResumeOnRetry(true));
    HttpRequest request(HttpMethod::GET, server.url(), {});
    HttpResponse response(request);
    EXPECT_THROW(client->sendRequest(request, response), HttpRequestFailedException);
    response.setResponseCodeAndReason(HttpResponseCode::RequestNotMade, "");
    request.setHeaderValue("Range", "bytes=5-");
    client->sendRequest(request, response);
    EXPECT_EQ(server.requests().at(1).header("Range"), "bytes=5-");
    EXPECT_EQ(response.getResponseBodyString(), "busy");
    EXPECT_FALSE(response.hasHeader("Accept-Ranges"));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
