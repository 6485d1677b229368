#include "tests/config/WaitRecorder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/ClientConfiguration.h>
#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using Access = detail::ClientConfigurationAccess;
using testing::coreRecord;
using testing::LogCapture;
using testing::LogRecord;
using testing::throwsExactly;

HttpRequest getRequest() {
    return {HttpMethod::GET, "http://example.com/", {}};
}

HttpResponse responseOf(int code, HttpHeaders headers = {}) {
    HttpResponse response;
    response.setResponseCode(static_cast<HttpResponseCode>(code));
    response.setHeaders(std::move(headers));
    return response;
}

// A retry strategy that says how often it was called, by saying yes as long as that is not above 2.
RetryStrategy countingStrategy() {
    return [calls = 0](const HttpRequest&, const HttpResponse&, const std::exception_ptr&, int,
                       int) mutable { return ++calls <= 2; };
}

std::string answers(const RetryStrategy& strategy, int calls) {
    std::string answers;
    for (int i = 0; i < calls; ++i) {
        answers += strategy(getRequest(), HttpResponse(), nullptr, 1, 1) ? "y" : "n";
    }
    return answers;
}

TEST(ClientConfigurationTest, IsBuiltByChaining) {
    ClientConfiguration configuration;
    EXPECT_EQ(&configuration.withMaxThreads(8).withMaxRedirects(0), &configuration);
    EXPECT_EQ(configuration.maxThreads(), 8);
    EXPECT_EQ(configuration.maxRedirects(), 0);
}

TEST(ClientConfigurationTest, HasItsDefaults) {
    LogCapture log;
    const ClientConfiguration configuration;
    EXPECT_TRUE(configuration.certificateFile().empty());
    EXPECT_TRUE(configuration.followRedirects());
    EXPECT_EQ(configuration.maxRedirects(), 5);
    EXPECT_TRUE(configuration.retryStrategy());
    EXPECT_TRUE(configuration.proxyAuthenticationStrategy());
    EXPECT_FALSE(configuration.resumeOnRetry());
    EXPECT_EQ(Access::connectTimeoutMs(configuration), 5000);
    EXPECT_EQ(Access::responseTimeoutMs(configuration), 30000);
    EXPECT_EQ(Access::idleTimeoutMs(configuration), 30000);
    EXPECT_EQ(configuration.idleSpeed(), 1);
    EXPECT_EQ(configuration.maxThreads(), 4);
    EXPECT_EQ(configuration.maxRequestsPerThread(), 2);
    EXPECT_EQ(Access::proxyUrl(configuration), "");
    EXPECT_TRUE(configuration.domainSocketPath().empty());
    EXPECT_TRUE(configuration.hstsEnabled());
    EXPECT_EQ(configuration.proxyCredentialPromptNumRetries(), 3);
    EXPECT_EQ(Access::credentialPromptTimeoutMs(configuration), 120000);
    EXPECT_TRUE(log.records().empty());
}

TEST(ClientConfigurationTest, DefaultRetryStrategyStopsAtTheFifthAttempt) {
    const RetryStrategy strategy = ClientConfiguration().retryStrategy();
    const HttpRequest request = getRequest();
    const HttpResponse unavailable = responseOf(503);
    testing::WaitRecorder waits;
    LogCapture log;
    for (int attempt = 1; attempt <= 4; ++attempt) {
        EXPECT_TRUE(strategy(request, unavailable, nullptr, attempt, attempt));
    }
    EXPECT_TRUE(log.records().empty());
    EXPECT_FALSE(strategy(request, unavailable, nullptr, 5, 5));
    EXPECT_EQ(log.records(),
              (std::vector<LogRecord>{coreRecord(4, "Max total attempts = 5 reached.")}));
    log.clear();
    EXPECT_FALSE(strategy(request, unavailable, nullptr, 4, 5));
    EXPECT_EQ(log.records(),
              (std::vector<LogRecord>{coreRecord(4, "Max consecutive attempts = 5 reached.")}));
    EXPECT_TRUE(waits.take().empty());
}

TEST(ClientConfigurationTest, DefaultRetryStrategyDoesNotLookAtRetryAfter) {
    testing::WaitRecorder waits;
    EXPECT_TRUE(ClientConfiguration().retryStrategy()(
        getRequest(), responseOf(429, {{"Retry-After", "10"}}), nullptr, 1, 1));
    EXPECT_TRUE(waits.take().empty());
}

TEST(ClientConfigurationTest, DefaultRetryStrategyRetriesOnlyGet) {
    const HttpRequest post(HttpMethod::POST, "http://example.com/", {});
    EXPECT_FALSE(ClientConfiguration().retryStrategy()(post, responseOf(503), nullptr, 1, 1));
}

