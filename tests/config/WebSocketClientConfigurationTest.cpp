#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/WebSocketClientConfiguration.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using std::chrono::milliseconds;
using testing::LogCapture;
using testing::throwsExactly;

using C = WebSocketClientConfiguration;
using Codes = std::set<HttpResponseCode>;

TEST(WebSocketClientConfigurationTest, IsBuiltByChaining) {
    int reconnected = 0;
    WebSocketClientConfiguration configuration;
    configuration.withMaxReadFrameSize(65536)
        .withCustomHandshakeHeaders({{"Authorization", "Bearer x"}})
        .withReconnectEnabled([&](HttpResponse) { ++reconnected; });
    EXPECT_EQ(configuration.maxReadFrameSize(), 65536U);
    EXPECT_EQ(configuration.customHandshakeHeaders().get("authorization"), "Bearer x");
    configuration.onReconnected()(HttpResponse());
    EXPECT_EQ(reconnected, 1);
}

TEST(WebSocketClientConfigurationTest, HasItsDefaults) {
    const WebSocketClientConfiguration configuration;
    EXPECT_TRUE(configuration.certificateFile().empty());
    EXPECT_TRUE(configuration.customHandshakeHeaders().empty());
    EXPECT_FALSE(configuration.connectErrorRecoveryEnabled());
    EXPECT_FALSE(configuration.reconnectEnabled());
    EXPECT_FALSE(configuration.hasOnReconnectAborted());
    EXPECT_EQ(configuration.recoverableConnectErrorCodes(), (Codes{HttpResponseCode{407}}));
    EXPECT_EQ(configuration.maxReadFrameSize(), 16384U);
    EXPECT_EQ(configuration.maxWriteFrameSize(), 4096U);
    EXPECT_TRUE(configuration.reconnectBackoffFcn());
}

TEST(WebSocketClientConfigurationTest, HasNoVirtualOperations) {
    static_assert(!std::is_polymorphic_v<C>);
    static_assert(std::is_copy_constructible_v<C> && std::is_copy_assignable_v<C>);
    static_assert(std::is_move_constructible_v<C> && std::is_move_assignable_v<C>);
}

struct MissingRow {
    const char* label;
    std::function<void(const C&)> get;
    const char* message;
    friend std::ostream& operator<<(std::ostream& os, const MissingRow& row) {
        return os << row.label;
    }
};

class WebSocketClientConfigurationMissingTest : public ::testing::TestWithParam<MissingRow> {};

TEST_P(WebSocketClientConfigurationMissingTest, ThrowsLogicErrorWithoutRecord) {
    const WebSocketClientConfiguration configuration;
    LogCapture log;
    EXPECT_TRUE(throwsExactly<std::logic_error>([&] { GetParam().get(configuration); },
                                                GetParam().message));
    EXPECT_TRUE(log.records().empty());
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    WebSocketClientConfigurationMissingTest,
    ::testing::Values(MissingRow{"OnRecoverableConnectError",
                                 [](const C& c) { c.onRecoverableConnectError(); },
                                 "OnRecoverableConnectError not set."},
                      MissingRow{"OnReconnected", [](const C& c) { c.onReconnected(); },
                                 "OnReconnected not set."},
                      MissingRow{"OnReconnectAborted", [](const C& c) { c.onReconnectAborted(); },
                                 "OnReconnectAborted not set."}),
    [](const auto& row) { return row.param.label; });

// Every property as text; functions by whether they are installed.
std::string describe(const C& c) {
    std::string codes;
    for (const HttpResponseCode code : c.recoverableConnectErrorCodes()) {
        codes += to_string(code) + ",";
    }
    return c.certificateFile().string() + "|" +
           c.customHandshakeHeaders().toString(";", "=", [](std::string text) { return text; }) +
           "|" + std::to_string(c.connectErrorRecoveryEnabled()) + "|" + codes + "|" +
           std::to_string(c.reconnectEnabled()) + "|" +
           (c.reconnectBackoffFcn()
                ? std::to_string(c.reconnectBackoffFcn()(milliseconds(100), 2).first.count())
                : "empty") +
           "|" + std::to_string(c.hasOnReconnectAborted()) + "|" +
           std::to_string(c.maxReadFrameSize()) + "|" + std::to_string(c.maxWriteFrameSize());
}

