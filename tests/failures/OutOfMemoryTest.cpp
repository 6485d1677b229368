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

}  // namespace
}  // namespace foundation::httpclient_core
