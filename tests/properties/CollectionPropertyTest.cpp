#include "tests/properties/Property.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

// The laws that the operations of a collection keep among themselves. That each of them does what its
// documentation says is for the tests against the model.
namespace foundation::httpclient_core {
namespace {

using testing::CaseRandom;
using testing::forAllCases;

using Pairs = std::vector<std::pair<std::string, std::string>>;

class CollectionPropertyTest : public ::testing::Test {
protected:
    // Few names, so that the same one comes up in several spellings.
    static std::string anyName(CaseRandom& random) {
        return random.oneIn(10) ? random.bytes("aAbB-", 30) : random.text("aAbB", 0, 2);
    }
    static NameValueCollection anyCollection(CaseRandom& random) {
        NameValueCollection value;
        for (std::size_t i = random.below(12); i > 0; --i) {
            value.add(anyName(random), random.text("xyz", 0, 3));
        }
        return value;
    }
    static Pairs pairsOf(const NameValueCollection& value) { return {value.begin(), value.end()}; }

    testing::LogCapture log;
};

TEST_F(CollectionPropertyTest, AddPutsItsPairBehindAllOthersOfItsName) {
    forAllCases([](CaseRandom& random) {
        NameValueCollection value = anyCollection(random);
        const std::string name = anyName(random);
        const std::string other = anyName(random);
        std::vector<std::string> values = value.getAll(name);
        const bool had = value.has(name);
        const std::vector<std::string> others = value.getAll(other);
        const std::uint64_t size = value.size();
        value.add(name, "new");
        values.emplace_back("new");
        ASSERT_EQ(value.getAll(name), values) << name;
        ASSERT_EQ(value.size(), size + 1);
        ASSERT_EQ(value.get(name), had ? values.front() : "new");
        // Names are equal for all look-ups or for none.
        const bool sameName = value.getAll(other).size() != others.size();
        ASSERT_EQ(value.getAll(other), sameName ? values : others) << name << " " << other;
    });
}

TEST_F(CollectionPropertyTest, SetChangesOneValueOrAddsOnePair) {
    forAllCases([](CaseRandom& random) {
        NameValueCollection value = anyCollection(random);
        const std::string name = anyName(random);
        Pairs expected = pairsOf(value);
        const auto place = static_cast<std::size_t>(
            std::distance(std::as_const(value).begin(), std::as_const(value).find(name)));
        if (place == expected.size()) {
            expected.emplace_back(name, "new");
        } else {
            expected[place].second = "new";
        }
        value.set(name, "new");
        ASSERT_EQ(pairsOf(value), expected) << name;
        ASSERT_EQ(value.get(name), "new");
        value.set(name, "new");
        ASSERT_EQ(pairsOf(value), expected) << "a second time";
    });
}

TEST_F(CollectionPropertyTest, EraseLeavesTheOthersInOrderAndOrderOfErasuresDoesNotMatter) {
    forAllCases([](CaseRandom& random) {
        NameValueCollection value = anyCollection(random);
        const std::string name = anyName(random);
        const std::string other = anyName(random);
        NameValueCollection inOtherOrder = value;
        const std::uint64_t size = value.size();
        const std::size_t count = value.getAll(name).size();
        value.erase(name);
        ASSERT_FALSE(value.has(name)) << name;
        ASSERT_TRUE(value.getAll(name).empty());
        ASSERT_TRUE(value.find(name) == std::as_const(value).end());
        ASSERT_EQ(value.size(), size - count);
        const NameValueCollection once = value;
        value.erase(name);
        ASSERT_TRUE(value == once) << "a second time";
        value.erase(other);
        inOtherOrder.erase(other);
        inOtherOrder.erase(name);
        ASSERT_TRUE(value == inOtherOrder) << name << " " << other;
        // What was erased comes back at the end.
        value.add(name, "back");
        ASSERT_EQ(value.getAll(name), std::vector<std::string>{"back"});
    });
}

TEST_F(CollectionPropertyTest, LookUpsOfAllNamesFindEachPairOnce) {
    forAllCases([](CaseRandom& random) {
        const NameValueCollection value = anyCollection(random);
        NameValueCollection rest = value;
        std::uint64_t found = 0;
        while (!rest.empty()) {
            const std::string name = rest.begin()->first;
            ASSERT_TRUE(value.has(name));
            ASSERT_EQ(value.get(name), value.getAll(name).front());
            ASSERT_EQ(value.find(name)->second, value.get(name));
            found += value.getAll(name).size();
            rest.erase(name);
        }
        ASSERT_EQ(found, value.size());
    });
}

TEST_F(CollectionPropertyTest, EqualityIsThatOfThePairs) {
    forAllCases([](CaseRandom& random) {
        const NameValueCollection one = anyCollection(random);
        const NameValueCollection other = random.oneIn(2) ? anyCollection(random) : one;
        ASSERT_EQ(one == other, pairsOf(one) == pairsOf(other));
        ASSERT_EQ(other == one, one == other);
        NameValueCollection rebuilt;
        for (const auto& [name, text] : one) {
            rebuilt.add(name, text);
        }
        ASSERT_TRUE(rebuilt == one);
        if (!one.empty()) {
            rebuilt.begin()->second += "x";
            ASSERT_FALSE(rebuilt == one);
        }
    });
}

TEST_F(CollectionPropertyTest, TextIsThePairsJoined) {
    forAllCases([](CaseRandom& random) {
        const NameValueCollection value = anyCollection(random);
        const std::string between = random.text("&; ", 0, 2);
        const std::string within = random.text("=:", 0, 2);
        std::string expected;
        for (const auto& [name, text] : pairsOf(value)) {
            expected.append(between)
                .append("<" + name + ">")
                .append(within)
                .append("<" + text + ">");
        }
        // The first pair has nothing in front.
        expected.erase(0, value.empty() ? 0 : between.size());
        ASSERT_EQ(
            value.toString(between, within, [](std::string text) { return "<" + text + ">"; }),
            expected);
    });
}

}  // namespace
}  // namespace foundation::httpclient_core
