#include "headers/IdentityEncoder.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <locale.h>
#include <memory>
#include <numeric>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogCapture;
using ::testing::Pair;
using testing::throwsExactly;

using Strings = std::vector<std::string>;
using Entries = std::vector<NameValueCollection::value_type>;

using iterator = NameValueCollection::iterator;
using const_iterator = NameValueCollection::const_iterator;

std::string identity(std::string text) {
    return text;
}

std::string print(const NameValueCollection& collection) {
    return collection.toString("&", "=", identity);
}

// One entry found under two spellings, one that is only a duplicate, one of another name.
NameValueCollection sample() {
    return {{"Accept", "a"}, {"Host", "h"}, {"accept", "b"}};
}

TEST(NameValueCollectionTest, KeepsDuplicatesInOrderAndFindsThemInAnyCase) {
    NameValueCollection headers;
    headers.add("Accept", "a");
    headers.add("accept", "b");

    EXPECT_EQ(headers.size(), 2U);
    EXPECT_EQ(headers.get("ACCEPT"), "a");
    EXPECT_EQ(headers.getAll("aCcEpT"), (Strings{"a", "b"}));
    EXPECT_THAT(headers, ElementsAre(Pair("Accept", "a"), Pair("accept", "b")));

    headers.set("ACCEPT", "c");
    EXPECT_THAT(headers, ElementsAre(Pair("Accept", "c"), Pair("accept", "b")));

    headers.erase("ACCEPT");
    EXPECT_TRUE(headers.empty());
}

// Construction, copy and move.

TEST(NameValueCollectionTest, DefaultConstructedIsEmpty) {
    const NameValueCollection collection;
    EXPECT_TRUE(collection.empty());
    EXPECT_EQ(collection.size(), 0U);
    EXPECT_EQ(collection.begin(), collection.end());
    EXPECT_FALSE(collection.has(""));
    EXPECT_THAT(collection.getAll("a"), IsEmpty());
}

TEST(NameValueCollectionTest, InitializerListKeepsOrderAndDuplicates) {
    const NameValueCollection collection{{"b", "1"}, {"a", "2"}, {"B", "3"}, {"b", "1"}};
    EXPECT_THAT(collection,
                ElementsAre(Pair("b", "1"), Pair("a", "2"), Pair("B", "3"), Pair("b", "1")));
    EXPECT_EQ(collection.getAll("b"), (Strings{"1", "3", "1"}));
}

// Look-ups read the last 32 bytes of a name at once, and what stands before them only where those are equal.
TEST(NameValueCollectionTest, LongNamesAreToldApartByTheirBeginnings) {
    const std::string end(32, 'x');
    NameValueCollection collection{{"a" + end, "1"}, {"c" + end, "3"}, {"aa" + end, "4"}};
    EXPECT_EQ(collection.get("A" + end), "1");
    EXPECT_EQ(collection.get("C" + end), "3");
    EXPECT_EQ(collection.get("AA" + end), "4");
    EXPECT_FALSE(collection.has("b" + end));
    EXPECT_FALSE(collection.has("ab" + end));
    EXPECT_FALSE(collection.has(end));
    collection.erase("b" + end);
    EXPECT_EQ(collection.size(), 3U);
}

TEST(NameValueCollectionTest, CopyHasItsOwnEntriesAndLookUps) {
    NameValueCollection source = sample();
    NameValueCollection copy(source);
    EXPECT_EQ(copy, source);

    copy.set("accept", "changed");
    copy.erase("host");
    source.add("Accept", "c");
    EXPECT_THAT(source, ElementsAre(Pair("Accept", "a"), Pair("Host", "h"), Pair("accept", "b"),
                                    Pair("Accept", "c")));
    EXPECT_THAT(copy, ElementsAre(Pair("Accept", "changed"), Pair("accept", "b")));
    EXPECT_TRUE(source.has("Host"));
    EXPECT_FALSE(copy.has("Host"));
}

TEST(NameValueCollectionTest, CopyOutlivesItsSource) {
    auto source = std::make_unique<NameValueCollection>(sample());
    const NameValueCollection copy(*source);
    source.reset();
    EXPECT_EQ(copy.getAll("ACCEPT"), (Strings{"a", "b"}));
}

