#include "tests/support/AllocationCounter.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/Accept.h>
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/Cookie.h>
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/NameValueCollection.h>
#include <foundation/httpclient_core/SetCookie.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <new>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::allocationsOf;
using testing::failEachAllocation;

using Entries = std::vector<NameValueCollection::value_type>;

// Longer than what a string holds without an allocation.
const std::string longName = "X-A-Header-Name-That-Needs-Memory";
const std::string longValue = "a value that needs memory of its own";

HttpHeaders sample() {
    return {{"Accept", "a"}, {longName, longValue}, {"accept", longValue}};
}

// Entries and look-ups of the collection are those of the sample.
::testing::AssertionResult isUnchanged(const NameValueCollection& collection) {
    const HttpHeaders expected = sample();
    if (collection != expected) {
        return ::testing::AssertionFailure() << "other entries";
    }
    for (const std::string& name : {std::string("ACCEPT"), longName, std::string("New"),
                                    longName + "-New", std::string("")}) {
        if (collection.has(name) != expected.has(name) ||
            collection.getAll(name) != expected.getAll(name)) {
            return ::testing::AssertionFailure() << "another answer for " << name;
        }
    }
    return ::testing::AssertionSuccess();
}

TEST(HeaderAllocationTest, AllocationFunctionsAreReplaced) {
    EXPECT_EQ(allocationsOf([] { const std::string copy(longValue); }), 1U);
    EXPECT_EQ(failEachAllocation([] { const std::string copy(longValue); }, [] {}), 1U);
    EXPECT_EQ(failEachAllocation([] {}, [] {}), 0U);
}

// Look-ups allocate nothing beyond their result.

TEST(HeaderAllocationTest, LookUpsAllocateNothing) {
    const HttpHeaders headers = sample();
    const std::string absent = longName + "-Absent";
    EXPECT_EQ(allocationsOf([&] {
                  for (const std::string* name : {&longName, &absent, &HttpHeaders::ACCEPT}) {
                      static_cast<void>(headers.has(*name));
                      static_cast<void>(headers.hasHeader(*name));
                      static_cast<void>(headers.find(*name));
                  }
                  static_cast<void>(headers.size());
                  static_cast<void>(headers.empty());
              }),
              0U);
}

TEST(HeaderAllocationTest, GettersAllocateTheirResultOnly) {
    const HttpHeaders headers = sample();
    EXPECT_EQ(allocationsOf([&] { headers.get(HttpHeaders::ACCEPT); }), 0U);
    EXPECT_EQ(allocationsOf([&] { headers.get(longName); }), 1U);
    EXPECT_EQ(allocationsOf([&] { headers.getHeaderValue(longName); }), 1U);
    EXPECT_EQ(allocationsOf([&] { headers.getHeaderValueOr(longName, longValue); }), 1U);
    EXPECT_EQ(allocationsOf([&] { headers.getHeaderValueOr(HttpHeaders::COOKIE, longValue); }), 1U);
    EXPECT_EQ(allocationsOf([&] { headers.getAll(HttpHeaders::COOKIE); }), 0U);
    // The list, and the one value of the two that is long.
    EXPECT_EQ(allocationsOf([&] { headers.getAll(HttpHeaders::ACCEPT); }), 2U);
}

TEST(HeaderAllocationTest, IterationAndComparisonAllocateNothing) {
    HttpHeaders headers = sample();
    const HttpHeaders same = sample();
    std::size_t characters = 0;
    bool equal = false;
    EXPECT_EQ(allocationsOf([&] {
                  for (auto& [name, value] : headers) {
                      characters += name.size() + value.size();
                  }
                  equal = headers == same;
              }),
              0U);
    EXPECT_GT(characters, 0U);
    EXPECT_TRUE(equal);
}

TEST(HeaderAllocationTest, MovesAndErasureAllocateNothing) {
    HttpHeaders headers = sample();
    HttpHeaders other = sample();
    const std::string name = longName;
    EXPECT_EQ(allocationsOf([&] {
                  HttpHeaders moved(std::move(headers));
                  headers = std::move(moved);
                  std::swap(headers, other);
                  headers.erase(name);
                  headers.erase(HttpHeaders::COOKIE);
              }),
              0U);
    EXPECT_EQ(headers.size(), 2U);
    EXPECT_EQ(other, sample());
}

