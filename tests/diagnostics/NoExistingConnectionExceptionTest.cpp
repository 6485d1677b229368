#include "tests/diagnostics/ExceptionChecks.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/BadWebSocketException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/NoExistingConnectionException.h>

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>

namespace foundation::httpclient_core {
namespace {

using testing::expectCopiesKeepTheText;
using testing::expectTravelsInAnExceptionPointer;
using testing::isCaughtAs;
using testing::throwsExactly;

TEST(NoExistingConnectionExceptionTest, HasItsFixedText) {
    EXPECT_TRUE(throwsExactly<NoExistingConnectionException>(
        [] { throw NoExistingConnectionException(); },
        "No working WebSocket connection. Open was not completed or network error "
        "occurred and has not been recovered from."));
}

TEST(NoExistingConnectionExceptionTest, IsCaughtByItsBasesOnly) {
    EXPECT_TRUE(isCaughtAs<std::runtime_error>(NoExistingConnectionException()));
    EXPECT_TRUE(isCaughtAs<std::exception>(NoExistingConnectionException()));
    EXPECT_FALSE(isCaughtAs<HttpRequestFailedException>(NoExistingConnectionException()));
    EXPECT_FALSE(isCaughtAs<BadWebSocketException>(NoExistingConnectionException()));
    EXPECT_FALSE(isCaughtAs<std::logic_error>(NoExistingConnectionException()));
}

TEST(NoExistingConnectionExceptionTest, CopiesKeepTheText) {
    expectCopiesKeepTheText(NoExistingConnectionException(), NoExistingConnectionException());
    expectTravelsInAnExceptionPointer(NoExistingConnectionException());
}

}  // namespace
}  // namespace foundation::httpclient_core
