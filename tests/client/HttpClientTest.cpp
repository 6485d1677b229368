#include "tests/client/Roads.h"
#include "tests/client/ScriptedTransport.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/LoggingChannels.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::answer;
using testing::Attempt;
using testing::coreRecord;
using testing::failure;
using testing::getRequest;
using testing::LogCapture;
using testing::LogRecord;
using testing::neverAuthenticate;
using testing::postRequest;
using testing::retrying;
using testing::retryUpTo;
using testing::Road;
using testing::roadName;
using testing::RoadTest;
using testing::ScriptedTransport;
using testing::Seen;
using testing::textOf;
using testing::throwsExactly;

const char* const noAuthentication =
    "Proxy authentication required but the proxy authentication strategy is set to no "
    "authentication";

/// What a strategy was told at one call.
struct Told {
    int code = 0;
    std::string error;
    int total = 0;
    int consecutive = 0;
    bool operator==(const Told&) const = default;
    friend std::ostream& operator<<(std::ostream& os, const Told& told) {
        return os << "{" << told.code << ", " << told.error << ", " << told.total << ", "
                  << told.consecutive << "}";
    }
};

/// Retries up to so many attempts and notes what it is told.
RetryStrategy noting(std::vector<Told>& told, int attempts) {
    return [&told, attempts](const HttpRequest&, const HttpResponse& response,
                             const std::exception_ptr& error, int total, int consecutive) {
        told.push_back(
            {static_cast<int>(response.getResponseCode()), textOf(error), total, consecutive});
        return total < attempts;
    };
}

class HttpClientTest : public ::testing::Test {
protected:
    LogCapture log;
};

TEST_F(HttpClientTest, MakesARequestOnTheCallingThread) {
    ScriptedTransport client({answer(HttpResponseCode::OK, "Hello")});
    HttpResponse response = client.makeRequest(getRequest());
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::OK);
    EXPECT_EQ(response.getResponseBodyString(), "Hello");
    ASSERT_EQ(client.seen().size(), 1U);
    EXPECT_EQ(client.seen()[0].url, "http://host/file");
    EXPECT_EQ(client.seen()[0].thread, std::this_thread::get_id());
    EXPECT_FALSE(client.seen()[0].asynchronous);
}

TEST_F(HttpClientTest, MakesAnAsynchronousRequestWithAFuture) {
    ScriptedTransport client({answer(HttpResponseCode::OK, "Hello")});
    auto [response, id] = client.makeAsyncRequest(getRequest());
    EXPECT_TRUE(client.seen().empty());
    client.pump();
    EXPECT_EQ(response.get().getResponseBodyString(), "Hello");
    EXPECT_EQ(id, 0U);
    EXPECT_TRUE(client.seen()[0].asynchronous);
}

TEST_F(HttpClientTest, MakesAnAsynchronousRequestWithAHandler) {
    ScriptedTransport client({answer(HttpResponseCode::OK, "Hello")});
    std::vector<std::string> delivered;
    client.makeAsyncRequest(getRequest(), [&delivered](HttpRequest request, HttpResponse response,
                                                       std::exception_ptr error) {
        delivered.push_back(request.getURL().toAsciiString() + " " +
                            response.getResponseBodyString() + " " + textOf(error));
    });
    EXPECT_TRUE(delivered.empty());
    EXPECT_EQ(client.pump(), 1);
    EXPECT_EQ(delivered, std::vector<std::string>{"http://host/file Hello none"});
}

TEST_F(HttpClientTest, RunsAHandlerOnTheThreadOfTheTransport) {
    ScriptedTransport client;
    client.startWorkers(1);
    std::promise<std::thread::id> thread;
    client.makeAsyncRequest(getRequest(), [&thread](HttpRequest, HttpResponse, std::exception_ptr) {
        thread.set_value(std::this_thread::get_id());
    });
    EXPECT_NE(thread.get_future().get(), std::this_thread::get_id());
}

TEST_F(HttpClientTest, CanBeNeitherCopiedNorMoved) {
    EXPECT_FALSE(std::is_copy_constructible_v<ScriptedTransport>);
    EXPECT_FALSE(std::is_move_constructible_v<ScriptedTransport>);
    EXPECT_FALSE(std::is_copy_assignable_v<HttpClient>);
    EXPECT_FALSE(std::is_move_assignable_v<HttpClient>);
    EXPECT_TRUE(std::is_abstract_v<HttpClient>);
    EXPECT_TRUE(std::has_virtual_destructor_v<HttpClient>);
}

// Construction and destruction write nothing and call nothing of the transport.
TEST_F(HttpClientTest, BeginsWithTheDefaultConfiguration) {
    {
        const ScriptedTransport client;
        const ClientConfiguration configuration = client.getClientConfiguration();
        EXPECT_EQ(configuration.maxRedirects(), 5);
        EXPECT_EQ(configuration.proxyCredentialPromptNumRetries(), 3);
        EXPECT_FALSE(configuration.resumeOnRetry());
        EXPECT_TRUE(configuration.retryStrategy());
        EXPECT_TRUE(configuration.proxyAuthenticationStrategy());
        EXPECT_FALSE(client.useProxyCredentialProvider());
        EXPECT_TRUE(client.seen().empty());
    }
    EXPECT_TRUE(log.records().empty());
}

// --- The stored configuration ---

TEST_F(HttpClientTest, StoresACopyOfTheConfiguration) {
    ScriptedTransport client;
    client.setClientConfiguration(ClientConfiguration().withMaxRedirects(9));
    ClientConfiguration copy = client.getClientConfiguration();
    EXPECT_EQ(copy.maxRedirects(), 9);
    copy.setMaxRedirects(1);
    EXPECT_EQ(client.getClientConfiguration().maxRedirects(), 9);
}