TEST(NameValueCollectionTest, MoveConstructorTakesTheEntriesAndLeavesTheSourceUsable) {
    NameValueCollection source = sample();
    const NameValueCollection target(std::move(source));
    EXPECT_EQ(target, sample());
    EXPECT_EQ(target.getAll("ACCEPT"), (Strings{"a", "b"}));

    EXPECT_TRUE(source.empty());
    EXPECT_EQ(source.size(), 0U);
    EXPECT_FALSE(source.has("Accept"));
    EXPECT_EQ(source.find("Accept"), source.end());
    EXPECT_THAT(source.getAll("Accept"), IsEmpty());
    source.erase("Accept");
    source.add("New", "1");
    source.set("NEW", "2");
    EXPECT_THAT(source, ElementsAre(Pair("New", "2")));
}

TEST(NameValueCollectionTest, CopyAssignmentReplacesAllEntriesOfTheTarget) {
    const NameValueCollection source = sample();
    for (NameValueCollection target :
         {NameValueCollection{}, NameValueCollection{{"x", "1"}},
          NameValueCollection{
              {"Accept", "old"}, {"b", "2"}, {"c", "3"}, {"d", "4"}, {"ACCEPT", "older"}}}) {
        target = source;
        EXPECT_EQ(target, source);
        EXPECT_EQ(target.getAll("accept"), (Strings{"a", "b"}));
        for (const char* gone : {"x", "b", "c", "d"}) {
            EXPECT_FALSE(target.has(gone)) << gone;
        }
    }
}

TEST(NameValueCollectionTest, LookUpsAfterCopyAssignmentAnswerAsOnAFreshCopy) {
    NameValueCollection source = sample();
    source.begin()->first = "Renamed";
    NameValueCollection target{{"Accept", "stale"}, {"Renamed", "stale"}};
    target = source;
    const NameValueCollection fresh(source);
    for (const char* name : {"Accept", "Renamed", "Host"}) {
        EXPECT_EQ(target.getAll(name), fresh.getAll(name)) << name;
        EXPECT_EQ(target.get(name), fresh.get(name)) << name;
    }
    EXPECT_EQ(target.get("RENAMED"), "a");
    EXPECT_EQ(target.getAll("accept"), (Strings{"b"}));
}

TEST(NameValueCollectionTest, SelfCopyAssignmentChangesNothing) {
    NameValueCollection collection = sample();
    const NameValueCollection& self = collection;
    const const_iterator first = collection.cbegin();
    collection = self;
    EXPECT_EQ(collection, sample());
    EXPECT_EQ(collection.getAll("Accept"), (Strings{"a", "b"}));
    EXPECT_EQ(first, collection.cbegin());

    collection.begin()->first = "Renamed";
    collection = self;
    EXPECT_EQ(collection.getAll("Accept"), (Strings{"a", "b"}));
    EXPECT_FALSE(collection.has("Renamed"));
}

TEST(NameValueCollectionTest, MoveAssignmentTakesTheEntriesAndLeavesTheSourceUsable) {
    NameValueCollection source = sample();
    NameValueCollection target{{"Accept", "old"}, {"x", "1"}};
    target = std::move(source);
    EXPECT_EQ(target, sample());
    EXPECT_EQ(target.getAll("Accept"), (Strings{"a", "b"}));
    EXPECT_FALSE(target.has("x"));

    EXPECT_TRUE(source.empty());
    EXPECT_FALSE(source.has("Accept"));
    source.add("New", "1");
    EXPECT_EQ(source.get("new"), "1");
    EXPECT_EQ(target, sample());
}

TEST(NameValueCollectionTest, SelfMoveAssignmentChangesNothing) {
    NameValueCollection collection = sample();
    NameValueCollection& self = collection;
    collection = std::move(self);
    EXPECT_EQ(collection, sample());
    EXPECT_EQ(collection.getAll("Accept"), (Strings{"a", "b"}));
}

TEST(NameValueCollectionTest, ChainOfMovesKeepsEveryCollectionUsable) {
    NameValueCollection a = sample();
    NameValueCollection b(std::move(a));
    NameValueCollection c;
    c = std::move(b);
    a = std::move(c);
    for (NameValueCollection* empty : {&b, &c}) {
        EXPECT_FALSE(empty->has("Accept"));
        *empty = sample();
        EXPECT_EQ(empty->get("HOST"), "h");
    }
    EXPECT_EQ(a, sample());
}