const char* const defaults = "||0|407,|0|200|0|16384|4096";

struct PropertyRow {
    const char* label;
    std::function<void(C&)> set;
    std::function<C&(C&)> with;
    const char* expected;
    friend std::ostream& operator<<(std::ostream& os, const PropertyRow& row) {
        return os << row.label;
    }
};

class WebSocketClientConfigurationPropertyTest : public ::testing::TestWithParam<PropertyRow> {};

TEST_P(WebSocketClientConfigurationPropertyTest, IsSetAloneAndUnchecked) {
    LogCapture log;
    WebSocketClientConfiguration configuration;
    ASSERT_EQ(describe(configuration), defaults);
    GetParam().set(configuration);
    EXPECT_EQ(describe(configuration), GetParam().expected);
    EXPECT_TRUE(log.records().empty());
}

TEST_P(WebSocketClientConfigurationPropertyTest, IsSetByChaining) {
    WebSocketClientConfiguration configuration;
    EXPECT_EQ(&GetParam().with(configuration), &configuration);
    EXPECT_EQ(describe(configuration), GetParam().expected);
}

TEST_P(WebSocketClientConfigurationPropertyTest, IsCopiedAndMoved) {
    WebSocketClientConfiguration configuration;
    GetParam().set(configuration);
    WebSocketClientConfiguration copy(configuration);
    WebSocketClientConfiguration target;
    target = copy;
    EXPECT_EQ(describe(copy), GetParam().expected);
    EXPECT_EQ(describe(target), GetParam().expected);
    const WebSocketClientConfiguration moved(std::move(copy));
    target = WebSocketClientConfiguration();
    target = std::move(configuration);
    EXPECT_EQ(describe(moved), GetParam().expected);
    EXPECT_EQ(describe(target), GetParam().expected);
}

const C::OnRecoverableConnectError recover = [](HttpResponse, std::uint64_t) { return true; };
const C::ReconnectBackoffFcn fixedBackoff = [](milliseconds, std::uint32_t) {
    return std::pair(milliseconds(7), false);
};

