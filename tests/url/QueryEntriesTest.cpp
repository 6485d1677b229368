#include "url/QueryEntries.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs entriesOf(std::string_view query) {
    Pairs pairs;
    for (QueryEntries entries(query); entries.next();) {
        pairs.emplace_back(entries.key(), entries.value());
    }
    return pairs;
}

TEST(QueryEntriesTest, CutsAndDecodes) {
    QueryEntries entries("a+b=c%20d&e");
    ASSERT_TRUE(entries.next());
    EXPECT_EQ(entries.key(), "a b");
    EXPECT_EQ(entries.value(), "c d");
    ASSERT_TRUE(entries.next());
    EXPECT_EQ(entries.key(), "e");
    EXPECT_EQ(entries.value(), "");
    EXPECT_FALSE(entries.next());
    EXPECT_FALSE(entries.next());
}

struct Row {
    const char* label;
    const char* text;
    Pairs entries;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class QueryEntriesTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(QueryEntriesTableTest, Cuts) {
    EXPECT_EQ(entriesOf(GetParam().text), GetParam().entries);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    QueryEntriesTableTest,
    ::testing::Values(Row{"Empty", "", {}},
                      Row{"SeparatorsOnly", "&&&", {}},
                      Row{"EmptyEntriesAreSkipped", "&a=1&&b=2&", {{"a", "1"}, {"b", "2"}}},
                      Row{"EmptyKeyStays", "=d&=", {{"", "d"}, {"", ""}}},
                      Row{"FirstEqualsCuts", "a==b=c", {{"a", "=b=c"}}},
                      Row{"NoValueAfterAValue", "a=%31&b", {{"a", "1"}, {"b", ""}}},
                      Row{"KeyAlone", "a%3Db", {{"a=b", ""}}},
                      Row{"ValueAlone", "a=b%26c+", {{"a", "b&c "}}}),
    [](const auto& row) { return row.param.label; });

TEST(QueryEntriesTest, LongPiecesAreDecodedAsShortOnes) {
    for (std::size_t size = 250; size <= 260; ++size) {
        const std::string key = "%6B" + std::string(size - 3, 'k');
        const std::string value = "%76" + std::string(size - 3, '+');
        const Pairs expected = {{std::string(size - 2, 'k'), "v" + std::string(size - 3, ' ')},
                                {"a", "1 "},
                                {std::string(size - 2, 'k'), ""}};
        EXPECT_EQ(entriesOf(key + "=" + value + "&a=1+&" + key), expected) << size;
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
