#include "tests/support/AllocationCounter.h"

#include <foundation/httpclient_core/URL.h>

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using testing::allocationsOf;
using testing::failEachAllocation;

const std::string longText =
    "https://server.example.test:8443/shop/articles/list?page=2&order=by%20price#article-7";
const std::string longPart = "a text that is too long for a string without memory";

TEST(URLAllocationTest, CuttingCopyingAndPrintingCostOneEach) {
    std::string parameters;
    for (int i = 0; i < 20; ++i) {
        parameters += "&key" + std::to_string(i) + "=two%20words%2C+and+some+more";
    }
    for (const std::string& text : {longText, std::string("https://a.test/path"),
                                    "https://server.example.test/search?" + parameters}) {
        EXPECT_EQ(allocationsOf([&] { const URL url(text); }), 1U) << text;
        const URL url(text);
        EXPECT_EQ(allocationsOf([&] { const URL copy(url); }), 1U) << text;
        EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(url.toAsciiString(), text); }), 1U) << text;
        EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(url == url); }), 0U) << text;
    }
}

TEST(URLAllocationTest, ShortURLCostsNone) {
    EXPECT_EQ(allocationsOf([] {
                  const URL url("http://host:80/");
                  const URL copy(url);
                  EXPECT_EQ(copy.getDomain(), "host");
                  EXPECT_EQ(copy.toAsciiString().size(), 15U);
              }),
              0U);
    EXPECT_EQ(allocationsOf([] { const URL url(""); }), 0U);
}

TEST(URLAllocationTest, GettersAllocateTheirResultOnly) {
    const URL url(longText);
    EXPECT_EQ(allocationsOf([&] {
                  EXPECT_EQ(url.getProtocol(), "https");
                  EXPECT_EQ(url.getPort(), 8443U);
                  EXPECT_EQ(url.getFragment(), "article-7");
                  EXPECT_TRUE(url.hasFragment());
              }),
              0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(url.getDomain().size(), 19U); }), 1U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(url.getPath().size(), 19U); }), 1U);
}

TEST(URLAllocationTest, MovesAndPortsAllocateNothing) {
    URL url(longText);
    URL other("");
    EXPECT_EQ(allocationsOf([&] {
                  URL moved(std::move(url));
                  other = std::move(moved);
                  other.setPort(1);
                  std::swap(url, other);
              }),
              0U);
    EXPECT_EQ(url.getPort(), 1U);
}

struct SetterRow {
    const char* label;
    std::function<void(URL&)> set;
    friend std::ostream& operator<<(std::ostream& os, const SetterRow& row) {
        return os << row.label;
    }
};

class URLSetterAllocationTest : public ::testing::TestWithParam<SetterRow> {};

TEST_P(URLSetterAllocationTest, FailureLeavesTheURLUnchanged) {
    for (const bool hasSetQuery : {false, true}) {
        URL url(longText);
        if (hasSetQuery) {
            QueryParameters query("a=1");
            query.begin()->second = "changed";
            url.setQueryParameters(query);
        }
        const URL before = url;
        const std::string query = before.getQueryParameters().toString();
        EXPECT_GT(failEachAllocation([&] { GetParam().set(url); },
                                     [&] {
                                         EXPECT_TRUE(url == before);
                                         EXPECT_EQ(url.getDomain(), before.getDomain());
                                         EXPECT_EQ(url.getPath(), before.getPath());
                                         EXPECT_EQ(url.getFragment(), before.getFragment());
                                         EXPECT_EQ(url.getQueryParameters().toString(), query);
                                     }),
                  0U);
        EXPECT_FALSE(url == before);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    URLSetterAllocationTest,
    ::testing::Values(
        SetterRow{"Protocol", [](URL& url) { url.setProtocol(longPart); }},
        SetterRow{"Domain", [](URL& url) { url.setDomain(longPart); }},
        SetterRow{"Path", [](URL& url) { url.setPath(longPart); }},
        SetterRow{"Query", [](URL& url) { url.setQueryParameters(QueryParameters(longPart)); }},
        SetterRow{"Fragment", [](URL& url) { url.setFragment(longPart); }},
        SetterRow{"Assignment",
                  [](URL& url) {
                      const URL other(longText + longPart);
                      url = other;
                  }}),
    [](const auto& row) { return row.param.label; });

TEST(URLAllocationTest, FailedReadsReportTheFailureAndChangeNothing) {
    const URL url(longText);
    const auto unchanged = [&] { EXPECT_TRUE(url == URL(longText)); };
    EXPECT_EQ(failEachAllocation([&] { const URL copy(longText); }, unchanged), 1U);
    EXPECT_EQ(failEachAllocation([&] { const URL copy(url); }, unchanged), 1U);
    EXPECT_EQ(failEachAllocation([&] { url.toAsciiString(); }, unchanged), 1U);
    EXPECT_GT(failEachAllocation([&] { url.getQueryParameters(); }, unchanged), 0U);
    EXPECT_EQ(url.getQueryParameters().getParameterValue("order"), "by price");
}

}  // namespace
}  // namespace foundation::httpclient_core
