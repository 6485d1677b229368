#include "tests/headers/CollectionModelRun.h"
#include "tests/headers/RandomRun.h"
#include "tests/headers/ReferenceCollection.h"
#include "tests/support/LogCapture.h"
#include "tests/support/RandomRuns.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::RandomRun;
using testing::randomRuns;
using testing::ReferenceCollection;
using testing::collection::manyNames;
using testing::collection::ModelRun;
using testing::collection::names;

void runAgainstTheModel(RandomRun& random, const std::vector<std::string>& names) {
    SCOPED_TRACE(::testing::Message() << random);
    std::cout << random << '\n';
    // Failing look-ups write records; nothing of them is to reach the terminal.
    testing::LogCapture log;
    ModelRun run(random, names);
    for (std::uint64_t operation = 0; operation < random.operations(); ++operation) {
        const char* const what = run.step();
        ASSERT_TRUE(run.check()) << "operation " << operation << ": " << what;
        if (operation % 4096 == 0) {
            ASSERT_TRUE(run.checkEverything()) << "operation " << operation << ": " << what;
            log.clear();
        }
        ASSERT_FALSE(::testing::Test::HasFailure()) << "operation " << operation << ": " << what;
    }
    ASSERT_TRUE(run.checkEverything());
}

TEST(NameValueCollectionModelTest, RandomOperationsGiveTheResultsOfTheModel) {
    RandomRun random(randomRuns(1000000));
    runAgainstTheModel(random, names());
}

TEST(NameValueCollectionModelTest, RandomOperationsOnManyNamesGiveTheResultsOfTheModel) {
    RandomRun random(randomRuns(50000));
    runAgainstTheModel(random, manyNames());
}

// Both sides are given the same wrong look-up rule only if they share it, so the model is held to the
// documented results once by hand.
TEST(NameValueCollectionModelTest, ModelGivesTheDocumentedResults) {
    ReferenceCollection model{{"Accept", "a"}, {"accept", "b"}};
    model.set("ACCEPT", "c");
    model.add(std::string("ab\0cd", 5), "d");
    EXPECT_EQ(model.get("accept"), "c");
    EXPECT_EQ(model.getAll("aCcEpT"), (std::vector<std::string>{"c", "b"}));
    EXPECT_EQ(model.get("AB"), "d");
    EXPECT_EQ(model.begin()->first, "Accept");
    EXPECT_FALSE(model.has("\xE9"));
    EXPECT_EQ(model.toString("&", "=", [](std::string text) { return text.substr(0, 2); }),
              "Ac=c&ac=b&ab=d");
    model.begin()->first = "Renamed";
    EXPECT_TRUE(model.has("Accept"));
    EXPECT_FALSE(model.has("Renamed"));
    ReferenceCollection copy;
    copy = model;
    EXPECT_TRUE(copy.has("Renamed"));
    model.erase("ACCEPT");
    EXPECT_EQ(model.size(), 1U);
    EXPECT_EQ(copy.size(), 3U);
    ReferenceCollection moved(std::move(copy));
    EXPECT_EQ(moved.getAll("accept"), (std::vector<std::string>{"b"}));
    try {
        model.get("X");
        ADD_FAILURE();
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "X not found.");
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