INSTANTIATE_TEST_SUITE_P(
    Table,
    WebSocketClientConfigurationPropertyTest,
    ::testing::Values(
        PropertyRow{"CertificateFile", [](C& c) { c.setCertificateFile("/a b"); },
                    [](C& c) -> C& { return c.withCertificateFile("/a b"); },
                    "/a b||0|407,|0|200|0|16384|4096"},
        PropertyRow{
            "CustomHandshakeHeaders",
            [](C& c) { c.setCustomHandshakeHeaders({{"a", "1"}, {"A", "2"}}); },
            [](C& c) -> C& { return c.withCustomHandshakeHeaders({{"a", "1"}, {"A", "2"}}); },
            "|a=1;A=2|0|407,|0|200|0|16384|4096"},
        PropertyRow{"ConnectErrorRecovery", [](C& c) { c.setConnectErrorRecovery(recover); },
                    [](C& c) -> C& { return c.withConnectErrorRecovery(recover); },
                    "||1|407,|0|200|0|16384|4096"},
        PropertyRow{"EmptyConnectErrorRecovery", [](C& c) { c.setConnectErrorRecovery({}); },
                    [](C& c) -> C& { return c.withConnectErrorRecovery({}); },
                    "||1|407,|0|200|0|16384|4096"},
        PropertyRow{"RecoverableCodes",
                    [](C& c) {
                        c.setRecoverableConnectErrorRespCodes(
                            {HttpResponseCode{503}, HttpResponseCode{-1}, HttpResponseCode{503}});
                    },
                    [](C& c) -> C& {
                        return c.withRecoverableConnectErrorCodes(
                            {HttpResponseCode{503}, HttpResponseCode{-1}, HttpResponseCode{503}});
                    },
                    "||0|-1,503,|0|200|0|16384|4096"},
        PropertyRow{"NoRecoverableCodes", [](C& c) { c.setRecoverableConnectErrorRespCodes({}); },
                    [](C& c) -> C& { return c.withRecoverableConnectErrorCodes({}); },
                    "||0||0|200|0|16384|4096"},
        PropertyRow{"ReconnectEnabled", [](C& c) { c.setReconnectEnabled([](HttpResponse) {}); },
                    [](C& c) -> C& { return c.withReconnectEnabled([](HttpResponse) {}); },
                    "||0|407,|1|200|0|16384|4096"},
        PropertyRow{"EmptyReconnectEnabled", [](C& c) { c.setReconnectEnabled({}); },
                    [](C& c) -> C& { return c.withReconnectEnabled({}); },
                    "||0|407,|1|200|0|16384|4096"},
        PropertyRow{"CustomBackoff", [](C& c) { c.setCustomReconnectBackoffFcn(fixedBackoff); },
                    [](C& c) -> C& { return c.withCustomReconnectBackoffFcn(fixedBackoff); },
                    "||0|407,|0|7|0|16384|4096"},
        PropertyRow{"EmptyCustomBackoff", [](C& c) { c.setCustomReconnectBackoffFcn({}); },
                    [](C& c) -> C& { return c.withCustomReconnectBackoffFcn({}); },
                    "||0|407,|0|empty|0|16384|4096"},
        PropertyRow{"OnReconnectAborted", [](C& c) { c.setOnReconnectAborted([] {}); },
                    [](C& c) -> C& { return c.withOnReconnectAborted([] {}); },
                    "||0|407,|0|200|1|16384|4096"},
        PropertyRow{"EmptyOnReconnectAborted", [](C& c) { c.setOnReconnectAborted({}); },
                    [](C& c) -> C& { return c.withOnReconnectAborted({}); },
                    "||0|407,|0|200|1|16384|4096"},
        PropertyRow{"MaxReadFrameSize",
                    [](C& c) { c.setMaxReadFrameSize(std::numeric_limits<std::uint64_t>::max()); },
                    [](C& c) -> C& {
                        return c.withMaxReadFrameSize(std::numeric_limits<std::uint64_t>::max());
                    },
                    "||0|407,|0|200|0|18446744073709551615|4096"},
        PropertyRow{"MaxWriteFrameSize", [](C& c) { c.setMaxWriteFrameSize(0); },
                    [](C& c) -> C& { return c.withMaxWriteFrameSize(0); },
                    "||0|407,|0|200|0|16384|0"}),
    [](const auto& row) { return row.param.label; });

TEST(WebSocketClientConfigurationTest, InstalledFunctionsAreReturned) {
    std::string calls;
    WebSocketClientConfiguration configuration;
    configuration.setConnectErrorRecovery([&](HttpResponse response, std::uint64_t number) {
        calls += to_string(response.getResponseCode()) + " " + std::to_string(number) + ";";
        return true;
    });
    configuration.setReconnectEnabled(
        [&](HttpResponse response) { calls += response.getResponseBodyString() + ";"; });
    configuration.setOnReconnectAborted([&] { calls += "aborted;"; });

    EXPECT_TRUE(configuration.onRecoverableConnectError()(
        HttpResponse(), std::numeric_limits<std::uint64_t>::max()));
    HttpResponse response;
    response.setResponseBody("hello");
    configuration.onReconnected()(std::move(response));
    configuration.onReconnectAborted()();
    EXPECT_EQ(calls, "-1 18446744073709551615;hello;aborted;");
}