TEST(ClientConfigurationTest, DefaultProxyStrategyAllowsOneAuthentication) {
    const ProxyAuthenticationStrategy strategy =
        ClientConfiguration().proxyAuthenticationStrategy();
    EXPECT_TRUE(strategy(responseOf(407), nullptr, 1));
    EXPECT_TRUE(throwsExactly<HttpRequestFailedException>(
        [&] { strategy(responseOf(407), nullptr, 2); },
        "Maximum number of failed proxy authentication attempts reached but authentication still "
        "failed"));
}

constexpr std::int32_t int32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t int32Min = std::numeric_limits<std::int32_t>::min();

// Every property as text, in the order of their table.
std::string describe(const ClientConfiguration& c) {
    const auto proxyAnswer = [&c] {
        return c.proxyAuthenticationStrategy()
                   ? std::to_string(c.proxyAuthenticationStrategy()(HttpResponse(), nullptr, 1))
                   : "empty";
    };
    return c.certificateFile().string() + "|" + c.domainSocketPath().string() + "|" +
           std::to_string(c.followRedirects()) + "|" + std::to_string(c.hstsEnabled()) + "|" +
           std::to_string(c.idleSpeed()) + "|" + std::to_string(c.maxRedirects()) + "|" +
           std::to_string(c.maxRequestsPerThread()) + "|" + std::to_string(c.maxThreads()) + "|" +
           proxyAnswer() + "|" + std::to_string(c.proxyCredentialPromptNumRetries()) + "|" +
           std::to_string(c.resumeOnRetry()) + "|" +
           (c.retryStrategy() ? answers(c.retryStrategy(), 1) : "empty");
}

struct PropertyRow {
    const char* label;
    std::function<void(ClientConfiguration&)> set;
    std::function<ClientConfiguration&(ClientConfiguration&)> with;
    const char* expected;
    friend std::ostream& operator<<(std::ostream& os, const PropertyRow& row) {
        return os << row.label;
    }
};

class ClientConfigurationPropertyTest : public ::testing::TestWithParam<PropertyRow> {};

TEST_P(ClientConfigurationPropertyTest, IsSetAloneAndUnchecked) {
    LogCapture log;
    ClientConfiguration configuration;
    GetParam().set(configuration);
    EXPECT_TRUE(log.records().empty());
    EXPECT_EQ(describe(configuration), GetParam().expected);
}

TEST_P(ClientConfigurationPropertyTest, IsSetByChaining) {
    ClientConfiguration configuration;
    EXPECT_EQ(&GetParam().with(configuration), &configuration);
    EXPECT_EQ(describe(configuration), GetParam().expected);
}

TEST_P(ClientConfigurationPropertyTest, IsCopiedAndMoved) {
    ClientConfiguration configuration;
    GetParam().set(configuration);
    ClientConfiguration copy(configuration);
    ClientConfiguration target;
    target = copy;
    EXPECT_EQ(describe(copy), GetParam().expected);
    EXPECT_EQ(describe(target), GetParam().expected);
    const ClientConfiguration moved(std::move(copy));
    target = ClientConfiguration();
    target = std::move(configuration);
    EXPECT_EQ(describe(moved), GetParam().expected);
    EXPECT_EQ(describe(target), GetParam().expected);
}

using C = ClientConfiguration;

