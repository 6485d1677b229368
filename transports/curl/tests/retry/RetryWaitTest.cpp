#include "support/TestClient.h"

#include <atomic>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

using Clock = std::chrono::steady_clock;

std::ptrdiff_t threadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return std::distance(begin(tasks), end(tasks));
}

TEST(RetryWaitTest, AThousandWaitOnOneThreadWhileOtherTrafficFlows) {
    constexpr int requests = 1000;
    LoopbackServer busy([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(503, "Busy");
    });
    LoopbackServer well([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(200, "OK", {}, "well");
    });
    Counter asked;
    const RetryStrategy patient = defaultRetryStrategy(9, defaultIsRetriable(), 9,
                                                       {.backoffBase = 0,
                                                        .maxBackoff = 120,
                                                        .minJitter = 60000,
                                                        .maxJitter = 60000,
                                                        .useRetryAfter = false});
    std::vector<std::atomic<int>> calls(requests);
    std::atomic<int> cancelled = 0;
    std::optional<TestClient> owner(std::in_place);
    TestClient& client = *owner;
    client->setClientConfiguration(
        ClientConfiguration().withMaxThreads(1).withMaxRequestsPerThread(8).withRetryStrategy(
            [&asked, patient](const HttpRequest& request, const HttpResponse& response,
                              const std::exception_ptr& error, int total, int consecutive) {
                const bool again = patient(request, response, error, total, consecutive);
                asked.add();
                return again;
            }));
    const std::ptrdiff_t threadsBefore = threadCount();
    for (int i = 0; i < requests; ++i) {
        client->makeAsyncRequest(HttpRequest(HttpMethod::GET, busy.url(), {}),
                                 [&, i](HttpRequest, HttpResponse, std::exception_ptr error) {
                                     ++calls[static_cast<std::size_t>(i)];
                                     cancelled +=
                                         holds<HttpRequestCancelledException>(error) ? 1 : 0;
                                 });
    }
    ASSERT_TRUE(asked.waitFor(requests));
    // The threads of the servers' connections are among them, and threads that came under load.
    EXPECT_LT(threadCount() - threadsBefore, 100);
    for (int i = 0; i < 50; ++i) {
        for (const Road road : {Road::Synchronous, Road::Asynchronous}) {
            EXPECT_EQ(client.get(well.url(), road).body(), "well");
        }
    }
    EXPECT_EQ(cancelled, 0);
    const Clock::time_point begin = Clock::now();
    client->cancelAllRequests();
    // The next request to end has all handlers posted before its own.
    EXPECT_EQ(client.get(well.url(), Road::Asynchronous).body(), "well");
    const Clock::duration taken = Clock::now() - begin;
    std::cout << "cancelled " << requests
              << " waiting requests: " << std::chrono::duration<double, std::milli>(taken).count()
              << " ms\n";
    EXPECT_LT(taken, std::chrono::seconds(10));
    EXPECT_EQ(busy.requestCount(), requests);
    owner.reset();
    EXPECT_EQ(cancelled, requests);
    for (const std::atomic<int>& count : calls) {
        EXPECT_EQ(count, 1);
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