TEST_F(HttpClientTest, ConfigurationChangedIsToldOnceWithTheNewConfiguration) {
    ScriptedTransport client;
    std::vector<int> told;
    client.onConfigurationChanged = [&told](const ClientConfiguration& configuration) {
        told.push_back(configuration.maxRedirects());
    };
    client.setClientConfiguration(ClientConfiguration().withMaxRedirects(9));
    EXPECT_EQ(told, std::vector<int>{9});
    client.setClientConfiguration(ClientConfiguration().withMaxRedirects(9));
    EXPECT_EQ(told, (std::vector<int>{9, 9}));
}

TEST_F(HttpClientTest, ConfigurationChangedRunsUnderTheMutex) {
    ScriptedTransport client;
    std::future<int> reader;
    client.onConfigurationChanged = [&client, &reader](const ClientConfiguration&) {
        reader = std::async(std::launch::async,
                            [&client] { return client.getClientConfiguration().maxRedirects(); });
        EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    };
    client.setClientConfiguration(ClientConfiguration().withMaxRedirects(9));
    EXPECT_EQ(reader.get(), 9);
}

TEST_F(HttpClientTest, ConfigurationStaysStoredWhenConfigurationChangedThrows) {
    ScriptedTransport client;
    client.onConfigurationChanged = [](const ClientConfiguration&) {
        throw std::runtime_error("cannot apply it");
    };
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&client] { client.setClientConfiguration(ClientConfiguration().withMaxRedirects(9)); },
        "cannot apply it"));
    EXPECT_EQ(client.getClientConfiguration().maxRedirects(), 9);  // The mutex is free again.
}

TEST_F(HttpClientTest, DestroysTheFormerConfigurationOutsideTheMutex) {
    ScriptedTransport client;
    int redirects = 0;
    auto probe = std::shared_ptr<int>(new int(0), [&client, &redirects](const int* value) {
        redirects = client.getClientConfiguration().maxRedirects();
        delete value;
    });
    client.setClientConfiguration(ClientConfiguration().withProxyAuthenticationStrategy(
        [probe](const HttpResponse&, const std::exception_ptr&, int) { return *probe != 0; }));
    probe.reset();
    client.setClientConfiguration(ClientConfiguration().withMaxRedirects(9));
    EXPECT_EQ(redirects, 9);
}

TEST_F(HttpClientTest, AConfigurationThatCannotBeCopiedChangesNothing) {
    struct CopiesOnce {
        explicit CopiesOnce(std::shared_ptr<bool> refusing) : refuse(std::move(refusing)) {}
        CopiesOnce(const CopiesOnce& other) : refuse(other.refuse) {
            if (*refuse) {
                throw std::runtime_error("cannot be copied");
            }
        }
        bool operator()(const HttpResponse&, const std::exception_ptr&, int) const { return false; }
        std::shared_ptr<bool> refuse;
    };
    ScriptedTransport client;
    int changes = 0;
    client.onConfigurationChanged = [&changes](const ClientConfiguration&) { ++changes; };
    const auto refuse = std::make_shared<bool>(false);
    ClientConfiguration configuration = ClientConfiguration().withMaxRedirects(9);
    configuration.setProxyAuthenticationStrategy(CopiesOnce(refuse));
    *refuse = true;
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] { client.setClientConfiguration(std::move(configuration)); }, "cannot be copied"));
    EXPECT_EQ(client.getClientConfiguration().maxRedirects(), 5);
    EXPECT_EQ(changes, 0);
}

// --- Request ids ---

TEST_F(HttpClientTest, IdsCountFromZeroForEachClient) {
    ScriptedTransport first;
    ScriptedTransport second;
    EXPECT_EQ(first.makeAsyncRequest(getRequest()).second, 0U);
    EXPECT_EQ(first.makeAsyncRequest(getRequest()).second, 1U);
    EXPECT_EQ(
        first.makeAsyncRequest(getRequest(), [](HttpRequest, HttpResponse, std::exception_ptr) {}),
        2U);
    EXPECT_EQ(second.makeAsyncRequest(getRequest()).second, 0U);
}

TEST_F(HttpClientTest, SynchronousRequestsTakeNoId) {
    ScriptedTransport client;
    client.makeRequest(getRequest());
    EXPECT_EQ(client.makeAsyncRequest(getRequest()).second, 0U);
}

TEST_F(HttpClientTest, EveryAttemptOfARequestHasItsId) {
    ScriptedTransport client;
    client.setClientConfiguration(retrying(retryUpTo(3)));
    client.makeAsyncRequest(getRequest());
    const unsigned long id = client.makeAsyncRequest(getRequest("http://host/second")).second;
    client.pump();
    int attempts = 0;
    for (const Seen& seen : client.seen()) {
        if (seen.url == "http://host/second") {
            EXPECT_EQ(seen.requestId, id);
            ++attempts;
        }
    }
    EXPECT_EQ(attempts, 3);
}

TEST_F(HttpClientTest, AFailureToSendLeavesAGapInTheIds) {
    ScriptedTransport client;
    client.onSendAsync = [](unsigned long) { throw std::runtime_error("cannot queue"); };
    auto token = std::make_shared<int>(0);
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] {
            client.makeAsyncRequest(
                getRequest(), [token](HttpRequest, HttpResponse, std::exception_ptr) { ++*token; });
        },
        "cannot queue"));
    EXPECT_EQ(*token, 0);
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { client.makeAsyncRequest(getRequest()); },
                                                  "cannot queue"));
    client.onSendAsync = nullptr;
    EXPECT_EQ(client.makeAsyncRequest(getRequest()).second, 2U);
}