INSTANTIATE_TEST_SUITE_P(
    Table,
    ClientConfigurationPropertyTest,
    ::testing::Values(
        PropertyRow{"CertificateFile", [](C& c) { c.setCertificateFile("/a b"); },
                    [](C& c) -> C& { return c.withCertificateFile("/a b"); },
                    "/a b||1|1|1|5|2|4|0|3|0|n"},
        PropertyRow{"DomainSocketPath", [](C& c) { c.setDomainSocketPath("/s"); },
                    [](C& c) -> C& { return c.withDomainSocketPath("/s"); },
                    "|/s|1|1|1|5|2|4|0|3|0|n"},
        PropertyRow{"FollowRedirects", [](C& c) { c.setFollowRedirects(false); },
                    [](C& c) -> C& { return c.withFollowRedirects(false); },
                    "||0|1|1|5|2|4|0|3|0|n"},
        PropertyRow{"HstsEnabled", [](C& c) { c.setHstsEnabled(false); },
                    [](C& c) -> C& { return c.withHstsEnabled(false); }, "||1|0|1|5|2|4|0|3|0|n"},
        PropertyRow{"IdleSpeed", [](C& c) { c.setIdleSpeed(int32Max); },
                    [](C& c) -> C& { return c.withIdleSpeed(int32Max); },
                    "||1|1|2147483647|5|2|4|0|3|0|n"},
        PropertyRow{"MaxRedirects", [](C& c) { c.setMaxRedirects(-1); },
                    [](C& c) -> C& { return c.withMaxRedirects(-1); }, "||1|1|1|-1|2|4|0|3|0|n"},
        PropertyRow{"MaxRequestsPerThread", [](C& c) { c.setMaxRequestsPerThread(0); },
                    [](C& c) -> C& { return c.withMaxRequestsPerThread(0); },
                    "||1|1|1|5|0|4|0|3|0|n"},
        PropertyRow{"MaxThreads", [](C& c) { c.setMaxThreads(int32Min); },
                    [](C& c) -> C& { return c.withMaxThreads(int32Min); },
                    "||1|1|1|5|2|-2147483648|0|3|0|n"},
        PropertyRow{
            "ProxyAuthenticationStrategy",
            [](C& c) {
                c.setProxyAuthenticationStrategy(
                    [](const HttpResponse&, const std::exception_ptr&, int) { return true; });
            },
            [](C& c) -> C& {
                return c.withProxyAuthenticationStrategy(
                    [](const HttpResponse&, const std::exception_ptr&, int) { return true; });
            },
            "||1|1|1|5|2|4|1|3|0|n"},
        PropertyRow{"EmptyProxyAuthenticationStrategy",
                    [](C& c) { c.setProxyAuthenticationStrategy({}); },
                    [](C& c) -> C& { return c.withProxyAuthenticationStrategy({}); },
                    "||1|1|1|5|2|4|empty|3|0|n"},
        PropertyRow{"ProxyCredentialPromptNumRetries",
                    [](C& c) { c.setProxyCredentialPromptNumRetries(-7); },
                    [](C& c) -> C& { return c.withProxyCredentialPromptNumRetries(-7); },
                    "||1|1|1|5|2|4|0|-7|0|n"},
        PropertyRow{"ResumeOnRetry", [](C& c) { c.setResumeOnRetry(true); },
                    [](C& c) -> C& { return c.withResumeOnRetry(true); }, "||1|1|1|5|2|4|0|3|1|n"},
        PropertyRow{"RetryStrategy", [](C& c) { c.setRetryStrategy(countingStrategy()); },
                    [](C& c) -> C& { return c.withRetryStrategy(countingStrategy()); },
                    "||1|1|1|5|2|4|0|3|0|y"},
        PropertyRow{"EmptyRetryStrategy", [](C& c) { c.setRetryStrategy({}); },
                    [](C& c) -> C& { return c.withRetryStrategy({}); },
                    "||1|1|1|5|2|4|0|3|0|empty"}),
    [](const auto& row) { return row.param.label; });

TEST(ClientConfigurationTest, GettersReturnCopiesOfStrategies) {
    ClientConfiguration configuration;
    configuration.setRetryStrategy(countingStrategy());
    const RetryStrategy first = configuration.retryStrategy();
    EXPECT_EQ(answers(first, 3), "yyn");
    EXPECT_EQ(answers(configuration.retryStrategy(), 3), "yyn");
    EXPECT_EQ(answers(first, 1), "n");
}

TEST(ClientConfigurationTest, CopyOfAStatefulStrategyIsIndependent) {
    RetryStrategy used = countingStrategy();
    EXPECT_EQ(answers(used, 1), "y");
    ClientConfiguration original;
    original.setRetryStrategy(used);
    EXPECT_EQ(answers(used, 2), "yn");
    const ClientConfiguration copy(original);
    EXPECT_EQ(answers(original.retryStrategy(), 2), "yn");
    EXPECT_EQ(answers(copy.retryStrategy(), 2), "yn");
    original.setRetryStrategy({});
    EXPECT_EQ(answers(copy.retryStrategy(), 2), "yn");
}

TEST(ClientConfigurationTest, GettersReturnCopiesOfPaths) {
    ClientConfiguration configuration;
    configuration.setCertificateFile("/a");
    configuration.certificateFile() /= "b";
    EXPECT_EQ(configuration.certificateFile(), "/a");
}

TEST(ClientConfigurationTest, RequestHoldsACopy) {
    ClientConfiguration configuration;
    HttpRequest request = getRequest();
    request.setClientConfiguration(configuration.withMaxThreads(7));
    configuration.setMaxThreads(9);
    EXPECT_EQ(request.getClientConfiguration().maxThreads(), 7);
}

}  // namespace
}  // namespace foundation::httpclient_core
