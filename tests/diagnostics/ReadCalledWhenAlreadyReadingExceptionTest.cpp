#include "tests/diagnostics/ExceptionChecks.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/BadWebSocketException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/ReadCalledWhenAlreadyReadingException.h>

#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>

namespace foundation::httpclient_core {
namespace {

using testing::expectCopiesKeepTheText;
using testing::expectTravelsInAnExceptionPointer;
using testing::isCaughtAs;
using testing::throwsExactly;

TEST(ReadCalledWhenAlreadyReadingExceptionTest, HasItsFixedText) {
    EXPECT_TRUE(throwsExactly<ReadCalledWhenAlreadyReadingException>(
        [] { throw ReadCalledWhenAlreadyReadingException(); },
        "Calling read before the previous read completes is illegal."));
}

TEST(ReadCalledWhenAlreadyReadingExceptionTest, IsCaughtByItsBasesOnly) {
    EXPECT_TRUE(isCaughtAs<std::runtime_error>(ReadCalledWhenAlreadyReadingException()));
    EXPECT_TRUE(isCaughtAs<std::exception>(ReadCalledWhenAlreadyReadingException()));
    EXPECT_FALSE(isCaughtAs<HttpRequestFailedException>(ReadCalledWhenAlreadyReadingException()));
    EXPECT_FALSE(isCaughtAs<BadWebSocketException>(ReadCalledWhenAlreadyReadingException()));
    EXPECT_FALSE(isCaughtAs<std::logic_error>(ReadCalledWhenAlreadyReadingException()));
}

TEST(ReadCalledWhenAlreadyReadingExceptionTest, CopiesKeepTheText) {
    expectCopiesKeepTheText(ReadCalledWhenAlreadyReadingException(),
                            ReadCalledWhenAlreadyReadingException());
    expectTravelsInAnExceptionPointer(ReadCalledWhenAlreadyReadingException());
}

}  // namespace
}  // namespace foundation::httpclient_core