TEST(WebSocketClientConfigurationTest, EmptyFunctionsCountAsInstalled) {
    WebSocketClientConfiguration configuration;
    configuration.withConnectErrorRecovery({}).withReconnectEnabled({}).withOnReconnectAborted({});
    EXPECT_FALSE(configuration.onRecoverableConnectError());
    EXPECT_FALSE(configuration.onReconnected());
    EXPECT_FALSE(configuration.onReconnectAborted());
}

TEST(WebSocketClientConfigurationTest, GettersReturnCopies) {
    WebSocketClientConfiguration configuration;
    configuration.setCustomReconnectBackoffFcn([calls = 0](milliseconds, std::uint32_t) mutable {
        return std::pair(milliseconds(++calls), true);
    });
    const C::ReconnectBackoffFcn first = configuration.reconnectBackoffFcn();
    first(milliseconds(0), 1);
    EXPECT_EQ(first(milliseconds(0), 1).first, milliseconds(2));
    EXPECT_EQ(configuration.reconnectBackoffFcn()(milliseconds(0), 1).first, milliseconds(1));
    configuration.customHandshakeHeaders().add("a", "1");
    EXPECT_TRUE(configuration.customHandshakeHeaders().empty());
}

struct BackoffRow {
    const char* label;
    std::int64_t previous;
    std::uint32_t attempt;
    std::int64_t expected;
    friend std::ostream& operator<<(std::ostream& os, const BackoffRow& row) {
        return os << row.label;
    }
};

class WebSocketClientConfigurationBackoffTest : public ::testing::TestWithParam<BackoffRow> {};

TEST_P(WebSocketClientConfigurationBackoffTest, GivesDelayAndGoesOn) {
    const BackoffRow& row = GetParam();
    const auto [delay, goOn] = WebSocketClientConfiguration().reconnectBackoffFcn()(
        milliseconds(row.previous), row.attempt);
    EXPECT_EQ(delay.count(), row.expected);
    EXPECT_TRUE(goOn);
}

constexpr std::int64_t int64Max = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t int64Min = std::numeric_limits<std::int64_t>::min();
constexpr std::uint32_t uint32Max = std::numeric_limits<std::uint32_t>::max();

INSTANTIATE_TEST_SUITE_P(Table,
                         WebSocketClientConfigurationBackoffTest,
                         ::testing::Values(BackoffRow{"AttemptZero", 500, 0, 30},
                                           BackoffRow{"First", 0, 1, 30},
                                           BackoffRow{"FirstAfterALongDelay", int64Max, 1, 30},
                                           BackoffRow{"Second", 30, 2, 60},
                                           BackoffRow{"Third", 60, 3, 120},
                                           BackoffRow{"NoPreviousDelay", 0, 2, 0},
                                           BackoffRow{"JustBelowTheLimit", 9999, 5, 19998},
                                           BackoffRow{"AtTheLimit", 10000, 5, 20000},
                                           BackoffRow{"AboveTheLimit", 10001, 5, 20000},
                                           BackoffRow{"StaysAtTheLimit", 20000, 6, 20000},
                                           BackoffRow{"HalfOfTheLargest", int64Max / 2 + 1, 2,
                                                      20000},
                                           BackoffRow{"Largest", int64Max, uint32Max, 20000},
                                           BackoffRow{"Negative", -5, 2, -10},
                                           BackoffRow{"Smallest", int64Min, 2, int64Min}),
                         [](const auto& row) { return row.param.label; });

TEST(WebSocketClientConfigurationTest, DefaultBackoffGrowsToTwentySeconds) {
    const C::ReconnectBackoffFcn backoff = WebSocketClientConfiguration().reconnectBackoffFcn();
    milliseconds delay(0);
    std::string delays;
    for (std::uint32_t attempt = 1; attempt <= 13; ++attempt) {
        delay = backoff(delay, attempt).first;
        delays += std::to_string(delay.count()) + " ";
    }
    EXPECT_EQ(delays, "30 60 120 240 480 960 1920 3840 7680 15360 20000 20000 20000 ");
}

}  // namespace
}  // namespace foundation::httpclient_core
