#include "tests/failures/ServerProcess.h"
#include "tests/support/AllocationCounter.h"
#include "transports/curl/tests/support/TestClient.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

// Memory that runs out on the thread of a caller of the transport: at each allocation of a request in turn, once or
// for ever after. What comes is the exact body or std::bad_alloc, and the client works afterwards. An asynchronous
// request either has not begun, and the call throws, or ends in its handler, once.

namespace foundation::httpclient_curl::testing {
namespace {

using httpclient_core::testing::failAllocationAfter;
using httpclient_core::testing::failAllocationsFrom;
using httpclient_core::testing::failNoAllocation;
using httpclient_core::testing::ServerProcess;

struct Shortage {
    Road road;
    bool forEver;
    HttpMethod method;
};

HttpRequest request(const std::string& url, const Shortage& shortage) {
    HttpRequest made(shortage.method, url, {});
    made.setClientConfiguration(plainConfiguration());
    if (shortage.method == HttpMethod::PUT) {
        made.setRequestBody(std::string(1000, 'x'));
    }
    return made;
}

// What the handler was told. Notes without allocating.
struct Ends {
    std::atomic<int> calls{0};
    std::optional<HttpResponse> response;
    std::exception_ptr error;
    Counter counter;
};

class TransportMemoryTest : public ::testing::TestWithParam<Shortage> {
protected:
    // With this many allocations before the shortage. False where it was none any more.
    bool requestIsWholeOrRefused(std::uint64_t successes) {
        HttpRequest sent = request(server_.url(), GetParam());
        successes_ = successes;
        return GetParam().road == Road::Synchronous ? synchronous(std::move(sent))
                                                    : asynchronous(std::move(sent));
    }

    void worksAgain() { EXPECT_EQ(client_.get(server_.url(), GetParam().road).body(), body_); }

    int refused_ = 0;

private:
    void beginShortage() const {
        if (GetParam().forEver) {
            failAllocationsFrom(successes_);
        } else {
            failAllocationAfter(successes_);
        }
    }

    bool synchronous(HttpRequest sent) {
        std::optional<HttpResponse> response;
        std::exception_ptr error;
        beginShortage();
        try {
            response.emplace(client_->makeRequest(std::move(sent)));
        } catch (...) {
            error = std::current_exception();
        }
        const bool wasShort = failNoAllocation() > 0;
        check(response, error);
        return wasShort;
    }

    bool asynchronous(HttpRequest sent) {
        auto ends = std::make_shared<Ends>();
        std::exception_ptr thrown;
        beginShortage();
        try {
            client_->makeAsyncRequest(
                std::move(sent),
                [ends](const HttpRequest&, HttpResponse response, std::exception_ptr error) {
                    ends->response.emplace(std::move(response));
                    ends->error = std::move(error);
                    ++ends->calls;
                    ends->counter.add();
                });
        } catch (...) {
            thrown = std::current_exception();
        }
        const bool wasShort = failNoAllocation() > 0;
        if (thrown != nullptr) {
            check({}, thrown);
            worksAgain();
            EXPECT_EQ(ends->calls, 0) << "thrown and delivered";
        } else {
            EXPECT_TRUE(ends->counter.waitFor(1)) << "nobody was told";
            check(ends->response, ends->error);
            EXPECT_EQ(ends->calls, 1);
        }
        return wasShort;
    }

    void check(const std::optional<HttpResponse>& response, const std::exception_ptr& error) {
        if (error != nullptr) {
            ++refused_;
            // A stream keeps to itself why it refused data.
            EXPECT_TRUE(holds<std::bad_alloc>(error) ||
                        messageOf(error) == "The response body stream refused data")
                << messageOf(error);
        } else if (response.has_value()) {
            EXPECT_TRUE(response->getResponseBodyString() == body_) << "another body";
        }
    }

    const ServerProcess server_;  // Before the client has threads.
    const std::string body_ = ServerProcess::content();
    TestClient client_;
    std::uint64_t successes_ = 0;
};

TEST_P(TransportMemoryTest, EndsInTheBodyOrBadAlloc) {
    worksAgain();
    std::uint64_t shortages = 0;
    while (!HasFailure() && requestIsWholeOrRefused(shortages)) {
        SCOPED_TRACE(shortages);
        worksAgain();
        ++shortages;
    }
    EXPECT_GT(refused_, 10);
    std::cout << shortages << " shortages, " << refused_ << " requests refused\n";
}

INSTANTIATE_TEST_SUITE_P(Shortages,
                         TransportMemoryTest,
                         ::testing::Values(Shortage{Road::Synchronous, false, HttpMethod::GET},
                                           Shortage{Road::Synchronous, true, HttpMethod::GET},
                                           Shortage{Road::Synchronous, false, HttpMethod::PUT},
                                           Shortage{Road::Asynchronous, false, HttpMethod::GET},
                                           Shortage{Road::Asynchronous, true, HttpMethod::GET}),
                         [](const auto& shortage) {
                             return ::testing::PrintToString(shortage.param.road) +
                                    (shortage.param.method == HttpMethod::PUT ? "Put" : "") +
                                    (shortage.param.forEver ? "ForEver" : "Once");
                         });

}  // namespace
}  // namespace foundation::httpclient_curl::testing
