#include "tests/diagnostics/ExceptionChecks.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/BadWebSocketException.h>
#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/MaxWriteFrameSizeExceededException.h>
#include <foundation/httpclient_core/NoExistingConnectionException.h>
#include <foundation/httpclient_core/ReadCalledWhenAlreadyReadingException.h>

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace foundation::httpclient_core {
namespace {

using testing::expectCopiesKeepTheText;
using testing::expectTravelsInAnExceptionPointer;
using testing::isCaughtAs;
using testing::throwsExactly;

TEST(HttpRequestFailedExceptionTest, CarriesTheTextOfItsThrower) {
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>(
        [] { throw HttpRequestFailedException("Connection refused"); }, "Connection refused"));
}

TEST(HttpRequestFailedExceptionTest, IsCaughtByItsBasesOnly) {
    EXPECT_TRUE(isCaughtAs<std::runtime_error>(HttpRequestFailedException("Connection refused")));
    EXPECT_TRUE(isCaughtAs<std::exception>(HttpRequestFailedException("Connection refused")));
    EXPECT_FALSE(isCaughtAs<std::logic_error>(HttpRequestFailedException("Connection refused")));
}

TEST(HttpRequestFailedExceptionTest,
     CatchesTheTimedOutAndTheCancelledRequestAndNoWebSocketException) {
    EXPECT_TRUE(isCaughtAs<HttpRequestFailedException>(HttpRequestTimeoutException()));
    EXPECT_TRUE(isCaughtAs<HttpRequestFailedException>(HttpRequestCancelledException()));
    EXPECT_FALSE(isCaughtAs<HttpRequestFailedException>(BadWebSocketException("text")));
    EXPECT_FALSE(isCaughtAs<HttpRequestFailedException>(MaxWriteFrameSizeExceededException(1, 2)));
    EXPECT_FALSE(isCaughtAs<HttpRequestFailedException>(NoExistingConnectionException()));
    EXPECT_FALSE(isCaughtAs<HttpRequestFailedException>(ReadCalledWhenAlreadyReadingException()));
}

TEST(HttpRequestFailedExceptionTest, ReportsAnyTextUnchanged) {
    static_assert(!std::is_default_constructible_v<HttpRequestFailedException>);
    static_assert(!std::is_convertible_v<std::string, HttpRequestFailedException>);
    for (const char* text : {"", " text.\n<quoted>", "\xC3\xA9"}) {
        EXPECT_STREQ(HttpRequestFailedException(text).what(), text);
    }
}

TEST(HttpRequestFailedExceptionTest, CopiesKeepTheText) {
    expectCopiesKeepTheText(HttpRequestFailedException("Connection refused"),
                            HttpRequestFailedException("other"));
    expectTravelsInAnExceptionPointer(HttpRequestFailedException("Connection refused"));
}

}  // namespace
}  // namespace foundation::httpclient_core