TEST_F(HttpClientTest, AConfigurationThatCannotBeCopiedLeavesAGapInTheIds) {
    struct Uncopyable {
        explicit Uncopyable(std::shared_ptr<bool> refusing) : refuse(std::move(refusing)) {}
        Uncopyable(const Uncopyable& other) : refuse(other.refuse) {
            if (*refuse) {
                throw std::runtime_error("cannot be copied");
            }
        }
        bool operator()(const HttpResponse&, const std::exception_ptr&, int) const { return false; }
        std::shared_ptr<bool> refuse;
    };
    ScriptedTransport client;
    const auto refuse = std::make_shared<bool>(false);
    client.setClientConfiguration(
        ClientConfiguration().withProxyAuthenticationStrategy(Uncopyable(refuse)));
    *refuse = true;
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { client.makeAsyncRequest(getRequest()); },
                                                  "cannot be copied"));
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { client.makeRequest(getRequest()); },
                                                  "cannot be copied"));
    EXPECT_TRUE(client.seen().empty());
    *refuse = false;
    EXPECT_EQ(client.makeAsyncRequest(getRequest()).second, 1U);
}

// --- The futures ---

TEST_F(HttpClientTest, TheFutureFormGoesThroughAnOverrideOfTheHandlerForm) {
    class Overriding : public ScriptedTransport {
    public:
        using ScriptedTransport::makeAsyncRequest;
        unsigned long makeAsyncRequest(HttpRequest request, CompletionHandler handler) override {
            return 70 + ScriptedTransport::makeAsyncRequest(std::move(request), std::move(handler));
        }
    };
    Overriding client;
    HttpClient& base = client;
    base.makeAsyncRequest(getRequest());
    auto [response, id] = base.makeAsyncRequest(getRequest());
    EXPECT_EQ(id, 71U);
    client.pump();
    EXPECT_EQ(response.get().getResponseCode(), HttpResponseCode::OK);
}

TEST_F(HttpClientTest, TheFutureRethrowsTheErrorOfTheLastAttempt) {
    const std::exception_ptr last = std::make_exception_ptr(std::runtime_error("second"));
    ScriptedTransport client({failure("first"), failure(last)});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    auto response = client.makeAsyncRequest(getRequest()).first;
    client.pump();
    EXPECT_TRUE(throwsExactly<std::runtime_error>([&] { response.get(); }, "second"));
}

TEST_F(HttpClientTest, AHandlerDestroyedUncalledBreaksThePromise) {
    std::future<HttpResponse> response;
    {
        ScriptedTransport client;
        response = client.makeAsyncRequest(getRequest()).first;
    }
    try {
        response.get();
        FAIL() << "threw nothing";
    } catch (const std::future_error& error) {
        EXPECT_EQ(error.code(), std::future_errc::broken_promise);
    }
}

TEST_F(HttpClientTest, DestroyingTheFutureDoesNotCancel) {
    ScriptedTransport client({answer(HttpResponseCode::OK)});
    client.makeAsyncRequest(getRequest());
    EXPECT_EQ(client.pump(), 1);
}

TEST_F(HttpClientTest, AHandlerMayStartTheNextRequest) {
    ScriptedTransport client(
        {answer(HttpResponseCode::OK, "first"), answer(HttpResponseCode::OK, "second")});
    std::string text;
    client.makeAsyncRequest(
        getRequest(), [&](HttpRequest request, HttpResponse response, std::exception_ptr) {
            text += response.getResponseBodyString();
            client.makeAsyncRequest(std::move(request),
                                    [&](HttpRequest, HttpResponse next, std::exception_ptr) {
                                        text += ", " + next.getResponseBodyString();
                                    });
        });
    EXPECT_EQ(client.pump(), 2);
    EXPECT_EQ(text, "first, second");
}

TEST_F(HttpClientTest, AnExceptionOfTheHandlerIsDropped) {
    ScriptedTransport client({answer(HttpResponseCode::OK)});
    client.makeAsyncRequest(getRequest(), [](HttpRequest, HttpResponse, std::exception_ptr) {
        throw std::runtime_error("from the handler");
    });
    EXPECT_EQ(client.pump(), 1);
}

TEST_F(HttpClientTest, TheHandlerMayDestroyTheClient) {
    // The handler is taken out by hand: the transport's own pump would go on with a destroyed object.
    struct Holder : ScriptedTransport {
        void sendAsyncRequest(HttpRequest request,
                              HttpResponse response,
                              unsigned long,
                              CompletionHandler handler) const override {
            held = std::make_unique<CompletionHandler>(std::move(handler));
            heldRequest = std::make_unique<HttpRequest>(std::move(request));
            heldResponse = std::make_unique<HttpResponse>(std::move(response));
        }
        mutable std::unique_ptr<CompletionHandler> held;
        mutable std::unique_ptr<HttpRequest> heldRequest;
        mutable std::unique_ptr<HttpResponse> heldResponse;
    };
    auto holder = std::make_unique<Holder>();
    bool destroyed = false;
    holder->makeAsyncRequest(getRequest(), [&](HttpRequest, HttpResponse, std::exception_ptr) {
        holder.reset();
        destroyed = true;
    });
    const std::unique_ptr<CompletionHandler> handler = std::move(holder->held);
    HttpRequest request = std::move(*holder->heldRequest);
    HttpResponse response = std::move(*holder->heldResponse);
    response.setResponseCodeAndReason(HttpResponseCode::OK, "OK");
    (*handler)(std::move(request), std::move(response), nullptr);
    EXPECT_TRUE(destroyed);
}