TEST(NameValueCollectionTest, SwapExchangesEntriesAndLookUps) {
    NameValueCollection a = sample();
    NameValueCollection b{{"x", "1"}};
    std::swap(a, b);
    EXPECT_EQ(b, sample());
    EXPECT_EQ(b.get("host"), "h");
    EXPECT_EQ(a.get("X"), "1");
    EXPECT_FALSE(a.has("host"));
}

static_assert(std::is_nothrow_move_constructible_v<NameValueCollection>);
static_assert(std::is_nothrow_move_assignable_v<NameValueCollection>);
static_assert(std::is_nothrow_destructible_v<NameValueCollection>);

// Modifiers.

TEST(NameValueCollectionTest, AddOfAPairAppends) {
    NameValueCollection collection = sample();
    collection.add(NameValueCollection::value_type("ACCEPT", "c"));
    EXPECT_EQ(collection.getAll("accept"), (Strings{"a", "b", "c"}));
    EXPECT_EQ(std::prev(collection.end())->first, "ACCEPT");
}

TEST(NameValueCollectionTest, AddTakesCopiesOfItsOwnEntries) {
    NameValueCollection collection = sample();
    collection.add(*collection.begin());
    collection.add(collection.begin()->first, collection.begin()->second);
    EXPECT_EQ(collection.getAll("Accept"), (Strings{"a", "b", "a", "a"}));
}

TEST(NameValueCollectionTest, SetChangesTheEarliestMatchOnly) {
    NameValueCollection collection = sample();
    collection.set("ACCEPT", "c");
    EXPECT_THAT(collection,
                ElementsAre(Pair("Accept", "c"), Pair("Host", "h"), Pair("accept", "b")));
}

TEST(NameValueCollectionTest, SetOfAnAbsentNameAppends) {
    NameValueCollection collection = sample();
    collection.set("Age", "1");
    EXPECT_EQ(collection.size(), 4U);
    EXPECT_EQ(*std::prev(collection.end()), (NameValueCollection::value_type{"Age", "1"}));
    EXPECT_EQ(collection.get("AGE"), "1");
}

TEST(NameValueCollectionTest, SetTakesItsOwnStoredNameAndValue) {
    NameValueCollection collection = sample();
    collection.set(collection.begin()->first, std::next(collection.begin())->second);
    EXPECT_EQ(collection.get("Accept"), "h");
}

TEST(NameValueCollectionTest, EraseRemovesEveryMatchAndASecondEraseNothing) {
    NameValueCollection collection = sample();
    collection.erase("ACCEPT");
    EXPECT_THAT(collection, ElementsAre(Pair("Host", "h")));
    EXPECT_FALSE(collection.has("accept"));
    collection.erase("ACCEPT");
    EXPECT_THAT(collection, ElementsAre(Pair("Host", "h")));
}

TEST(NameValueCollectionTest, EraseTakesAStoredName) {
    NameValueCollection collection{{"a long enough name to live on the heap", "1"},
                                   {"b", "2"},
                                   {"A LONG ENOUGH NAME TO LIVE ON THE HEAP", "3"}};
    collection.erase(collection.begin()->first);
    EXPECT_THAT(collection, ElementsAre(Pair("b", "2")));
    collection.erase(collection.begin()->first);
    EXPECT_TRUE(collection.empty());
}

TEST(NameValueCollectionTest, EntryAddedAfterEraseIsTheOnlyMatch) {
    NameValueCollection collection = sample();
    collection.erase("Accept");
    collection.add("ACCEPT", "new");
    EXPECT_EQ(collection.getAll("accept"), (Strings{"new"}));
    EXPECT_THAT(collection, ElementsAre(Pair("Host", "h"), Pair("ACCEPT", "new")));
}

// Look-ups.

TEST(NameValueCollectionTest, GetReturnsACopyOfTheEarliestMatch) {
    NameValueCollection collection = sample();
    std::string value = collection.get("ACCEPT");
    value = "changed";
    EXPECT_EQ(collection.get("ACCEPT"), "a");
}

TEST(NameValueCollectionTest, GetOfAnAbsentNameThrowsAndLogs) {
    const NameValueCollection collection = sample();
    const LogCapture log;
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { collection.get("X"); }, "X not found."));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, "X not found.")));
}

