// One client, many threads. Run under ThreadSanitizer these tests show that the client needs no lock
// of its callers.
#include "tests/client/ProxyFakes.h"
#include "tests/client/Roads.h"
#include "tests/client/ScriptedTransport.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <numeric>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::answer;
using testing::getRequest;
using testing::LogCapture;
using testing::retrying;
using testing::retryUpTo;
using testing::ScriptedTransport;
using testing::Seen;

constexpr int workers = 4;
constexpr std::size_t threads = 8;
constexpr std::size_t requestsPerThread = 100;
constexpr std::size_t requests = threads * requestsPerThread;

/// Runs the action on several threads at once, with the number of the thread.
void onThreads(std::size_t count, const std::function<void(std::size_t)>& action) {
    std::vector<std::thread> running;
    for (std::size_t i = 0; i < count; ++i) {
        running.emplace_back([&action, i] { action(i); });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
}

HttpRequest numbered(std::size_t number) {
    return getRequest(("http://host/" + std::to_string(number)).c_str());
}

std::size_t numberOf(const HttpRequest& request) {
    return std::stoul(request.getURL().getPath().substr(1));
}

class ConcurrencyTest : public ::testing::Test {
protected:
    LogCapture log;
};

TEST_F(ConcurrencyTest, EveryHandlerIsInvokedOnceAndEveryIdIsItsOwn) {
    std::vector<std::atomic<int>> delivered(requests);
    std::atomic<std::size_t> deliveries{0};
    std::promise<void> allDelivered;
    std::vector<unsigned long> ids(requests);
    std::vector<Seen> seen;
    {
        ScriptedTransport client;
        client.setClientConfiguration(retrying(retryUpTo(3)));
        client.startWorkers(workers);
        onThreads(threads, [&](std::size_t thread) {
            for (std::size_t i = 0; i < requestsPerThread; ++i) {
                const std::size_t number = thread * requestsPerThread + i;
                ids[number] = client.makeAsyncRequest(
                    numbered(number),
                    [&](HttpRequest request, HttpResponse response, std::exception_ptr) {
                        EXPECT_EQ(response.getResponseCode(), HttpResponseCode::OK);
                        ++delivered[numberOf(request)];
                        if (++deliveries == requests) {
                            allDelivered.set_value();
                        }
                    });
            }
        });
        allDelivered.get_future().wait();
        seen = client.seen();
    }
    EXPECT_TRUE(std::all_of(delivered.begin(), delivered.end(),
                            [](const std::atomic<int>& count) { return count == 1; }));
    std::map<std::string, std::vector<unsigned long>> attempts;
    for (const Seen& attempt : seen) {
        attempts[attempt.url].push_back(attempt.requestId);
    }
    for (std::size_t number = 0; number < requests; ++number) {
        EXPECT_EQ(attempts["http://host/" + std::to_string(number)],
                  std::vector<unsigned long>(3, ids[number]));
    }
    std::vector<unsigned long> expected(requests);
    std::iota(expected.begin(), expected.end(), 0UL);
    std::sort(ids.begin(), ids.end());
    EXPECT_EQ(ids, expected);
}

// Each configuration marks the requests it governs; no request may bear two marks.
TEST_F(ConcurrencyTest, ARequestKeepsTheConfigurationItBeganWith) {
    std::vector<std::atomic<int>> marks(requests);
    std::vector<std::atomic<int>> asked(requests);
    std::atomic<int> mixed{0};
    const auto marking = [&](int mark) {
        return retrying([&, mark](const HttpRequest& request, const HttpResponse&,
                                  const std::exception_ptr&, int total, int) {
            const std::size_t number = numberOf(request);
            int before = 0;
            if (!marks[number].compare_exchange_strong(before, mark) && before != mark) {
                ++mixed;
            }
            ++asked[number];
            return total < mark;
        });
    };
    int changes = 0;  // Guarded by the mutex of the client alone.
    {
        ScriptedTransport client;
        client.onConfigurationChanged = [&changes](const ClientConfiguration&) { ++changes; };
        client.setClientConfiguration(marking(1));
        client.startWorkers(workers);
        onThreads(threads, [&](std::size_t thread) {
            for (std::size_t i = 0; i < requestsPerThread; ++i) {
                const std::size_t number = thread * requestsPerThread + i;
                client.setClientConfiguration(marking(1 + static_cast<int>(number % 4)));
                if (i % 2 == 0) {
                    client.makeAsyncRequest(numbered(number),
                                            [](HttpRequest, HttpResponse, std::exception_ptr) {});
                } else {
                    client.makeRequest(numbered(number));
                }
                EXPECT_TRUE(client.getClientConfiguration().retryStrategy());
            }
        });
    }  // Waits for the requests that still run.
    EXPECT_EQ(mixed, 0);
    EXPECT_EQ(changes, static_cast<int>(requests) + 1);
    for (std::size_t number = 0; number < requests; ++number) {
        EXPECT_EQ(asked[number], marks[number]);
    }
}

TEST_F(ConcurrencyTest, EveryFutureBecomesReady) {
    ScriptedTransport client;
    client.answerWith([](const Seen& seen) { return answer(HttpResponseCode::OK, seen.url); });
    client.setClientConfiguration(retrying(retryUpTo(2)));
    client.startWorkers(workers);
    onThreads(threads, [&](std::size_t thread) {
        std::vector<std::future<HttpResponse>> responses;
        for (std::size_t i = 0; i < requestsPerThread; ++i) {
            responses.push_back(
                client.makeAsyncRequest(numbered(thread * requestsPerThread + i)).first);
        }
        for (std::size_t i = 0; i < requestsPerThread; ++i) {
            EXPECT_EQ(responses[i].get().getResponseBodyString(),
                      "http://host/" + std::to_string(thread * requestsPerThread + i));
        }
    });
}

// The transport keeps every spent handler, against its duties; no future may hang for that.
TEST_F(ConcurrencyTest, AnExceptionOfAStrategyBreaksThePromise) {
    ScriptedTransport client;
    client.keepHandlers();
    client.setClientConfiguration(retrying([](const HttpRequest&, const HttpResponse&,
                                              const std::exception_ptr&, int total, int) -> bool {
        if (total == 2) {
            throw std::runtime_error("from the strategy");
        }
        return true;
    }));
    client.startWorkers(workers);
    std::atomic<int> broken{0};
    onThreads(threads, [&](std::size_t) {
        for (int i = 0; i < 20; ++i) {
            std::future<HttpResponse> response = client.makeAsyncRequest(getRequest()).first;
            ASSERT_EQ(response.wait_for(std::chrono::seconds(60)), std::future_status::ready);
            try {
                response.get();
            } catch (const std::future_error& error) {
                broken += error.code() == std::future_errc::broken_promise ? 1 : 0;
            }
        }
    });
    EXPECT_EQ(broken, static_cast<int>(threads) * 20);
}

TEST_F(ConcurrencyTest, ProxiesAreServedWhileTheConfigurationChanges) {
    ScriptedTransport client;
    struct Answering : ProxyCredentialPrompt {
        std::optional<ProxyCredentials> promptForCredentials(bool,
                                                             int remaining,
                                                             std::int64_t timeoutMs) override {
            EXPECT_GE(remaining, 1);
            EXPECT_LE(remaining, 3);
            EXPECT_TRUE(timeoutMs == 120000 || timeoutMs == 7);
            ++asked;
            return ProxyCredentials("ann", "secret");
        }
        std::atomic<int> asked{0};
    };
    const auto prompt = std::make_shared<Answering>();
    client.makePrompt = [prompt](const HttpResponse&, const std::exception_ptr&) { return prompt; };
    client.answerWith([&client](const Seen&) {
        client.useProxyCredentialProvider();
        return testing::refusal();
    });
    const auto configuration = [](std::int32_t retries, std::int64_t timeoutMs) {
        ClientConfiguration result = ClientConfiguration()
                                         .withRetryStrategy(noRetriesStrategy())
                                         .withProxyCredentialPromptNumRetries(retries);
        detail::ClientConfigurationAccess::setCredentialPromptTimeoutMs(result, timeoutMs);
        return result;
    };
    client.setClientConfiguration(configuration(1, 7));
    client.startWorkers(workers);
    onThreads(threads, [&](std::size_t thread) {
        for (int i = 0; i < 25; ++i) {
            std::future<HttpResponse> response = client.makeAsyncRequest(getRequest()).first;
            client.setClientConfiguration(i % 2 == 0 ? configuration(3, 120000)
                                                     : configuration(1, 7));
            if (thread % 2 == 0) {
                client.makeRequest(getRequest());
            }
            EXPECT_EQ(response.get().getResponseCode(),
                      HttpResponseCode::ProxyAuthenticationRequired);
        }
    });
    EXPECT_TRUE(client.useProxyCredentialProvider());
    EXPECT_GE(prompt->asked, static_cast<int>(threads) * 25);
}

TEST_F(ConcurrencyTest, HandlersMayMakeRequestsOfBothKinds) {
    std::atomic<int> delivered{0};
    {
        ScriptedTransport client;
        client.startWorkers(workers);
        onThreads(threads, [&](std::size_t) {
            for (int i = 0; i < 20; ++i) {
                client.makeAsyncRequest(
                    getRequest(), [&](HttpRequest request, HttpResponse, std::exception_ptr) {
                        client.makeRequest(getRequest());
                        client.makeAsyncRequest(
                            std::move(request),
                            [&](HttpRequest, HttpResponse, std::exception_ptr) { ++delivered; });
                    });
            }
        });
    }  // Waits for the requests that still run.
    EXPECT_EQ(delivered, static_cast<int>(threads) * 20);
}

// Only its cancellation ends a request here.
TEST_F(ConcurrencyTest, RequestsAreCancelledWhileTheyRun) {
    std::atomic<int> cancelled{0};
    {
        ScriptedTransport client;
        client.setClientConfiguration(
            retrying([](const HttpRequest&, const HttpResponse&, const std::exception_ptr& error,
                        int, int) { return error == nullptr; }));
        client.startWorkers(workers);
        onThreads(threads, [&](std::size_t) {
            for (int i = 0; i < 10; ++i) {
                const unsigned long id = client.makeAsyncRequest(
                    getRequest(), [&](HttpRequest, HttpResponse, const std::exception_ptr& error) {
                        EXPECT_EQ(testing::textOf(error), HttpRequestCancelledException().what());
                        ++cancelled;
                    });
                client.cancelRequest(id);
            }
        });
    }
    EXPECT_EQ(cancelled, static_cast<int>(threads) * 10);
}

}  // namespace
}  // namespace foundation::httpclient_core