// --- What holds on both roads ---

class HttpClientRoadTest : public RoadTest {
protected:
    /// Runs a request whose end must be that a strategy threw: the exception leaves makeRequest, and
    /// breaks the promise on the other road.
    template <class Exception>
    static ::testing::AssertionResult isLostTo(ScriptedTransport& client,
                                               HttpRequest request,
                                               const std::string& message) {
        if (synchronous()) {
            return throwsExactly<Exception>([&] { run(client, std::move(request)); }, message);
        }
        try {
            run(client, std::move(request));
        } catch (const std::future_error& error) {
            return error.code() == std::future_errc::broken_promise
                       ? ::testing::AssertionSuccess()
                       : ::testing::AssertionFailure() << error.what();
        } catch (const std::exception& error) {
            return ::testing::AssertionFailure() << error.what();
        }
        return ::testing::AssertionFailure() << "threw nothing";
    }
};

INSTANTIATE_TEST_SUITE_P(Roads,
                         HttpClientRoadTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(HttpClientRoadTest, AnErrorCodeIsAResponse) {
    ScriptedTransport client({answer(HttpResponseCode::NotFound, "no such file")});
    HttpResponse response = run(client, getRequest());
    EXPECT_EQ(response.getResponseCode(), HttpResponseCode::NotFound);
    EXPECT_EQ(response.getResponseBodyString(), "no such file");
}

TEST_P(HttpClientRoadTest, TheResponseHasFactoryAndCallbackOfTheRequest) {
    ScriptedTransport client({answer(HttpResponseCode::OK, "Hello")});
    int streams = 0;
    int changes = 0;
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(
        [&streams](HttpResponseCode, const std::string&, const HttpHeaders&) {
            ++streams;
            return std::make_unique<std::stringstream>(
                "[", std::ios::in | std::ios::out | std::ios::ate);
        });
    request.setPreRespCodeAndHeadersCallback([&changes] { ++changes; });
    EXPECT_EQ(run(client, std::move(request)).getResponseBodyString(), "[Hello");
    EXPECT_EQ(streams, 1);
    EXPECT_EQ(changes, 2);  // The code with its reason, and the headers.
}

TEST_P(HttpClientRoadTest, AFirstAttemptFindsAResponseThatIsNotMade) {
    ScriptedTransport client;
    run(client, getRequest());
    const Seen seen = client.seen()[0];
    EXPECT_EQ(seen.codeAtEntry, HttpResponseCode::RequestNotMade);
    EXPECT_EQ(seen.reasonAtEntry, "Request Not Made");
    EXPECT_EQ(seen.responseHeadersAtEntry, HttpHeaders());
}

TEST_P(HttpClientRoadTest, ARetriedRequestFindsAResponseThatIsNotMade) {
    ScriptedTransport client({answer(HttpResponseCode::BadGateway, "x", {{"A", "b"}}),
                              answer(HttpResponseCode::OK, "y")});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "y");
    const Seen seen = client.seen()[1];
    EXPECT_EQ(seen.codeAtEntry, HttpResponseCode::RequestNotMade);
    EXPECT_EQ(seen.reasonAtEntry, "Request Not Made");
    EXPECT_EQ(seen.responseHeadersAtEntry, HttpHeaders());
    EXPECT_EQ(seen.bodyPosition, 0);
}

TEST_P(HttpClientRoadTest, TheExceptionOfTheLastAttemptReachesTheCallerUnchanged) {
    const std::exception_ptr last = std::make_exception_ptr(std::runtime_error("second"));
    ScriptedTransport client({failure("first"), failure(last)});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    try {
        run(client, getRequest());
        FAIL() << "threw nothing";
    } catch (...) {
        EXPECT_EQ(std::current_exception(), last);
    }
}

TEST_P(HttpClientRoadTest, AnErrorIsForgottenWhenALaterAttemptSucceeds) {
    ScriptedTransport client({failure("first"), answer(HttpResponseCode::OK, "Hello")});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    EXPECT_EQ(run(client, getRequest()).getResponseBodyString(), "Hello");
}

TEST_P(HttpClientRoadTest, AnErrorAfterAnAnswerIsStillAnError) {
    Attempt cutShort = answer(HttpResponseCode::OK, "Hel");
    cutShort.error = std::make_exception_ptr(std::runtime_error("connection lost"));
    ScriptedTransport client({cutShort});
    client.setClientConfiguration(retrying(retryUpTo(1)));
    EXPECT_TRUE(
        throwsExactly<std::runtime_error>([&] { run(client, getRequest()); }, "connection lost"));
}

// The road decides only whether the exception of an attempt is written.
TEST_P(HttpClientRoadTest, OnlyMakeRequestWritesTheExceptionOfAnAttempt) {
    std::exception_ptr nested;
    try {
        try {
            throw std::runtime_error("cable cut");
        } catch (...) {
            std::throw_with_nested(HttpRequestFailedException("no connection"));
        }
    } catch (...) {
        nested = std::current_exception();
    }
    ScriptedTransport client(
        {failure(nested), failure(std::make_exception_ptr(42)), answer(HttpResponseCode::OK)});
    client.setClientConfiguration(retrying(retryUpTo(3)));
    run(client, getRequest());
    std::vector<LogRecord> expected;
    for (const char* text : {"Exception caught: no connection; caused by: cable cut",
                             "Exception caught: unknown exception"}) {
        if (synchronous()) {
            expected.push_back(coreRecord(16, text));
        }
        expected.push_back(coreRecord(4, "Request not made."));
    }
    EXPECT_EQ(log.records(), expected);
}