TEST(NameValueCollectionTest, GetOfAnAbsentNameQuotesItAsGiven) {
    const NameValueCollection collection;
    const LogCapture log;
    EXPECT_TRUE(
        throwsExactly<std::out_of_range>([&] { collection.get("aCCept"); }, "aCCept not found."));
    EXPECT_TRUE(throwsExactly<std::out_of_range>([&] { collection.get(""); }, " not found."));
    EXPECT_THAT(log.records(),
                ElementsAre(coreRecord(512, "aCCept not found."), coreRecord(512, " not found.")));
}

TEST(NameValueCollectionTest, OnlyGetFailsForAnAbsentName) {
    NameValueCollection collection = sample();
    const LogCapture log;
    EXPECT_THAT(collection.getAll("X"), IsEmpty());
    EXPECT_FALSE(collection.has("X"));
    EXPECT_EQ(collection.find("X"), collection.end());
    collection.erase("X");
    collection.set("X", "1");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(NameValueCollectionTest, GetAllReservesTheExactCount) {
    const NameValueCollection collection{{"a", "1"}, {"A", "2"}, {"a", "3"}, {"b", "4"}};
    const Strings values = collection.getAll("a");
    EXPECT_EQ(values.size(), 3U);
    EXPECT_EQ(values.capacity(), 3U);
}

TEST(NameValueCollectionTest, HasTellsNamesFromTheirNeighbours) {
    const NameValueCollection collection{{"bb", "1"}, {"d", "2"}};
    EXPECT_TRUE(collection.has("BB"));
    EXPECT_TRUE(collection.has("D"));
    for (const char* absent : {"", "a", "b", "bbb", "c", "e"}) {
        EXPECT_FALSE(collection.has(absent)) << absent;
    }
}

TEST(NameValueCollectionTest, FindReturnsThePositionOfTheEarliestMatch) {
    const NameValueCollection collection = sample();
    EXPECT_EQ(collection.find("ACCEPT"), collection.begin());
    EXPECT_EQ(collection.find("host"), std::next(collection.begin()));
    EXPECT_EQ(collection.find("host")->second, "h");
    EXPECT_EQ(collection.find("X"), collection.end());
    static_assert(std::is_same_v<decltype(std::declval<NameValueCollection&>().find("")),
                                 NameValueCollection::const_iterator>);
}

TEST(NameValueCollectionTest, SizeCountsDuplicates) {
    NameValueCollection collection = sample();
    static_assert(std::is_same_v<decltype(collection.size()), std::uint64_t>);
    EXPECT_EQ(collection.size(), 3U);
    EXPECT_FALSE(collection.empty());
    collection.erase("accept");
    EXPECT_EQ(collection.size(), 1U);
}

TEST(NameValueCollectionTest, EmptyNameIsANameLikeAnyOther) {
    NameValueCollection collection{{"", "1"}, {"", "2"}};
    EXPECT_TRUE(collection.has(""));
    EXPECT_EQ(collection.getAll(""), (Strings{"1", "2"}));
    collection.erase("");
    EXPECT_TRUE(collection.empty());
}

TEST(NameValueCollectionTest, NamesAreComparedUpToTheirFirstNul) {
    const std::string longer("ab\0cd", 5);
    NameValueCollection collection;
    collection.add(longer, "1");
    EXPECT_EQ(collection.get("ab"), "1");
    EXPECT_EQ(collection.get(std::string("AB\0xyz", 6)), "1");
    EXPECT_FALSE(collection.has("abcd"));
    EXPECT_EQ(collection.begin()->first, longer);
    EXPECT_NE(collection, (NameValueCollection{{"ab", "1"}}));
    collection.set("ab", "2");
    EXPECT_EQ(collection.begin()->first, longer);
    collection.erase("ab");
    EXPECT_TRUE(collection.empty());
}

TEST(NameValueCollectionTest, LettersBeyondAsciiAreNotFolded) {
    const NameValueCollection latin{{"\xC9", "1"}};
    EXPECT_TRUE(latin.has("\xC9"));
    EXPECT_FALSE(latin.has("\xE9"));
    const NameValueCollection utf8{{"\xC3\x89", "1"}};
    EXPECT_FALSE(utf8.has("\xC3\xA9"));
}

TEST(NameValueCollectionTest, ConcurrentReadsOfOneCollectionAgree) {
    const NameValueCollection collection = sample();
    std::vector<std::thread> readers;
    std::vector<int> wrong(4, 0);
    for (int& mistakes : wrong) {
        readers.emplace_back([&collection, &mistakes] {
            for (int turn = 0; turn < 500; ++turn) {
                const bool right = collection.getAll("ACCEPT") == Strings{"a", "b"} &&
                                   collection.get("host") == "h" && !collection.has("x") &&
                                   NameValueCollection(collection) == collection;
                mistakes += right ? 0 : 1;
            }
        });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
    EXPECT_THAT(wrong, ::testing::Each(0));
}

// Iterators.

static_assert(std::bidirectional_iterator<iterator>);
static_assert(std::bidirectional_iterator<const_iterator>);
static_assert(!std::random_access_iterator<iterator>);
static_assert(std::indirectly_writable<iterator, NameValueCollection::value_type>);
static_assert(!std::indirectly_writable<const_iterator, NameValueCollection::value_type>);
static_assert(std::sentinel_for<const_iterator, iterator>);
static_assert(std::is_convertible_v<iterator, const_iterator>);
static_assert(!std::is_constructible_v<iterator, const_iterator>);
static_assert(std::is_same_v<std::iterator_traits<iterator>::iterator_category,
                             std::bidirectional_iterator_tag>);
static_assert(
    std::is_same_v<std::iter_value_t<const_iterator>, std::pair<std::string, std::string>>);
static_assert(std::is_same_v<std::iter_reference_t<iterator>, NameValueCollection::value_type&>);
static_assert(
    std::is_same_v<std::iter_reference_t<const_iterator>, const NameValueCollection::value_type&>);

TEST(NameValueCollectionTest, IterationGivesInsertionOrderInBothDirections) {
    NameValueCollection collection{{"b", "1"}, {"a", "2"}, {"C", "3"}};
    const NameValueCollection& constant = collection;
    EXPECT_EQ(Entries(collection.begin(), collection.end()),
              (Entries{{"b", "1"}, {"a", "2"}, {"C", "3"}}));
    EXPECT_EQ(Entries(constant.begin(), constant.end()),
              Entries(collection.begin(), collection.end()));
    EXPECT_EQ(Entries(collection.cbegin(), collection.cend()),
              Entries(constant.begin(), constant.end()));
    EXPECT_EQ(Entries(std::make_reverse_iterator(collection.end()),
                      std::make_reverse_iterator(collection.begin())),
              (Entries{{"C", "3"}, {"a", "2"}, {"b", "1"}}));
    static_assert(std::is_same_v<decltype(collection.begin()), iterator>);
    static_assert(std::is_same_v<decltype(collection.end()), iterator>);
    static_assert(std::is_same_v<decltype(constant.begin()), const_iterator>);
    static_assert(std::is_same_v<decltype(constant.end()), const_iterator>);
    static_assert(std::is_same_v<decltype(collection.cbegin()), const_iterator>);
    static_assert(std::is_same_v<decltype(collection.cend()), const_iterator>);
}

TEST(NameValueCollectionTest, IteratorStepsReturnTheRightPosition) {
    NameValueCollection collection{{"a", "1"}, {"b", "2"}};
    iterator position = collection.begin();
    EXPECT_EQ((position++)->first, "a");
    EXPECT_EQ(position->first, "b");
    EXPECT_EQ((position--)->first, "b");
    EXPECT_EQ((++position)->first, "b");
    EXPECT_EQ((--position)->first, "a");
    EXPECT_EQ(position.operator->(), &*collection.begin());
}

TEST(NameValueCollectionTest, MutableAndConstantIteratorsMix) {
    NameValueCollection collection = sample();
    const_iterator constant = collection.begin();
    EXPECT_TRUE(constant == collection.begin());
    EXPECT_TRUE(collection.begin() == constant);
    EXPECT_TRUE(constant != collection.end());
    EXPECT_TRUE(collection.end() != constant);
    constant = collection.end();
    EXPECT_TRUE(constant == collection.cend());
    EXPECT_EQ(std::distance<const_iterator>(collection.begin(), constant), 3);
}

TEST(NameValueCollectionTest, DefaultIteratorsCompareEqual) {
    EXPECT_EQ(iterator(), iterator());
    EXPECT_EQ(const_iterator(), const_iterator());
    EXPECT_EQ(const_iterator(), iterator());
}

TEST(NameValueCollectionTest, IteratorsWorkWithStandardAlgorithms) {
    NameValueCollection collection = sample();
    EXPECT_EQ(std::ranges::find(collection, "h", &NameValueCollection::value_type::second),
              collection.find("host"));
    EXPECT_EQ(std::count_if(collection.begin(), collection.end(),
                            [](const auto& entry) { return entry.second < "c"; }),
              2);
    EXPECT_EQ(std::accumulate(collection.cbegin(), collection.cend(), std::string(),
                              [](std::string all, const auto& e) { return all + e.second; }),
              "ahb");
    std::reverse(collection.begin(), collection.end());
    EXPECT_THAT(collection,
                ElementsAre(Pair("accept", "b"), Pair("Host", "h"), Pair("Accept", "a")));
    std::ranges::for_each(collection, [](auto& entry) { entry.second += "!"; });
    EXPECT_EQ(std::ranges::next(collection.begin(), 2)->second, "a!");
}

TEST(NameValueCollectionTest, ValueWrittenThroughAnIteratorIsFound) {
    NameValueCollection collection = sample();
    for (auto& [name, value] : collection) {
        value += "1";
    }
    EXPECT_EQ(collection.getAll("Accept"), (Strings{"a1", "b1"}));
}

TEST(NameValueCollectionTest, NameWrittenThroughAnIteratorIsPrintedButNotFound) {
    NameValueCollection collection = sample();
    collection.begin()->first = "Renamed";
    EXPECT_EQ(print(collection), "Renamed=a&Host=h&accept=b");
    EXPECT_FALSE(collection.has("Renamed"));
    EXPECT_EQ(collection.getAll("Accept"), (Strings{"a", "b"}));
    EXPECT_EQ(collection.find("accept"), collection.begin());
    collection.set("Accept", "c");
    EXPECT_EQ(print(collection), "Renamed=c&Host=h&accept=b");
    collection.erase("ACCEPT");
    EXPECT_EQ(print(collection), "Host=h");
}

TEST(NameValueCollectionTest, CopyFindsANameWrittenThroughAnIterator) {
    NameValueCollection collection = sample();
    collection.begin()->first = "Renamed";
    const NameValueCollection copy(collection);
    EXPECT_EQ(copy.get("Renamed"), "a");
    EXPECT_EQ(copy.getAll("Accept"), (Strings{"b"}));
    NameValueCollection moved(std::move(collection));
    EXPECT_FALSE(moved.has("Renamed"));
    EXPECT_EQ(moved.getAll("Accept"), (Strings{"a", "b"}));
}

TEST(NameValueCollectionTest, IteratorsStayValidUntilTheirOwnEntryGoes) {
    NameValueCollection collection{{"keep", "1"}};
    const iterator kept = collection.begin();
    const std::string& value = kept->second;
    for (int i = 0; i < 200; ++i) {
        collection.add("other" + std::to_string(i % 7), "x");
    }
    for (int i = 0; i < 7; ++i) {
        collection.erase("other" + std::to_string(i));
    }
    collection.set("KEEP", "2");
    EXPECT_EQ(kept, collection.begin());
    EXPECT_EQ(kept->second, "2");
    EXPECT_EQ(value, "2");
    EXPECT_EQ(std::next(kept), collection.end());
}

TEST(NameValueCollectionTest, IteratorsFollowTheirEntriesAcrossMoves) {
    NameValueCollection source = sample();
    const iterator second = std::next(source.begin());
    const const_iterator third = std::next(source.cbegin(), 2);

    NameValueCollection constructed(std::move(source));
    EXPECT_EQ(second, constructed.find("host"));
    NameValueCollection assigned{{"x", "1"}};
    assigned = std::move(constructed);
    EXPECT_EQ(second, assigned.find("host"));
    EXPECT_EQ(std::next(second), third);
    EXPECT_EQ(std::prev(second), assigned.begin());
    EXPECT_EQ(std::next(third), assigned.cend());
    second->second = "written";
    EXPECT_EQ(assigned.get("host"), "written");

    NameValueCollection other{{"y", "2"}};
    const iterator ofOther = other.begin();
    std::swap(assigned, other);
    EXPECT_EQ(second, other.find("host"));
    EXPECT_EQ(ofOther, assigned.begin());
}

// Comparison.

struct ComparisonRow {
    const char* label;
    NameValueCollection a;
    NameValueCollection b;
    bool equal;
    friend std::ostream& operator<<(std::ostream& os, const ComparisonRow& row) {
        return os << row.label;
    }
};

class NameValueCollectionComparisonTest : public ::testing::TestWithParam<ComparisonRow> {};

TEST_P(NameValueCollectionComparisonTest, HeedsCaseAndOrder) {
    const ComparisonRow& row = GetParam();
    EXPECT_EQ(row.a == row.b, row.equal);
    EXPECT_EQ(row.b == row.a, row.equal);
    EXPECT_EQ(row.a != row.b, !row.equal);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    NameValueCollectionComparisonTest,
    ::testing::Values(
        ComparisonRow{"BothEmpty", {}, {}, true},
        ComparisonRow{"SameEntries", {{"a", "1"}, {"b", "2"}}, {{"a", "1"}, {"b", "2"}}, true},
        ComparisonRow{"OtherOrder", {{"a", "1"}, {"b", "2"}}, {{"b", "2"}, {"a", "1"}}, false},
        ComparisonRow{"OtherCaseOfName", {{"A", "1"}}, {{"a", "1"}}, false},
        ComparisonRow{"OtherCaseOfValue", {{"a", "x"}}, {{"a", "X"}}, false},
        ComparisonRow{"OneIsLonger", {{"a", "1"}}, {{"a", "1"}, {"a", "1"}}, false},
        ComparisonRow{"OneIsEmpty", {}, {{"", ""}}, false},
        ComparisonRow{"DifferentBehindANul",
                      {{std::string("a\0b", 3), "1"}},
                      {{std::string("a\0c", 3), "1"}},
                      false}),
    [](const auto& row) { return row.param.label; });

template <class T>
concept Ordered = requires(const T& a, const T& b) { a < b; };
static_assert(!Ordered<NameValueCollection>, "equality is the only comparison");

// Text.

TEST(NameValueCollectionTest, PrintsEntriesWithSeparatorsBetweenThem) {
    EXPECT_EQ((NameValueCollection{{"a", "1"}, {"b", "2"}}.toString("&", "=", identity)),
              "a=1&b=2");
    EXPECT_EQ((NameValueCollection{{"a", "1"}}.toString("&", "=", identity)), "a=1");
    EXPECT_EQ((NameValueCollection{{"", ""}, {"", ""}}.toString(", ", ": ", identity)), ": , : ");
    EXPECT_EQ((NameValueCollection{{"a", "1"}, {"a", "1"}}.toString("", "", identity)), "a1a1");
}

TEST(NameValueCollectionTest, TextsOfEveryLengthArePrintedAsTheyAreStored) {
    constexpr std::size_t longest = 100;
    std::string alphabet;
    for (std::size_t i = 0; i < longest; ++i) {
        alphabet += static_cast<char>('!' + i % 90);
    }
    for (std::size_t length = 0; length <= longest; ++length) {
        const std::string text = alphabet.substr(0, length);
        const std::string reversed(text.rbegin(), text.rend());
        const NameValueCollection collection{{text, reversed}, {"n", "v"}};
        EXPECT_EQ(collection.toString(reversed, text, identityEncoder),
                  text + text + reversed + reversed + "n" + text + "v");
    }
}

TEST(NameValueCollectionTest, EmptyCollectionPrintsNothingAndNeverCallsTheEncoder) {
    const NameValueCollection empty;
    int calls = 0;
    const auto counting = [&calls](std::string text) {
        ++calls;
        return text;
    };
    EXPECT_EQ(empty.toString("&", "=", counting), "");
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(empty.toString("&", "=", nullptr), "");
    std::ostringstream os;
    EXPECT_EQ(&empty.toStream(os, "&", "=", nullptr), &os);
    EXPECT_EQ(os.str(), "");
}

TEST(NameValueCollectionTest, EncoderGetsEachValueAndThenItsName) {
    const NameValueCollection collection{{"a", "1"}, {"b", "2"}};
    Strings calls;
    const auto encoder = [&calls](std::string text) {
        calls.push_back(text);
        return "<" + text + ">";
    };
    EXPECT_EQ(collection.toString("&", "=", encoder), "<a>=<1>&<b>=<2>");
    EXPECT_EQ(calls, (Strings{"1", "a", "2", "b"}));
}

TEST(NameValueCollectionTest, EncoderRunsBeforeItsEntryIsWritten) {
    const NameValueCollection collection{{"a", "1"}, {"b", "2"}};
    std::ostringstream os;
    Strings written;
    collection.toStream(os, "&", "=", [&](std::string text) {
        written.push_back(os.str());
        return text;
    });
    EXPECT_EQ(written, (Strings{"", "", "a=1", "a=1"}));
    EXPECT_EQ(os.str(), "a=1&b=2");
}

TEST(NameValueCollectionTest, ToStreamReturnsItsStreamAndAppends) {
    const NameValueCollection collection{{"a", std::string("1\0", 2)}, {"b", "2"}};
    std::ostringstream os;
    os << "?";
    EXPECT_EQ(&collection.toStream(os, "&", "=", identity), &os);
    EXPECT_EQ(os.str(), "?" + collection.toString("&", "=", identity));
    EXPECT_EQ(os.str(), std::string("?a=1\0&b=2", 9));
}

TEST(NameValueCollectionTest, EmptyEncoderThrowsBeforeAnythingIsWritten) {
    const NameValueCollection collection = sample();
    const std::string text = std::bad_function_call().what();
    EXPECT_TRUE(throwsExactly<std::bad_function_call>(
        [&] { collection.toString("&", "=", nullptr); }, text));
    std::ostringstream os;
    EXPECT_TRUE(throwsExactly<std::bad_function_call>(
        [&] { collection.toStream(os, "&", "=", nullptr); }, text));
    EXPECT_EQ(os.str(), "");
}

TEST(NameValueCollectionTest, ThrowingEncoderLeavesEarlierEntriesWritten) {
    const NameValueCollection collection{{"a", "1"}, {"b", "2"}};
    std::ostringstream os;
    EXPECT_TRUE(throwsExactly<std::runtime_error>(
        [&] {
            collection.toStream(os, "&", "=", [](std::string text) {
                if (text == "b") {
                    throw std::runtime_error("refused");
                }
                return text;
            });
        },
        "refused"));
    EXPECT_EQ(os.str(), "a=1");
}

// The order of names.

int foldedByte(char character) {
    const int byte = static_cast<unsigned char>(character);
    return byte >= 'A' && byte <= 'Z' ? byte - 'A' + 'a' : byte;
}

TEST(NameValueCollectionTest, ComparatorFoldsTheAsciiLettersAndNoOtherByte) {
    const NameValueCollection::CaseInsensitiveCompare less;
    for (int i = 1; i < 256; ++i) {
        for (int j = 1; j < 256; ++j) {
            const std::string a(1, static_cast<char>(i));
            const std::string b(1, static_cast<char>(j));
            ASSERT_EQ(less(a, b), foldedByte(a[0]) < foldedByte(b[0])) << i << " " << j;
        }
    }
}

TEST(NameValueCollectionTest, ComparatorOrdersPrefixesFirstAndStopsAtNul) {
    const NameValueCollection::CaseInsensitiveCompare less;
    EXPECT_TRUE(less("", "a"));
    EXPECT_TRUE(less("AB", "abc"));
    EXPECT_FALSE(less("abc", "AB"));
    EXPECT_FALSE(less(std::string("ab\0a", 4), std::string("AB\0b", 4)));
    EXPECT_FALSE(less(std::string("ab\0b", 4), "ab"));
}

TEST(NameValueCollectionTest, ComparatorStaysUsableAfterAMove) {
    NameValueCollection::CaseInsensitiveCompare source;
    NameValueCollection::CaseInsensitiveCompare target(std::move(source));
    EXPECT_TRUE(source("A", "b"));
    target = std::move(source);
    EXPECT_TRUE(source("A", "b"));
    EXPECT_TRUE(target("A", "b"));
}

TEST(NameValueCollectionTest, ProgramLocaleDoesNotChangeTheOrder) {
    const NameValueCollection::CaseInsensitiveCompare less;
    const std::string before = ::setlocale(LC_ALL, nullptr);
    for (const char* name : {"C.UTF-8", "POSIX", ""}) {
        ::setlocale(LC_ALL, name);
        EXPECT_FALSE(less("I", "i")) << name;
        EXPECT_TRUE(less("\xC9", "\xE9")) << name;
    }
    ::setlocale(LC_ALL, before.c_str());
}

}  // namespace
}  // namespace foundation::httpclient_core
