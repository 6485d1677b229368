#include "tests/diagnostics/ExceptionChecks.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/BadWebSocketException.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>

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

TEST(BadWebSocketExceptionTest, CarriesTheTextOfItsThrower) {
    EXPECT_TRUE(throwsExactly<BadWebSocketException>(
        [] { throw BadWebSocketException("Handshake refused"); }, "Handshake refused"));
}

TEST(BadWebSocketExceptionTest, IsCaughtByItsBasesOnly) {
    EXPECT_TRUE(isCaughtAs<std::runtime_error>(BadWebSocketException("Handshake refused")));
    EXPECT_TRUE(isCaughtAs<std::exception>(BadWebSocketException("Handshake refused")));
    EXPECT_FALSE(
        isCaughtAs<HttpRequestFailedException>(BadWebSocketException("Handshake refused")));
    EXPECT_FALSE(isCaughtAs<std::logic_error>(BadWebSocketException("Handshake refused")));
}

TEST(BadWebSocketExceptionTest, ReportsAnyTextUnchanged) {
    static_assert(!std::is_default_constructible_v<BadWebSocketException>);
    static_assert(!std::is_convertible_v<std::string, BadWebSocketException>);
    for (const char* text : {"", " text.\n<quoted>", "\xC3\xA9"}) {
        EXPECT_STREQ(BadWebSocketException(text).what(), text);
    }
}

TEST(BadWebSocketExceptionTest, CopiesKeepTheText) {
    expectCopiesKeepTheText(BadWebSocketException("Handshake refused"),
                            BadWebSocketException("other"));
    expectTravelsInAnExceptionPointer(BadWebSocketException("Handshake refused"));
}

}  // namespace
}  // namespace foundation::httpclient_core
