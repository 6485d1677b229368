#include "headers/NameTable.h"
#include "tests/headers/RandomRun.h"
#include "tests/support/RandomRuns.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::RandomRun;
using testing::randomRuns;

constexpr std::size_t slots = 16;

std::unique_ptr<StoredEntry> entryNamed(const std::string& name) {
    return std::make_unique<StoredEntry>(FoldedName(SoughtName(name)), nullptr, name, "");
}

// Names that all want one of the last two of 16 slots, so that they push each other around the end.
std::vector<std::string> crowdedNames(std::size_t count) {
    std::vector<std::string> names;
    for (int number = 0; names.size() < count; ++number) {
        std::string name = "n" + std::to_string(number);
        if (FoldedName(SoughtName(name)).hash() % slots >= slots - 2) {
            names.push_back(std::move(name));
        }
    }
    return names;
}

StoredEntry* find(const NameTable& table, const std::string& name) {
    return table.find(FoldedName(SoughtName(name)));
}

TEST(NameTableTest, IsNotInUseBeforeRoomIsMade) {
    NameTable table;
    EXPECT_FALSE(table.isInUse());
    table.reserve(1);
    EXPECT_TRUE(table.isInUse());
    EXPECT_EQ(find(table, "a"), nullptr);
}

TEST(NameTableTest, CrowdedNamesAreFoundAfterEveryInsertionAndErasure) {
    RandomRun random(randomRuns(100000));
    SCOPED_TRACE(::testing::Message() << random);
    const std::vector<std::string> names = crowdedNames(slots / 2);
    std::vector<std::unique_ptr<StoredEntry>> entries(names.size());
    NameTable table;
    table.reserve(names.size());
    for (std::uint64_t turn = 0; turn < random.operations(); ++turn) {
        const std::size_t choice = random.below(names.size());
        if (entries[choice] == nullptr) {
            entries[choice] = entryNamed(names[choice]);
            table.insert(*entries[choice]);
        } else {
            table.erase(*entries[choice]);
            entries[choice].reset();
        }
        for (std::size_t i = 0; i < names.size(); ++i) {
            ASSERT_EQ(find(table, names[i]), entries[i].get()) << "turn " << turn;
        }
    }
}

TEST(NameTableTest, KeepsItsNamesWhenItGrows) {
    NameTable table;
    std::vector<std::unique_ptr<StoredEntry>> entries;
    for (std::size_t number = 0; number < 1000; ++number) {
        table.reserve(number + 1);
        entries.push_back(entryNamed("n" + std::to_string(number)));
        table.insert(*entries.back());
    }
    for (std::size_t number = 0; number < entries.size(); ++number) {
        ASSERT_EQ(find(table, "N" + std::to_string(number)), entries[number].get());
    }
    EXPECT_EQ(find(table, "n1000"), nullptr);
}

}  // namespace
}  // namespace foundation::httpclient_core
