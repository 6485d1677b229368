#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/ProxyAuthenticationStrategy.h>

#include <gtest/gtest.h>

#include <exception>
#include <limits>
#include <ostream>
#include <stdexcept>

namespace foundation::httpclient_core {
namespace {

using testing::LogCapture;
using testing::throwsExactly;

HttpResponse responseOf(int code) {
    HttpResponse response;
    response.setResponseCode(static_cast<HttpResponseCode>(code));
    return response;
}

const char* const limitText =
    "Maximum number of failed proxy authentication attempts reached but authentication still "
    "failed";
const char* const refusalText =
    "Proxy authentication required but the proxy authentication strategy is set to no "
    "authentication";

TEST(ProxyAuthenticationStrategyTest, AuthenticatesUpToItsLimit) {
    const ProxyAuthenticationStrategy strategy = defaultProxyAuthenticationStrategy(2);
    const HttpResponse refused = responseOf(407);
    EXPECT_TRUE(strategy(refused, nullptr, 1));
    EXPECT_TRUE(strategy(refused, nullptr, 2));
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>([&] { strategy(refused, nullptr, 3); },
                                                          limitText));
    EXPECT_FALSE(strategy(responseOf(401), nullptr, 1));
}

enum class Outcome : std::uint8_t { Yes, No, Throws };

struct Row {
    const char* label;
    int limit;
    int code;
    bool error;
    int attempt;
    Outcome expected;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class ProxyAuthenticationStrategyTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(ProxyAuthenticationStrategyTableTest, DecidesWithoutRecord) {
    const Row& row = GetParam();
    const ProxyAuthenticationStrategy strategy = defaultProxyAuthenticationStrategy(row.limit);
    const HttpResponse response = responseOf(row.code);
    const std::exception_ptr error =
        row.error ? std::make_exception_ptr(std::runtime_error("x")) : nullptr;
    LogCapture log;
    if (row.expected == Outcome::Throws) {
        EXPECT_TRUE(throwsExactly<HttpRequestFailedException>(
            [&] { strategy(response, error, row.attempt); }, limitText));
    } else {
        EXPECT_EQ(strategy(response, error, row.attempt), row.expected == Outcome::Yes);
    }
    EXPECT_TRUE(log.records().empty());
}

constexpr int intMax = std::numeric_limits<int>::max();
constexpr int intMin = std::numeric_limits<int>::min();

INSTANTIATE_TEST_SUITE_P(
    Table,
    ProxyAuthenticationStrategyTableTest,
    ::testing::Values(Row{"First", 1, 407, false, 1, Outcome::Yes},
                      Row{"AtTheLimit", 5, 407, false, 5, Outcome::Yes},
                      Row{"AboveTheLimit", 5, 407, false, 6, Outcome::Throws},
                      Row{"LaterAttemptOfTheFirstRefusal", 1, 407, false, 2, Outcome::Throws},
                      Row{"ErrorComesFirst", 1, 407, true, 2, Outcome::No},
                      Row{"Unauthorized", 1, 401, false, 1, Outcome::No},
                      Row{"OtherCodeAboveTheLimit", 1, 200, false, 2, Outcome::No},
                      Row{"NotMade", 1, -1, false, 1, Outcome::No},
                      Row{"AttemptZero", 1, 407, false, 0, Outcome::No},
                      Row{"NegativeAttemptWithNegativeLimit", -5, 407, false, -1, Outcome::No},
                      Row{"SmallestAttempt", 1, 407, false, intMin, Outcome::No},
                      Row{"LimitZero", 0, 407, false, 1, Outcome::Throws},
                      Row{"NegativeLimit", -1, 407, false, 1, Outcome::Throws},
                      Row{"LargestLimit", intMax, 407, false, intMax, Outcome::Yes}),
    [](const auto& row) { return row.param.label; });

TEST(ProxyAuthenticationStrategyTest, DefaultAllowsOneAttempt) {
    const ProxyAuthenticationStrategy strategy = defaultProxyAuthenticationStrategy();
    EXPECT_TRUE(strategy(responseOf(407), nullptr, 1));
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>(
        [&] { strategy(responseOf(407), nullptr, 2); }, limitText));
}

TEST(ProxyAuthenticationStrategyTest, KeepsNoCountOfItsOwn) {
    const ProxyAuthenticationStrategy strategy = defaultProxyAuthenticationStrategy(1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(strategy(responseOf(407), nullptr, 1));
    }
}

TEST(ProxyAuthenticationStrategyTest, NoAuthenticationThrowsWhateverTheResponseIs) {
    const ProxyAuthenticationStrategy strategy = noProxyAuthenticationStrategy();
    LogCapture log;
    for (const int code : {407, 200, -1}) {
        EXPECT_TRUE(throwsExactly<HttpRequestFailedException>(
            [&] { strategy(responseOf(code), nullptr, 1); }, refusalText));
    }
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>(
        [&] { strategy(responseOf(407), std::make_exception_ptr(std::runtime_error("x")), 0); },
        refusalText));
    EXPECT_TRUE(log.records().empty());
}

}  // namespace
}  // namespace foundation::httpclient_core
