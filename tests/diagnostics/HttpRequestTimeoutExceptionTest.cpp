#include "tests/diagnostics/ExceptionChecks.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>

namespace foundation::httpclient_core {
namespace {

using testing::expectCopiesKeepTheText;
using testing::expectTravelsInAnExceptionPointer;
using testing::isCaughtAs;
using testing::throwsExactly;

TEST(HttpRequestTimeoutExceptionTest, HasItsFixedText) {
    EXPECT_TRUE(throwsExactly<HttpRequestTimeoutException>(
        [] { throw HttpRequestTimeoutException(); }, "Request timed out."));
}

TEST(HttpRequestTimeoutExceptionTest, IsCaughtByItsBasesOnly) {
    EXPECT_TRUE(isCaughtAs<std::runtime_error>(HttpRequestTimeoutException()));
    EXPECT_TRUE(isCaughtAs<std::exception>(HttpRequestTimeoutException()));
    EXPECT_TRUE(isCaughtAs<HttpRequestFailedException>(HttpRequestTimeoutException()));
    EXPECT_FALSE(isCaughtAs<HttpRequestCancelledException>(HttpRequestTimeoutException()));
    EXPECT_FALSE(isCaughtAs<std::logic_error>(HttpRequestTimeoutException()));
}

TEST(HttpRequestTimeoutExceptionTest, CopiesKeepTheText) {
    expectCopiesKeepTheText(HttpRequestTimeoutException(), HttpRequestTimeoutException());
    expectTravelsInAnExceptionPointer(HttpRequestTimeoutException());
}

}  // namespace
}  // namespace foundation::httpclient_core
