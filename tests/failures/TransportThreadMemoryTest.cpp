#include "tests/failures/ServerProcess.h"
#include "transports/curl/tests/support/TestClient.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <utility>

// Memory that runs out on the threads of the transport, while the caller's has plenty: at each allocation of a
// request in turn, for one of them or for a while. Nothing ends the program; the handler is called once, with the
// body or an error, and the client works afterwards.

namespace {

std::atomic<long> allowed{-1};  // Allocations until the first that fails; negative: none fails.
std::atomic<bool> lasts{false};
std::atomic<long> failures{0};
thread_local bool isCaller = false;

bool isShort() noexcept {
    if (isCaller || allowed < 0) {
        return false;
    }
    const long left = allowed--;
    if (left > 0) {
        return false;
    }
    if (lasts) {
        allowed = 0;
    }
    ++failures;
    return true;
}

void* allocate(std::size_t size) {
    void* const block = isShort() ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}

void* operator new[](std::size_t size) {
    return allocate(size);
}

// A sanitizer's forms of these would not call those above.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return isShort() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return isShort() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void operator delete(void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}

void operator delete[](void* block, const std::nothrow_t& /*tag*/) noexcept {
    std::free(block);
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete[](void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

namespace foundation::httpclient_curl::testing {
namespace {

using httpclient_core::testing::ServerProcess;

// What the handler was told. Notes without allocating.
struct Ends {
    std::atomic<int> calls{0};
    std::optional<HttpResponse> response;
    std::exception_ptr error;
    Counter counter;
};

class TransportThreadMemoryTest : public ::testing::TestWithParam<bool> {
protected:
    TransportThreadMemoryTest() { isCaller = true; }

    // With this many allocations before the shortage. False where there was none any more.
    bool handlerIsCalledOnce(long successes) {
        TestClient client;
        HttpRequest request(HttpMethod::GET, server_.url(), {});
        request.setClientConfiguration(plainConfiguration());
        const auto ends = std::make_shared<Ends>();
        lasts = GetParam();
        failures = 0;
        allowed = successes;
        client->makeAsyncRequest(
            std::move(request),
            [ends](const HttpRequest&, HttpResponse response, std::exception_ptr error) {
                ends->response.emplace(std::move(response));
                ends->error = std::move(error);
                ++ends->calls;
                ends->counter.add();
            });
        if (GetParam()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            allowed = -1;
        }
        const bool ended = ends->counter.waitFor(1);
        allowed = -1;
        EXPECT_TRUE(ended) << "nobody was told";
        if (ended && ends->error == nullptr) {
            EXPECT_TRUE(ends->response->getResponseBodyString() == body_) << "another body";
        }
        EXPECT_EQ(client.get(server_.url(), Road::Asynchronous).body(), body_);
        EXPECT_EQ(ends->calls, 1);
        return failures > 0;
    }

private:
    const ServerProcess server_;  // Before the client has threads.
    const std::string body_ = ServerProcess::content();
};

TEST_P(TransportThreadMemoryTest, CallsTheHandlerOnce) {
    long shortages = 0;
    while (!HasFailure() && handlerIsCalledOnce(shortages)) {
        SCOPED_TRACE(++shortages);
    }
    EXPECT_GT(shortages, 10);
    std::cout << shortages << " shortages\n";
}

INSTANTIATE_TEST_SUITE_P(Shortages,
                         TransportThreadMemoryTest,
                         ::testing::Bool(),
                         [](const auto& row) { return row.param ? "Lasting" : "Once"; });

}  // namespace
}  // namespace foundation::httpclient_curl::testing
