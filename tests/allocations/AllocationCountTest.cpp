#include "benchmarks/sides/Library.h"
#include "benchmarks/support/Row.h"
#include "benchmarks/workloads/ExchangeWorkloads.h"
#include "benchmarks/workloads/HeaderWorkloads.h"
#include "benchmarks/workloads/TextWorkloads.h"
#include "benchmarks/workloads/URLWorkloads.h"
#include "tests/support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <ostream>
#include <set>
#include <string>

// How often the library's side of each benchmark allocates. Exact, both ways: fewer is a change that
// belongs into the table as well.
namespace foundation::httpclient_core::benchmarks {
namespace {

struct Count {
    const char* row;
    /// Beside one for each string of more than 15 characters that the result has to hold, which the
    /// workload counts itself.
    std::uint64_t besideLong;
};

std::ostream& operator<<(std::ostream& os, const Count& count) {
    return os << count.row;
}

constexpr Count counts[] = {
    {"Build 14 headers", 2},
    {"Build 18 headers", 2},
    {"Build 60 headers", 4},
    {"Look-up hit in 18", 0},
    {"Look-up hit in 60", 0},
    {"Look-up hit in 10000", 0},
    {"Look-up miss in 18", 0},
    {"Look-up miss in 60", 0},
    {"getAll 4 of 18", 1},
    {"Copy 14 headers", 1},
    {"Copy 60 headers", 2},
    {"Erase one of 18 and add it again", 0},
    {"Parse 18 header lines", 2},
    {"Print 14 headers", 1},
    {"Percent-encode 4 kB plain", 1},
    {"Percent-encode 4 kB prose", 1},
    {"Percent-encode 4 kB UTF-8", 1},
    {"Percent-encode 20 bytes", 1},
    {"Percent-decode 4 kB plain", 1},
    {"Percent-decode 4 kB prose", 1},
    {"Percent-decode 4 kB UTF-8", 1},
    {"Percent-decode 20 bytes", 1},
    {"URL split and read, 19 characters", 1},
    {"URL split, 19 characters", 1},
    {"URL split and print, 19 characters", 2},
    {"URL split and read, 85 characters", 1},
    {"URL split, 85 characters", 1},
    {"URL split and print, 85 characters", 2},
    {"URL split and read, 480 characters", 1},
    {"URL split, 480 characters", 1},
    {"URL split and print, 480 characters", 2},
    {"Query of 20: parse", 1},
    {"Query of 20: print", 1},
    {"Media type, 1 parameter", 1},
    {"Media type, 3 parameters", 1},
    {"Accept of 6", 3},
    {"Cookie of 6", 1},
    {"Set-Cookie", 1},
    {"Build a request", 4},
    {"makeRequest", 19},
    {"makeAsyncRequest with a handler", 22},
    {"makeAsyncRequest with a future", 24},
};

template <class Visit>
void libraryWorkloads(const Visit& visit) {
    headerWorkloads<LibraryHeaders>(visit);
    percentWorkloads<LibraryTexts>(visit);
    urlWorkloads<LibraryURL>(visit);
    queryWorkloads<LibraryQuery>(visit);
    headerTextWorkloads<LibraryTexts>(visit);
    exchangeWorkloads(visit);
}

class AllocationCountTest : public ::testing::TestWithParam<Count> {};

TEST_P(AllocationCountTest, IsExact) {
    const Count& expected = GetParam();
    int found = 0;
    libraryWorkloads([&](const Row& row, const auto& prepare) {
        if (row.name != expected.row) {
            return;
        }
        ++found;
        auto operation = prepare();
        // What the first call sets up for good is not counted.
        static_cast<void>(operation());
        const std::uint64_t allocations =
            testing::allocationsOf([&] { static_cast<void>(operation()); });
        EXPECT_EQ(allocations, row.longStrings + expected.besideLong)
            << row.longStrings << " of them for long strings";
    });
    EXPECT_EQ(found, 1);
}

INSTANTIATE_TEST_SUITE_P(Rows,
                         AllocationCountTest,
                         ::testing::ValuesIn(counts),
                         [](const auto& row) {
                             std::string name = row.param.row;
                             std::erase_if(name, [](unsigned char c) { return !std::isalnum(c); });
                             return name;
                         });

TEST(AllocationCountTableTest, NamesEveryRow) {
    std::set<std::string> rows;
    libraryWorkloads([&rows](const Row& row, const auto&) { rows.insert(row.name); });
    std::set<std::string> named;
    for (const Count& count : counts) {
        named.insert(count.row);
    }
    EXPECT_EQ(rows, named);
}

TEST(AllocationCountTableTest, LongStringsAreThoseThatNeedMemory) {
    for (const std::string& text : {std::string(15, 'x'), std::string(16, 'x')}) {
        EXPECT_EQ(testing::allocationsOf([&text] { const std::string copy(text); }),
                  samples::isLong(text) ? 1U : 0U);
    }
    EXPECT_EQ(samples::longStrings({{"sixteen letters!", "sixteen letters!"}, {"15", "letters"}}),
              2U);
    EXPECT_EQ(samples::longValues(samples::headers(18), "Set-Cookie"), 4U);
    EXPECT_EQ(samples::longPieces("text/html;a=sixteen-letters!, sixteen-letters!"), 2U);
    EXPECT_EQ(samples::longParts(19), 0U);
    EXPECT_EQ(samples::longParts(85), 2U);
}

}  // namespace
}  // namespace foundation::httpclient_core::benchmarks
