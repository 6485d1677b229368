#include "tests/client/ScriptedTransport.h"
#include "tests/support/AllocationCounter.h"

#include <foundation/httpclient_core/HttpMessage.h>
#include <foundation/httpclient_core/HttpResponse.h>

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <new>
#include <string>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using testing::failAllocationAfter;
using testing::failAllocationsFrom;
using testing::failEachAllocation;
using testing::failNoAllocation;

const std::string longText = "a text that is longer than a short string holds";

TEST(OutOfMemoryTest, IsNoContentLengthThatCannotBeRead) {
    const HttpMessage message(HttpHeaders{{"Content-Length", longText}});
    const auto failures = failEachAllocation(
        [&message] {
            try {
                message.getContentLength();
                FAIL() << "read it";
            } catch (const std::runtime_error& error) {
                failNoAllocation();
                EXPECT_EQ(error.what(), "Failed to convert Content-Length " + longText +
                                            " to long. invalid stol argument");
            }
        },
        [] {});
    EXPECT_GT(failures, 1U);
}

TEST(OutOfMemoryTest, DoesNotCutABodyOffWithoutAnError) {
    HttpResponse response;
    response.setResponseBody("short");
    const std::string text(100'000, 'x');
    std::string data = text;
    failAllocationAfter(0);
    EXPECT_THROW(response.setResponseBody(std::move(data)), std::bad_alloc);
    failNoAllocation();
    EXPECT_EQ(response.getHeaderValue("Content-Length"), "5");
    EXPECT_TRUE(response.getResponseBody().bad());
    response.resetResponseBody();
    response.setResponseBody(text);
    EXPECT_EQ(response.getResponseBodyString(), text);
}

TEST(OutOfMemoryTest, BreaksAFutureWithoutEndingTheProgram) {
    testing::ScriptedTransport transport;
    HttpRequest request(HttpMethod::GET, "http://host/", {});
    request.setClientConfiguration(ClientConfiguration().withRetryStrategy(
        [](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int, int) -> bool {
            failAllocationsFrom(0);
            throw std::bad_alloc();
        }));
    std::future<HttpResponse> response = transport.makeAsyncRequest(std::move(request)).first;
    transport.pump();
    failNoAllocation();
    ASSERT_EQ(response.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    try {
        response.get();
        FAIL() << "there was a response";
    } catch (const std::future_error& error) {
        EXPECT_EQ(error.code(), std::future_errc::broken_promise);
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
