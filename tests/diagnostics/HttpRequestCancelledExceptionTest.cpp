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

TEST(HttpRequestCancelledExceptionTest, HasItsFixedText) {
    EXPECT_TRUE(throwsExactly<HttpRequestCancelledException>(
        [] { throw HttpRequestCancelledException(); }, "Request cancelled"));
}

TEST(HttpRequestCancelledExceptionTest, IsCaughtByItsBasesOnly) {
    EXPECT_TRUE(isCaughtAs<std::runtime_error>(HttpRequestCancelledException()));
    EXPECT_TRUE(isCaughtAs<std::exception>(HttpRequestCancelledException()));
    EXPECT_TRUE(isCaughtAs<HttpRequestFailedException>(HttpRequestCancelledException()));
    EXPECT_FALSE(isCaughtAs<HttpRequestTimeoutException>(HttpRequestCancelledException()));
    EXPECT_FALSE(isCaughtAs<std::logic_error>(HttpRequestCancelledException()));
}

TEST(HttpRequestCancelledExceptionTest, CopiesKeepTheText) {
    expectCopiesKeepTheText(HttpRequestCancelledException(), HttpRequestCancelledException());
    expectTravelsInAnExceptionPointer(HttpRequestCancelledException());
}

}  // namespace
}  // namespace foundation::httpclient_core