TEST(HeaderAllocationTest, ModifiersTakeOverTheirArguments) {
    HttpHeaders headers = sample();
    std::string value = longValue;
    EXPECT_EQ(allocationsOf([&] { headers.set(longName, std::move(value)); }), 0U);
    EXPECT_EQ(headers.get(longName), longValue);

    std::string name = longName + "-New";
    std::string added = longValue;
    const char* const nameText = name.data();
    const char* const addedText = added.data();
    headers.add(std::move(name), std::move(added));
    EXPECT_EQ(std::prev(headers.end())->first.data(), nameText);
    EXPECT_EQ(std::prev(headers.end())->second.data(), addedText);

    NameValueCollection::value_type entry(longName, longValue);
    const char* const entryText = entry.first.data();
    headers.add(std::move(entry));
    EXPECT_EQ(std::prev(headers.end())->first.data(), entryText);
}

TEST(HeaderAllocationTest, ComparatorAllocatesOnceAndItsCopiesShare) {
    using Compare = NameValueCollection::CaseInsensitiveCompare;
    EXPECT_EQ(allocationsOf([] { const Compare compare; }), 1U);
    const Compare compare;
    EXPECT_EQ(allocationsOf([&] {
                  Compare copy(compare);
                  copy = compare;
                  static_cast<void>(copy(longName, longValue));
              }),
              0U);
}

// Failures of allocation.

struct ModifierRow {
    const char* label;
    std::function<void(HttpHeaders&)> modify;
    friend std::ostream& operator<<(std::ostream& os, const ModifierRow& row) {
        return os << row.label;
    }
};

class HeaderModifierAllocationTest : public ::testing::TestWithParam<ModifierRow> {};

TEST_P(HeaderModifierAllocationTest, FailureLeavesTheCollectionUnchanged) {
    HttpHeaders headers = sample();
    const NameValueCollection::iterator second = std::next(headers.begin());
    const std::uint64_t failures = failEachAllocation([&] { GetParam().modify(headers); },
                                                      [&] { EXPECT_TRUE(isUnchanged(headers)); });
    EXPECT_GT(failures, 0U);
    // The last turn failed nowhere and did its work.
    HttpHeaders expected = sample();
    GetParam().modify(expected);
    EXPECT_EQ(headers, expected);
    EXPECT_NE(headers, sample());
    EXPECT_EQ(second, std::next(headers.begin()));
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HeaderModifierAllocationTest,
    ::testing::Values(
        ModifierRow{"Add", [](HttpHeaders& h) { h.add(longName, longValue); }},
        ModifierRow{"AddOfAPair",
                    [](HttpHeaders& h) {
                        h.add(NameValueCollection::value_type(longName + "-New", longValue));
                    }},
        ModifierRow{"SetOfAnAbsentName",
                    [](HttpHeaders& h) { h.set(longName + "-New", longValue); }},
        ModifierRow{"SetOfANameThatIsThere",
                    [](HttpHeaders& h) { h.set(longName, longValue + "!"); }},
        ModifierRow{"AddHeader", [](HttpHeaders& h) { h.addHeader(longName + ": " + longValue); }},
        ModifierRow{"AddHeaderValue",
                    [](HttpHeaders& h) { h.addHeaderValue(longName, longValue); }},
        ModifierRow{"SetHeaderValue", [](HttpHeaders& h) { h.setHeaderValue("New", longValue); }}),
    [](const auto& row) { return row.param.label; });

// Memory is asked for where a slab is full and where the table of names grows; all else goes without.
TEST(HeaderAllocationTest, AddOfShortTextsThatFailsLeavesTheCollectionUnchanged) {
    std::uint64_t growths = 0;
    NameValueCollection collection;
    for (int count = 0; count < 700; ++count) {
        const std::string name = "n" + std::to_string(count);
        growths += failEachAllocation(
            [&] { collection.add(name, "1"); },
            [&] {
                ASSERT_EQ(collection.size(), static_cast<std::size_t>(count));
                ASSERT_FALSE(collection.has(name));
                ASSERT_EQ(std::distance(collection.begin(), collection.end()), count);
            });
        ASSERT_TRUE(collection.has(name));
        ASSERT_EQ(std::prev(collection.end())->first, name);
    }
    // Slabs of 4, 16, 64 and three of 256; tables for 65, 129, 257 and 513.
    EXPECT_EQ(growths, 10U);
    for (int count = 0; count < 700; ++count) {
        ASSERT_TRUE(collection.has("N" + std::to_string(count)));
    }
}

TEST(HeaderAllocationTest, AFailedAddGivesItsPlaceBack) {
    NameValueCollection collection{{"a", "1"}, {"b", "2"}, {"c", "3"}, {"d", "4"}};
    collection.erase("b");
    const std::string name(100, 'n');  // Its folded form needs memory.
    for (int turn = 0; turn < 3; ++turn) {
        std::string moved = name;
        testing::failAllocationAfter(0);
        EXPECT_THROW(collection.add(std::move(moved), "5"), std::bad_alloc);
        testing::failNoAllocation();
    }
    EXPECT_EQ(allocationsOf([&] { collection.add("e", "5"); }), 0U);
    EXPECT_EQ(collection.size(), 4U);
    EXPECT_EQ(collection.get("E"), "5");
}