TEST_P(HttpClientRoadTest, ASuccessfulRequestWithoutRetriesWritesNothing) {
    ScriptedTransport client({answer(HttpResponseCode::OK, "Hello")});
    client.setClientConfiguration(retrying(noRetriesStrategy()));
    run(client, postRequest());
    EXPECT_TRUE(log.records().empty());
}

// --- The configuration of a request ---

TEST_P(HttpClientRoadTest, TheConfigurationOfTheRequestReplacesTheClientsEntirely) {
    ScriptedTransport client;
    client.answerWith([](const Seen&) {
        return answer(HttpResponseCode::ServiceUnavailable, "body", {{"Accept-Ranges", "bytes"}});
    });
    client.setClientConfiguration(retrying(retryUpTo(2)).withResumeOnRetry(true));
    HttpRequest request = getRequest();
    request.setClientConfiguration(ClientConfiguration());  // Five attempts, no resume.
    run(client, std::move(request));
    EXPECT_EQ(client.seenHeader("Range"), std::vector<std::string>(5, "-"));
    run(client, getRequest());
    EXPECT_EQ(client.seenHeader("Range").size(), 7U);
    EXPECT_EQ(client.seenHeader("Range").back(), "bytes=4-");
}

TEST_P(HttpClientRoadTest, ARunningRequestKeepsItsConfiguration) {
    ScriptedTransport client;
    client.answerWith([&client](const Seen&) {
        client.setClientConfiguration(retrying(retryUpTo(1)));
        return answer(HttpResponseCode::OK);
    });
    client.setClientConfiguration(retrying(retryUpTo(3)));
    run(client, getRequest());
    EXPECT_EQ(client.seen().size(), 3U);
    run(client, getRequest());
    EXPECT_EQ(client.seen().size(), 4U);
}

// --- The strategies ---

TEST_P(HttpClientRoadTest, TheRetryStrategyIsToldTheAttempt) {
    ScriptedTransport client({failure("lost"), answer(HttpResponseCode::BadGateway),
                              answer(HttpResponseCode::NotFound)});
    std::vector<Told> told;
    client.setClientConfiguration(retrying(noting(told, 3)));
    run(client, getRequest());
    EXPECT_EQ(told,
              (std::vector<Told>{{-1, "lost", 1, 1}, {502, "none", 2, 2}, {404, "none", 3, 3}}));
}

TEST_P(HttpClientRoadTest, ARetriedSuccessBeginsANewCount) {
    ScriptedTransport client({answer(HttpResponseCode::BadGateway), answer(HttpResponseCode::OK),
                              answer(HttpResponseCode::BadGateway), answer(HttpResponseCode::OK)});
    std::vector<Told> told;
    client.setClientConfiguration(retrying(noting(told, 4)));
    run(client, getRequest());
    const int atSuccess = synchronous() ? 2 : 0;
    EXPECT_EQ(told, (std::vector<Told>{{502, "none", 1, 1},
                                       {200, "none", 2, atSuccess},
                                       {502, "none", 3, 1},
                                       {200, "none", 4, atSuccess}}));
}

TEST_P(HttpClientRoadTest, ASuccessCodeCountsAsSuccessAlsoWithAnError) {
    Attempt cutShort = answer(HttpResponseCode::OK, "Hel");
    cutShort.error = std::make_exception_ptr(std::runtime_error("connection lost"));
    ScriptedTransport client({cutShort, answer(HttpResponseCode::BadGateway)});
    std::vector<Told> told;
    client.setClientConfiguration(retrying(noting(told, 2)));
    run(client, getRequest());
    EXPECT_EQ(told, (std::vector<Told>{{200, "connection lost", 1, synchronous() ? 1 : 0},
                                       {502, "none", 2, 1}}));
}

TEST_P(HttpClientRoadTest, TheProxyStrategyIsAskedAfterEveryAttemptWithTheTotal) {
    ScriptedTransport client(
        {failure("lost"), answer(HttpResponseCode::OK), answer(HttpResponseCode::NotFound)});
    std::vector<std::string> told;
    client.setClientConfiguration(
        retrying(retryUpTo(3))
            .withProxyAuthenticationStrategy([&told](const HttpResponse& response,
                                                     const std::exception_ptr& error, int attempt) {
                told.push_back(to_string(response.getResponseCode()) + " " + textOf(error) + " " +
                               std::to_string(attempt));
                return false;
            }));
    run(client, getRequest());
    ASSERT_EQ(told.size(), 3U);
    EXPECT_NE(told[0].find(" lost 1"), std::string::npos);
    EXPECT_NE(told[1].find(" none 2"), std::string::npos);
    EXPECT_NE(told[2].find(" none 3"), std::string::npos);
}

TEST_P(HttpClientRoadTest, ProxyStrategyBeforeRetryStrategy) {
    ScriptedTransport client({answer(HttpResponseCode::OK)});
    std::string order;
    client.setClientConfiguration(
        ClientConfiguration()
            .withRetryStrategy([&order](const HttpRequest&, const HttpResponse&,
                                        const std::exception_ptr&, int, int) {
                order += "retry ";
                return false;
            })
            .withProxyAuthenticationStrategy(
                [&order](const HttpResponse&, const std::exception_ptr&, int) {
                    order += "proxy ";
                    return false;
                }));
    run(client, getRequest());
    EXPECT_EQ(order, "proxy retry ");
}

