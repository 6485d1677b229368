#include "tests/support/AllocationCounter.h"

#include <foundation/httpclient_core/QueryParameters.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace foundation::httpclient_core {
namespace {

using testing::allocationsOf;
using testing::failEachAllocation;

const std::string longKey = "a-key-that-needs-memory-of-its-own";
const std::string longValue = "a value that needs memory of its own";
const std::string longText = "?" + longKey + "=a+value+that+needs+memory+of+its+own&b=2&" +
                             std::string(300, 'k') + "=" + std::string(300, '+');

QueryParameters sample() {
    return QueryParameters{{"a", "1"}, {longKey, longValue}};
}

bool isSample(const QueryParameters& query) {
    return query.size() == 2 && query.getParameterValue("a") == "1" &&
           query.getParameterValue(longKey) == longValue &&
           query.toString() == sample().toString() &&
           query.toUnencodedString() == sample().toUnencodedString();
}

TEST(QueryParametersAllocationTest, AllocationsAreCountedAndFail) {
    EXPECT_EQ(allocationsOf([] { const std::string copy(longValue); }), 1U);
    EXPECT_EQ(failEachAllocation([] { const std::string copy(longValue); }, [] {}), 1U);
}

TEST(QueryParametersAllocationTest, EmptyQueryCostsNoMoreThanAnEmptyCollection) {
    const auto ofCollection = allocationsOf([] { const NameValueCollection empty; });
    EXPECT_EQ(allocationsOf([] { const QueryParameters query; }), ofCollection);
}

TEST(QueryParametersAllocationTest, DecodedTextsCostNothingBesideTheirPlace) {
    // As many entries with and without escapes: what is decoded to a short text needs no memory.
    std::string plain;
    std::string escaped;
    for (int i = 0; i < 20; ++i) {
        plain += "&key" + std::to_string(i) + "=abcdef";
        escaped += "&%6Bey" + std::to_string(i) + "=%61%62%63%64%65%66";
    }
    const auto parse = [](const std::string& text) {
        return allocationsOf([&] { EXPECT_EQ(QueryParameters(text).size(), 20U); });
    };
    EXPECT_EQ(parse(escaped), parse(plain));
}

TEST(QueryParametersAllocationTest, ParsingCostsTheRawTextOneRoomForAllAndLongTexts) {
    std::string text;
    for (int i = 0; i < 20; ++i) {
        text += "&key" + std::to_string(i) + "=two%20words%2C";
    }
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(QueryParameters(text).size(), 20U); }), 2U);
    text += "&long=a+value+that+needs+memory&a+key+that+needs+memory=%41";
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(QueryParameters(text).size(), 22U); }), 4U);
    EXPECT_EQ(allocationsOf([] { EXPECT_EQ(QueryParameters("a=1").size(), 1U); }), 1U);
    EXPECT_EQ(allocationsOf([] { EXPECT_TRUE(QueryParameters("").empty()); }), 0U);
}

TEST(QueryParametersAllocationTest, TextOfSeparatorsGetsNoRoomForEachOfThem) {
    const std::string text(1'000'000, '&');
    const testing::AllocationCounts before = testing::allocationCounts();
    EXPECT_TRUE(QueryParameters(text).empty());
    EXPECT_LT((testing::allocationCounts() - before).bytes, text.size() + 100'000);
}

TEST(QueryParametersAllocationTest, ReadsAllocateTheirResultOnly) {
    const QueryParameters query = sample();
    std::size_t size = 0;
    EXPECT_EQ(allocationsOf([&] {
                  for (const auto& [key, value] : query) {
                      size += key.size() + value.size();
                  }
                  size += query.size() + (query.empty() ? 1U : 0U);
                  size += query.hasParameterKey(longKey) ? 1U : 0U;
                  size += query.getParameterValue("a").size() + query.getEntrySep().size();
              }),
              0U);
    EXPECT_GT(size, 0U);
    EXPECT_EQ(allocationsOf([&] { size += query.getParameterValue(longKey).size(); }), 1U);
    EXPECT_EQ(allocationsOf([&] { size += query.toUnencodedString().size(); }), 1U);
}

TEST(QueryParametersAllocationTest, PrintingCostsOneAllocationOfAnyLength) {
    for (const int pairs : {1, 20, 1000}) {
        QueryParameters query;
        for (int i = 0; i < pairs; ++i) {
            query.addQueryParameter(longKey + std::to_string(i), longValue);
        }
        EXPECT_EQ(allocationsOf([&] { EXPECT_GT(query.toString().size(), longKey.size()); }), 1U)
            << pairs;
    }
    const QueryParameters shortQuery("a=1&b=%20");
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(shortQuery.toString().size(), 10U); }), 0U);
}

TEST(QueryParametersAllocationTest, FailedParsingReportsTheFailureAndLosesNothing) {
    EXPECT_GT(failEachAllocation([] { const QueryParameters query(longText); }, [] {}), 3U);
    QueryParameters query = sample();
    EXPECT_GT(failEachAllocation([&] { query = QueryParameters(longText); },
                                 [&] { EXPECT_TRUE(isSample(query)); }),
              3U);
    EXPECT_EQ(query.size(), 3U);
}

TEST(QueryParametersAllocationTest, FailedAdditionLeavesTheQueryUnchanged) {
    QueryParameters query = sample();
    EXPECT_GT(failEachAllocation([&] { query.addQueryParameter(longKey + "!", longValue); },
                                 [&] { EXPECT_TRUE(isSample(query)); }),
              0U);
    EXPECT_EQ(query.size(), 3U);
}

TEST(QueryParametersAllocationTest, FailedReadsChangeNothing) {
    const QueryParameters query = sample();
    const auto unchanged = [&] { EXPECT_TRUE(isSample(query)); };
    EXPECT_GT(failEachAllocation([&] { query.toString(); }, unchanged), 0U);
    EXPECT_GT(failEachAllocation([&] { query.toUnencodedString(); }, unchanged), 0U);
    EXPECT_GT(failEachAllocation([&] { query.getAllParameterValues(longKey); }, unchanged), 0U);
    EXPECT_GT(failEachAllocation([&] { const QueryParameters copy(query); }, unchanged), 0U);
}

}  // namespace
}  // namespace foundation::httpclient_core
