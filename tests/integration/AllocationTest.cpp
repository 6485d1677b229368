#include "tests/support/AllocationCounter.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>

namespace foundation::httpclient_core::testing {
namespace {

// Longer than any string that needs no memory of its own.
const std::string longName = "X-Name-That-Is-Longer-Than-A-Small-String";
const std::string longAbsentName = "X-Absent-Name-That-Is-Longer-Than-A-Small-String";
const std::string longValue = "a value that is longer than a small string";

HttpHeaders sampleHeaders() {
    return {{"Accept", "a"}, {longName, "short"}, {"Content-Type", longValue}, {"accept", "b"}};
}

TEST(AllocationTest, CounterSeesEveryFormOfNew) {
    // Calls by name: a compiler may leave out a new expression whose result is not needed.
    constexpr std::align_val_t alignment{64};
    EXPECT_EQ(allocationsOf([] {}), 0U);
    EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(10)); }), 1U);
    EXPECT_EQ(allocationsOf([] { ::operator delete[](::operator new[](10)); }), 1U);
    EXPECT_EQ(allocationsOf([] { ::operator delete(::operator new(10, std::nothrow)); }), 1U);
    EXPECT_EQ(allocationsOf([] { ::operator delete[](::operator new[](10, std::nothrow)); }), 1U);
    EXPECT_EQ(allocationsOf([=] { ::operator delete(::operator new(10, alignment), alignment); }),
              1U);
    EXPECT_EQ(
        allocationsOf([=] { ::operator delete[](::operator new[](10, alignment), alignment); }),
        1U);
    const AllocationCounts before = allocationCounts();
    ::operator delete(::operator new(1000));
    EXPECT_EQ((allocationCounts() - before).bytes, 1000U);
}

TEST(AllocationTest, HasAllocatesNothing) {
    const HttpHeaders headers = sampleHeaders();
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(headers.has(longName)); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_FALSE(headers.has(longAbsentName)); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(headers.hasHeader(longName)); }), 0U);
}

TEST(AllocationTest, FindAllocatesNothing) {
    const HttpHeaders headers = sampleHeaders();
    EXPECT_EQ(allocationsOf([&] { EXPECT_NE(headers.find(longName), headers.end()); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(headers.find(longAbsentName), headers.end()); }), 0U);
}

TEST(AllocationTest, GetAllocatesItsResultOnly) {
    const HttpHeaders headers = sampleHeaders();
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(headers.get(longName).size(), 5U); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(headers.getHeaderValue(longName).size(), 5U); }), 0U);
    EXPECT_EQ(
        allocationsOf([&] { EXPECT_EQ(headers.get("Content-Type").size(), longValue.size()); }),
        1U);
    EXPECT_EQ(
        allocationsOf([&] { EXPECT_EQ(headers.getHeaderValueOr(longName, longValue).size(), 5U); }),
        0U);
    EXPECT_EQ(allocationsOf([&] {
                  EXPECT_EQ(headers.getHeaderValueOr(longAbsentName, longValue).size(),
                            longValue.size());
              }),
              1U);
}

TEST(AllocationTest, GetAllAllocatesItsListOnly) {
    const HttpHeaders headers = sampleHeaders();
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(headers.getAll("ACCEPT").size(), 2U); }), 1U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(headers.getAll(longAbsentName).size(), 0U); }), 0U);
}

TEST(AllocationTest, QueryLookupsAllocateTheirResultOnly) {
    const QueryParameters query("?" + longName + "=short&other=" + longValue);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(query.hasParameterKey(longName)); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_FALSE(query.hasParameterKey(longAbsentName)); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(query.getParameterValue(longName).size(), 5U); }), 0U);
    EXPECT_EQ(allocationsOf(
                  [&] { EXPECT_EQ(query.getParameterValue("other").size(), longValue.size()); }),
              1U);
}

TEST(AllocationTest, EncodingAllocatesOnceForALongResult) {
    const PercentEncoder encoder("%20");
    for (const std::string& text :
         {std::string(5000, 'a'), std::string(5000, ' '), std::string(5000, '\xC3'), longValue}) {
        EXPECT_EQ(allocationsOf([&] { EXPECT_GE(encoder(text).size(), text.size()); }), 1U);
    }
    const std::string text = "short";
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(encoder(text).size(), 5U); }), 0U);
}

TEST(AllocationTest, DecodingAllocatesOnceForALongResult) {
    for (const char* piece : {"a", "+", "%C3", "%zz"}) {
        std::string text;
        for (int count = 0; count < 1000; ++count) {
            text += piece;
        }
        EXPECT_EQ(allocationsOf([&] { EXPECT_GE(percentDecode(text).size(), 1000U); }), 1U)
            << piece;
    }
    EXPECT_EQ(allocationsOf([] { EXPECT_EQ(percentDecode("a%20b").size(), 3U); }), 0U);
}

TEST(AllocationTest, PrintingAURLAllocatesAtMostThreeTimes) {
    const std::string text =
        "https://a-server-with-a-long-name.example.test:8443/a/path/that/is/rather/"
        "long?key=value&" +
        longName + "=" + longValue + "#a-fragment-that-is-rather-long";
    const URL url(text);
    EXPECT_LE(allocationsOf([&] { EXPECT_EQ(url.toAsciiString().size(), text.size()); }), 3U);
}

TEST(AllocationTest, CuttingAURLAllocatesItsFieldsOnly) {
    // Domain, path, fragment, raw query, and for each of the two parameters its entry and its index.
    const std::string text =
        "https://a-server-with-a-long-name.example.test:8443/a/path/that/is/rather/long?a=1&b=2"
        "#a-fragment-that-is-rather-long";
    const std::uint64_t empty = allocationsOf([] { EXPECT_TRUE(QueryParameters().empty()); });
    EXPECT_LE(allocationsOf([&] { EXPECT_EQ(URL(text).getPort(), 8443U); }), empty + 3 + 1 + 2 * 2);
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