TEST(HeaderAllocationTest, AnEmptyCollectionAllocatesNothing) {
    EXPECT_EQ(allocationsOf([] {
                  const NameValueCollection made;
                  const NameValueCollection copy(made);
                  const HttpHeaders headers{};
                  static_cast<void>(copy.has("a"));
              }),
              0U);
}

// One for all entries, one for each of the three texts that are too long for the string itself, and one for
// the folded form of the name beyond 32 bytes.
TEST(HeaderAllocationTest, ACopyAllocatesOnceBesidesItsTexts) {
    const HttpHeaders headers = sample();
    EXPECT_EQ(allocationsOf([&] { const HttpHeaders copy(headers); }), 5U);
}

TEST(HeaderAllocationTest, ErasedPlacesAreUsedAgain) {
    HttpHeaders headers = sample();
    EXPECT_EQ(allocationsOf([&] {
                  for (int turn = 0; turn < 100; ++turn) {
                      headers.erase(HttpHeaders::ACCEPT);
                      headers.add("Accept", "b");
                  }
              }),
              0U);
    EXPECT_EQ(headers.getAll("Accept"), (std::vector<std::string>{"b"}));
    EXPECT_EQ(std::prev(headers.end())->second, "b");
}

TEST(HeaderAllocationTest, FailedConstructionLeavesItsSourceUnchanged) {
    const HttpHeaders source = sample();
    EXPECT_GT(failEachAllocation([&] { const HttpHeaders copy(source); },
                                 [&] { EXPECT_TRUE(isUnchanged(source)); }),
              0U);
    const std::initializer_list<NameValueCollection::value_type> entries{
        {"a", "1"}, {longName, longValue}, {"A", "2"}};
    EXPECT_GT(failEachAllocation([&] { const NameValueCollection made(entries); }, [] {}), 0U);
}

TEST(HeaderAllocationTest, FailedCopyAssignmentLeavesTheTargetEmptyAndUsable) {
    const HttpHeaders source = sample();
    HttpHeaders target;
    const Entries old{{"Accept", "old"}, {"Old", longValue}, {"a", "1"}, {"b", "2"}, {"c", "3"}};
    const auto fill = [&] {
        target = HttpHeaders();
        for (const auto& entry : old) {
            target.add(entry);
        }
    };
    fill();
    const std::uint64_t failures = failEachAllocation(
        [&] { target = source; },
        [&] {
            EXPECT_TRUE(isUnchanged(source));
            EXPECT_TRUE(target.empty());
            EXPECT_EQ(target.begin(), target.end());
            for (const char* name : {"Accept", "Old", "a", "b", "c"}) {
                EXPECT_FALSE(target.has(name)) << name;
            }
            target.add("Accept", "again");
            EXPECT_EQ(target.getAll("accept"), (std::vector<std::string>{"again"}));
            fill();
        });
    EXPECT_GT(failures, 3U);
    EXPECT_TRUE(isUnchanged(target));
}

TEST(HeaderAllocationTest, FailedReadsReportTheFailureAndChangeNothing) {
    const HttpHeaders headers = sample();
    const auto unchanged = [&] { EXPECT_TRUE(isUnchanged(headers)); };
    const NameValueCollection::Encoder identity = [](std::string text) { return text; };
    EXPECT_GT(failEachAllocation([&] { headers.get(longName); }, unchanged), 0U);
    EXPECT_GT(failEachAllocation([&] { headers.getAll(longName); }, unchanged), 0U);
    EXPECT_GT(failEachAllocation([&] { headers.getHeaderValueOr("New", longValue); }, unchanged),
              0U);
    EXPECT_GT(failEachAllocation([&] { headers.toString("&", "=", identity); }, unchanged), 0U);
}

TEST(HeaderAllocationTest, ParsersReportTheFailureOfAnAllocation) {
    const std::string text = longName + "=" + longValue + "; " + longName + "=" + longValue;
    EXPECT_GT(failEachAllocation([&] { ContentType::parse("a/b;" + text); }, [] {}), 5U);
    EXPECT_GT(failEachAllocation([&] { Accept::parse("a/b, c/d;" + text); }, [] {}), 5U);
    EXPECT_GT(failEachAllocation([&] { Cookie::parse(text); }, [] {}), 5U);
    EXPECT_GT(failEachAllocation([&] { SetCookie::parse(text); }, [] {}), 5U);
    EXPECT_GT(failEachAllocation([&] { HttpHeaders::splitParameter(text, "=", false); }, [] {}),
              1U);
}

}  // namespace
}  // namespace foundation::httpclient_core
