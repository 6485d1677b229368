#include "headers/FoldedName.h"
#include "tests/headers/RandomRun.h"
#include "tests/headers/ReferenceCollection.h"
#include "tests/support/RandomRuns.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::RandomRun;
using testing::randomRuns;

FoldedName folded(const std::string& name) {
    return FoldedName(SoughtName(name));
}

// As a stored name is compared with a sought one.
bool isSame(const FoldedName& a, const FoldedName& b) {
    const SizedText rest = a.copyRest();
    return a.size() == b.size() && b.hasWords(a.words()) &&
           (a.size() <= nameWordBytes || b.hasRest(rest.get()));
}

// The hash of the copy that an entry keeps.
std::uint64_t storedHash(const FoldedName& name) {
    const SizedText rest = name.copyRest();
    return nameHash(name.words(), {rest.get(), rest != nullptr ? name.size() - nameWordBytes : 0});
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
                ASSERT_EQ(isSame(folded(a), folded(b)), isSameByTheModel(a, b))
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
            EXPECT_TRUE(isSame(folded(name), folded(cut))) << length << " and " << tail;
            EXPECT_EQ(folded(cut).size(), length);
            EXPECT_EQ(folded(cut).hash(), folded(name).hash());
        }
    }
}

TEST(FoldedNameTest, TellsEveryByteOfALongNameApart) {
    for (std::size_t length = 1; length < 100; ++length) {
        const std::string name(length, 'n');
        for (std::size_t place = 0; place < length; ++place) {
            std::string other = name;
            other[place] = 'm';
            ASSERT_FALSE(isSame(folded(name), folded(other))) << place << " of " << length;
            ASSERT_NE(folded(name).hash(), folded(other).hash()) << place << " of " << length;
        }
        ASSERT_FALSE(isSame(folded(name), folded(name + 'n'))) << length;
    }
}

TEST(FoldedNameTest, RandomNamesCompareAsTheModelSays) {
    RandomRun random(randomRuns(300000));
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
        ASSERT_EQ(isSame(folded(a), folded(b)), expected) << a << " and " << b;
        if (expected) {
            ASSERT_EQ(folded(a).hash(), folded(b).hash());
            ASSERT_EQ(folded(a).hash(), storedHash(folded(b)));
            ASSERT_EQ(SoughtName(a).tag(), SoughtName(b).tag());
        }
    }
    EXPECT_GT(same, random.operations() / 10);
}

// A hash that throws names together would be correct and slow.
TEST(FoldedNameTest, HashesAndTagsSpread) {
    constexpr std::size_t count = 4096;
    std::set<std::uint64_t> hashes;
    std::set<std::uint32_t> tags;
    std::vector<std::size_t> sketch(512);
    for (std::size_t number = 0; number < count; ++number) {
        const std::string text = "X-Field-" + std::to_string(number);
        const SoughtName name(text);
        hashes.insert(FoldedName(name).hash());
        tags.insert(name.tag());
        ++sketch[name.tag() >> 23U];
        EXPECT_NE(name.tag(), 0U);
    }
    EXPECT_EQ(hashes.size(), count);
    EXPECT_GT(tags.size(), count - count / 100);
    for (const std::size_t size : sketch) {
        EXPECT_LT(size, 40U);
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
