#include "headers/FoldedName.h"
#include "tests/headers/RandomRun.h"
#include "tests/headers/ReferenceCollection.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::RandomRun;

// As a stored name is compared with a sought one.
bool isSame(const FoldedName& a, const FoldedName& b) {
    const std::unique_ptr<char[]> rest = a.copyRest();
    return a.size() == b.size() && b.hasWords(a.words()) &&
           (a.size() <= FoldedName::wordBytes || b.hasRest(rest.get()));
}

bool isSameByTheModel(const std::string& a, const std::string& b) {
    const testing::ReferenceCollection::CaseInsensitiveCompare less;
    return !less(a, b) && !less(b, a);
}

TEST(FoldedNameTest, FoldsTheAsciiLettersAndNoOtherByte) {
    for (int byte = 1; byte < 256; ++byte) {
        for (int other = 1; other < 256; ++other) {
            // In every place of a word, and where the words end.
            for (const std::size_t before : {0U, 6U, 7U, 30U, 31U, 32U}) {
                const std::string a = std::string(before, 'x') + static_cast<char>(byte);
                const std::string b = std::string(before, 'X') + static_cast<char>(other);
                ASSERT_EQ(isSame(FoldedName(a), FoldedName(b)), isSameByTheModel(a, b))
                    << byte << " and " << other << " after " << before;
            }
        }
    }
}

TEST(FoldedNameTest, EndsAtTheFirstNul) {
    for (std::size_t length = 0; length < 80; ++length) {
        const std::string name(length, 'n');
        for (const std::size_t tail : {0U, 1U, 7U, 40U}) {
            const std::string cut = name + '\0' + std::string(tail, 't');
            EXPECT_TRUE(isSame(FoldedName(name), FoldedName(cut))) << length << " and " << tail;
            EXPECT_EQ(FoldedName(cut).size(), length);
            EXPECT_EQ(FoldedName(cut).hash(), FoldedName(name).hash());
        }
    }
}

TEST(FoldedNameTest, TellsEveryByteOfALongNameApart) {
    for (std::size_t length = 1; length < 100; ++length) {
        const std::string name(length, 'n');
        for (std::size_t place = 0; place < length; ++place) {
            std::string other = name;
            other[place] = 'm';
            ASSERT_FALSE(isSame(FoldedName(name), FoldedName(other))) << place << " of " << length;
            ASSERT_NE(FoldedName(name).hash(), FoldedName(other).hash())
                << place << " of " << length;
        }
        ASSERT_FALSE(isSame(FoldedName(name), FoldedName(name + 'n'))) << length;
    }
}

TEST(FoldedNameTest, RandomNamesCompareAsTheModelSays) {
    RandomRun random(300000);
    SCOPED_TRACE(::testing::Message() << random);
    const std::string alphabet("aAbBzZ@[`{-\xC1\xE1\0", 14);
    std::size_t same = 0;
    for (std::uint64_t turn = 0; turn < random.operations(); ++turn) {
        const std::string a = random.text(alphabet, random.below(2) == 0 ? 3 : 70);
        std::string b = random.below(3) == 0 ? random.text(alphabet, 3) : a;
        for (char& byte : b) {
            if (byte >= 'A' && byte <= 'Z' && random.below(2) == 0) {
                byte = static_cast<char>(byte + ('a' - 'A'));
            }
        }
        if (!b.empty() && random.below(4) == 0) {
            b[random.below(b.size())] = alphabet[random.below(alphabet.size())];
        }
        const bool expected = isSameByTheModel(a, b);
        same += expected ? 1 : 0;
        ASSERT_EQ(isSame(FoldedName(a), FoldedName(b)), expected) << a << " and " << b;
        if (expected) {
            ASSERT_EQ(FoldedName(a).hash(), FoldedName(b).hash());
            ASSERT_EQ(FoldedName(a).mark(), FoldedName(b).mark());
        }
    }
    EXPECT_GT(same, random.operations() / 10);
}

// A hash that throws names together would be correct and slow.
TEST(FoldedNameTest, HashesAndMarksSpread) {
    constexpr std::size_t count = 4096;
    std::set<std::uint32_t> hashes;
    std::vector<std::size_t> buckets(512);
    for (std::size_t number = 0; number < count; ++number) {
        const FoldedName name("X-Field-" + std::to_string(number));
        hashes.insert(name.hash());
        EXPECT_NE(name.hash(), 0U);
        ++buckets[name.mark() % buckets.size()];
    }
    // One pair among 4096 of 2^32 is to be expected in one run of 500.
    EXPECT_GE(hashes.size(), count - 2);
    for (const std::size_t size : buckets) {
        EXPECT_LT(size, 40U);
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