// makeRequest keeps one copy of the retry strategy; each asynchronous attempt starts with a new one.
TEST_P(HttpClientRoadTest, TheStateOfARetryStrategyLastsOnlyInMakeRequest) {
    ScriptedTransport client;
    std::vector<int> counts;
    client.setClientConfiguration(
        retrying([&counts, own = 0](const HttpRequest&, const HttpResponse&,
                                    const std::exception_ptr&, int total, int) mutable {
            counts.push_back(++own);
            return total < 3;
        }));
    run(client, getRequest());
    EXPECT_EQ(counts, synchronous() ? (std::vector<int>{1, 2, 3}) : (std::vector<int>{1, 1, 1}));
}

TEST_P(HttpClientRoadTest, TheStateOfAProxyStrategyNeverLasts) {
    ScriptedTransport client;
    std::vector<int> counts;
    client.setClientConfiguration(
        retrying(retryUpTo(3))
            .withProxyAuthenticationStrategy(
                [&counts, own = 0](const HttpResponse&, const std::exception_ptr&, int) mutable {
                    counts.push_back(++own);
                    return false;
                }));
    run(client, getRequest());
    EXPECT_EQ(counts, (std::vector<int>{1, 1, 1}));
}

TEST_P(HttpClientRoadTest, AnEmptyRetryStrategyFailsAfterTheAttempt) {
    ScriptedTransport client;
    client.setClientConfiguration(retrying(nullptr));
    EXPECT_TRUE(isLostTo<std::bad_function_call>(client, getRequest(), "bad_function_call"));
    EXPECT_EQ(client.seen().size(), 1U);
}

TEST_P(HttpClientRoadTest, AnEmptyProxyStrategyFailsAfterTheAttempt) {
    ScriptedTransport client;
    int asked = 0;
    client.setClientConfiguration(
        ClientConfiguration()
            .withRetryStrategy([&asked](const HttpRequest&, const HttpResponse&,
                                        const std::exception_ptr&, int, int) {
                ++asked;
                return false;
            })
            .withProxyAuthenticationStrategy(nullptr));
    EXPECT_TRUE(isLostTo<std::bad_function_call>(client, getRequest(), "bad_function_call"));
    EXPECT_EQ(client.seen().size(), 1U);
    EXPECT_EQ(asked, 0);
}

TEST_P(HttpClientRoadTest, TheNoAuthenticationStrategyEndsEveryRequestAfterOneAttempt) {
    for (const HttpResponseCode code :
         {HttpResponseCode::OK, HttpResponseCode::ProxyAuthenticationRequired,
          HttpResponseCode::ServiceUnavailable}) {
        ScriptedTransport client({answer(code)});
        client.setClientConfiguration(
            ClientConfiguration().withProxyAuthenticationStrategy(noProxyAuthenticationStrategy()));
        EXPECT_TRUE(isLostTo<HttpRequestFailedException>(client, getRequest(), noAuthentication));
        EXPECT_EQ(client.seen().size(), 1U);
    }
}

TEST_P(HttpClientRoadTest, TheNoAuthenticationStrategyHidesTheErrorOfTheAttempt) {
    ScriptedTransport client({failure("lost")});
    client.setClientConfiguration(
        ClientConfiguration().withProxyAuthenticationStrategy(noProxyAuthenticationStrategy()));
    EXPECT_TRUE(isLostTo<HttpRequestFailedException>(client, getRequest(), noAuthentication));
}

TEST_P(HttpClientRoadTest, AnExceptionOfTheRetryStrategyEndsTheRequest) {
    ScriptedTransport client({answer(HttpResponseCode::BadGateway), answer(HttpResponseCode::OK)});
    client.setClientConfiguration(retrying([](const HttpRequest&, const HttpResponse&,
                                              const std::exception_ptr&, int total, int) -> bool {
        if (total == 2) {
            throw std::runtime_error("from the strategy");
        }
        return true;
    }));
    EXPECT_TRUE(isLostTo<std::runtime_error>(client, getRequest(), "from the strategy"));
    EXPECT_EQ(client.seen().size(), 2U);
}

TEST_P(HttpClientRoadTest, AnExceptionOfTheFactoryBetweenAttemptsEndsTheRequest) {
    ScriptedTransport client({answer(HttpResponseCode::BadGateway, "x")});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    HttpRequest request = getRequest();
    request.setResponseStreamFactory(
        [first = true](HttpResponseCode, const std::string&, const HttpHeaders&) mutable {
            if (!std::exchange(first, false)) {
                throw std::runtime_error("disk full");
            }
            return std::make_unique<std::stringstream>();
        });
    EXPECT_TRUE(isLostTo<std::runtime_error>(client, std::move(request), "disk full"));
    EXPECT_EQ(client.seen().size(), 1U);
}

TEST_F(HttpClientTest, AnExceptionOfSendAsyncRequestAtARetryLosesTheHandler) {
    ScriptedTransport client({answer(HttpResponseCode::BadGateway)});
    client.setClientConfiguration(retrying(retryUpTo(2)));
    auto token = std::make_shared<int>(0);
    client.makeAsyncRequest(getRequest(),
                            [token](HttpRequest, HttpResponse, std::exception_ptr) { ++*token; });
    client.onSendAsync = [](unsigned long) { throw std::runtime_error("cannot queue"); };
    EXPECT_EQ(client.pump(), 1);
    EXPECT_EQ(*token, 0);
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(HttpClientTest, ALostHandlerIsDestroyedAlsoIfTheTransportKeepsItsOwn) {
    ScriptedTransport client;
    client.keepHandlers();
    client.setClientConfiguration(retrying(nullptr));
    auto token = std::make_shared<int>(0);
    client.makeAsyncRequest(getRequest(),
                            [token](HttpRequest, HttpResponse, std::exception_ptr) { ++*token; });
    EXPECT_EQ(token.use_count(), 2);
    client.pump();
    EXPECT_EQ(*token, 0);
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(HttpClientTest, ADeliveredHandlerIsDestroyedAlsoIfTheTransportKeepsItsOwn) {
    ScriptedTransport client;
    client.keepHandlers();
    client.setClientConfiguration(retrying(retryUpTo(2)));
    auto token = std::make_shared<int>(0);
    client.makeAsyncRequest(getRequest(),
                            [token](HttpRequest, HttpResponse, std::exception_ptr) { ++*token; });
    client.pump();
    EXPECT_EQ(*token, 1);
    EXPECT_EQ(token.use_count(), 1);
}

// --- Multipart requests ---

HttpRequest multipartRequest() {
    HttpRequest request(HttpMethod::POST, URL("http://host/upload"),
                        {{"Content-Type", "multipart/mixed"}, {"content-type", "again"}});
    request.setMultipartBody(MultipartBody().withPart(DataPart("text").withPartName("field")));
    return request;
}

TEST_P(HttpClientRoadTest, AMultipartRequestLosesItsContentType) {
    ScriptedTransport client;
    run(client, multipartRequest());
    EXPECT_EQ(client.seenHeader("Content-Type"), std::vector<std::string>{"-"});
    EXPECT_TRUE(client.seen()[0].multipart);
}

TEST_P(HttpClientRoadTest, OnlyMakeRequestRemovesAContentTypeBeforeARetry) {
    ScriptedTransport client;
    client.setClientConfiguration(retrying(retryUpTo(3)));
    client.onSend = [](HttpRequest& request) {
        request.setHeaderValue("Content-Type", "multipart/form-data; boundary=x");
    };
    run(client, multipartRequest());
    const std::string later = synchronous() ? "-" : "multipart/form-data; boundary=x";
    EXPECT_EQ(client.seenHeader("Content-Type"), (std::vector<std::string>{"-", later, later}));
}

TEST_P(HttpClientRoadTest, OtherRequestsKeepTheirContentType) {
    ScriptedTransport client;
    client.setClientConfiguration(retrying(retryUpTo(2)));
    run(client, postRequest());
    EXPECT_EQ(client.seenHeader("Content-Type"),
              (std::vector<std::string>{"text/plain", "text/plain"}));
}

// --- The framing of a request with a body ---

const char* const noFraming =
    "A HttpRequest with a body must have a Content-Length or a Transfer-Encoding header.";
const char* const twoFramings =
    "HttpRequest headers must not include Content-Length and a non-identity Transfer-Encoding.";
const char* const noFramingRecord =
    "Request for http://host:8080/form?a=b#top has no Content-Length or Transfer-Encoding header.";
const char* const twoFramingsRecord =
    "HttpRequest headers for http://host:8080/form?a=b#top must not include Content-Length and a "
    "non-identity Transfer-Encoding.";

enum class Body { None, Stream, Multipart };

struct FramingRow {
    const char* label;
    Body body;
    HttpHeaders headers;
    const char* error;  ///< Empty: the request is valid.
    const char* record;

    friend std::ostream& operator<<(std::ostream& os, const FramingRow& row) {
        return os << row.label;
    }
};

HttpRequest framed(const FramingRow& row) {
    HttpRequest request(HttpMethod::POST, URL("http://host:8080/form?a=b#top"), row.headers);
    if (row.body == Body::Stream) {
        request.setRequestBody(std::unique_ptr<std::istream>(new std::istringstream("abc")));
    } else if (row.body == Body::Multipart) {
        request.setMultipartBody(MultipartBody().withPart(DataPart("text")));
    }
    return request;
}

class HttpClientFramingTest : public ::testing::TestWithParam<FramingRow> {
protected:
    LogCapture log;
};

TEST_P(HttpClientFramingTest, IsCheckedByBothEntryPointsBeforeAnythingElse) {
    const bool valid = *GetParam().error == '\0';
    ScriptedTransport client;
    client.setClientConfiguration(retrying(noRetriesStrategy()));
    std::vector<LogRecord> expected;
    auto token = std::make_shared<int>(0);
    const auto handler = [token](HttpRequest, HttpResponse, std::exception_ptr) { ++*token; };
    const std::vector<std::function<void()>> entryPoints{
        [&] { client.makeRequest(framed(GetParam())); },
        [&] { client.makeAsyncRequest(framed(GetParam())); },
        [&] { client.makeAsyncRequest(framed(GetParam()), handler); }};
    for (const std::function<void()>& entryPoint : entryPoints) {
        if (valid) {
            EXPECT_NO_THROW(entryPoint());
        } else {
            EXPECT_TRUE(throwsExactly<std::logic_error>(entryPoint, GetParam().error));
            expected.push_back(coreRecord(512, GetParam().record));
        }
    }
    EXPECT_EQ(client.pump(), valid ? 2 : 0);
    EXPECT_EQ(client.seen().size(), valid ? 3U : 0U);
    EXPECT_EQ(log.records(), expected);
    EXPECT_EQ(*token, valid ? 1 : 0);
    EXPECT_EQ(token.use_count(), 2);  // The test's own two.
    EXPECT_EQ(client.makeAsyncRequest(getRequest()).second, valid ? 2U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpClientFramingTest,
    ::testing::Values(
        FramingRow{"NoBodyNoHeader", Body::None, {}, "", ""},
        FramingRow{"NoBodyBothHeaders",
                   Body::None,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", "chunked"}},
                   "",
                   ""},
        FramingRow{"MultipartNoHeader", Body::Multipart, {}, "", ""},
        FramingRow{"MultipartBothHeaders",
                   Body::Multipart,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", "chunked"}},
                   "",
                   ""},
        FramingRow{"BodyNoHeader", Body::Stream, {}, noFraming, noFramingRecord},
        FramingRow{"BodyOtherHeader",
                   Body::Stream,
                   {{"Content-Type", "text/plain"}},
                   noFraming,
                   noFramingRecord},
        FramingRow{"Length", Body::Stream, {{"Content-Length", "3"}}, "", ""},
        FramingRow{"LengthInOtherCase", Body::Stream, {{"content-LENGTH", "3"}}, "", ""},
        FramingRow{"LengthIsNotRead", Body::Stream, {{"Content-Length", "many"}}, "", ""},
        FramingRow{"EmptyLength", Body::Stream, {{"Content-Length", ""}}, "", ""},
        FramingRow{"Coding", Body::Stream, {{"Transfer-Encoding", "chunked"}}, "", ""},
        FramingRow{"CodingIsNotRead", Body::Stream, {{"transfer-encoding", "?"}}, "", ""},
        FramingRow{"LengthAndIdentity",
                   Body::Stream,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", "identity"}},
                   "",
                   ""},
        FramingRow{"LengthAndChunked",
                   Body::Stream,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", "chunked"}},
                   twoFramings,
                   twoFramingsRecord},
        FramingRow{"LengthAndCapitalIdentity",
                   Body::Stream,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", "Identity"}},
                   twoFramings,
                   twoFramingsRecord},
        FramingRow{"LengthAndIdentityWithBlankAfter",
                   Body::Stream,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", "identity "}},
                   twoFramings,
                   twoFramingsRecord},
        FramingRow{"LengthAndIdentityWithBlankBefore",
                   Body::Stream,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", " identity"}},
                   twoFramings,
                   twoFramingsRecord},
        FramingRow{"LengthAndIdentityAmongOthers",
                   Body::Stream,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", "identity, chunked"}},
                   twoFramings,
                   twoFramingsRecord},
        FramingRow{"LengthAndEmptyCoding",
                   Body::Stream,
                   {{"Content-Length", "3"}, {"Transfer-Encoding", ""}},
                   twoFramings,
                   twoFramingsRecord},
        FramingRow{"FirstCodingDecides",
                   Body::Stream,
                   {{"Content-Length", "3"},
                    {"Transfer-Encoding", "identity"},
                    {"Transfer-Encoding", "chunked"}},
                   "",
                   ""}),
    [](const auto& row) { return row.param.label; });

TEST_F(HttpClientTest, ARefusedRequestIsNotWrittenWhenErrorsAreDisabled) {
    ScriptedTransport client;
    HttpRequest request(HttpMethod::POST, URL("http://host/"), HttpHeaders());
    request.setRequestBody(std::unique_ptr<std::istream>(new std::istringstream("abc")));
    coreChannel().set_filter_mask(SEVERITY_PROGRESS | SEVERITY_CAUGHT);
    EXPECT_TRUE(throwsExactly<std::logic_error>([&] { client.makeRequest(std::move(request)); },
                                                noFraming));
    coreChannel().set_filter_mask(0x7fff);
    EXPECT_TRUE(log.records().empty());
}

TEST_F(HttpClientTest, ACaughtExceptionIsNotWrittenWhenDisabled) {
    ScriptedTransport client({failure("lost")});
    client.setClientConfiguration(retrying(noRetriesStrategy()));
    coreChannel().set_filter_mask(SEVERITY_PROGRESS | SEVERITY_ERROR);
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>([&] { client.makeRequest(getRequest()); },
                                                          "lost"));
    coreChannel().set_filter_mask(0x7fff);
    EXPECT_TRUE(log.records().empty());
}

// --- The transport of these tests keeps its own duties ---

TEST_F(HttpClientTest, ACancelledRequestEndsWithTheCancellation) {
    ScriptedTransport client;
    auto [response, id] = client.makeAsyncRequest(getRequest());
    HttpClient& base = client;
    EXPECT_TRUE(base.cancelRequest(id));
    EXPECT_FALSE(base.cancelRequest(id + 1));
    client.pump();
    EXPECT_TRUE(throwsExactly<HttpRequestCancelledException>(
        [&outcome = response] { outcome.get(); }, HttpRequestCancelledException().what()));
    EXPECT_FALSE(base.cancelRequest(id));
}

TEST_F(HttpClientTest, ARequestCancelledBetweenAttemptsEndsAtTheNext) {
    ScriptedTransport client;
    client.setClientConfiguration(retrying([&client](const HttpRequest&, const HttpResponse&,
                                                     const std::exception_ptr&, int total, int) {
        client.cancelRequest(0);
        return total < 2;
    }));
    auto response = client.makeAsyncRequest(getRequest()).first;
    client.pump();
    EXPECT_TRUE(throwsExactly<HttpRequestCancelledException>(
        [&] { response.get(); }, HttpRequestCancelledException().what()));
}

}  // namespace
}  // namespace foundation::httpclient_core
