#include "tests/support/RandomRuns.h"
#include "tests/url/RandomTexts.h"
#include "url/PercentBlocks.h"
#include "url/PercentDecode.h"
#include "url/PercentEncode.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

// What is fast against what is plain: the table, byte by byte. The buffers are of exactly the size that the
// functions ask for and on the heap, so that a sanitizer sees a byte too many.
namespace foundation::httpclient_core {
namespace {

using testing::randomRuns;
using testing::RandomTexts;

struct NamedAlphabet {
    const char* label;
    const PercentAlphabet* alphabet;
};

constexpr NamedAlphabet alphabets[] = {{"space escaped", &spaceEscaped},
                                       {"space as plus", &spaceAsPlus}};

class Buffer {
public:
    explicit Buffer(std::size_t size) : bytes_(std::make_unique<char[]>(size)) {}
    char* data() { return bytes_.get(); }
    std::string upTo(const char* end) const {
        return {static_cast<const char*>(bytes_.get()), end};
    }

private:
    std::unique_ptr<char[]> bytes_;
};

// A copy without a byte to spare behind it.
class ExactText {
public:
    explicit ExactText(const std::string& text) : size_(text.size()), buffer_(text.size()) {
        std::copy(text.begin(), text.end(), buffer_.data());
    }
    operator std::string_view() { return {buffer_.data(), size_}; }

private:
    std::size_t size_;
    Buffer buffer_;
};

::testing::AssertionResult encodesAsTheTable(const std::string& text) {
    ExactText exact(text);
    for (const auto& [label, alphabet] : alphabets) {
        Buffer plain((3 * text.size()) + PercentAlphabet::longestWrite);
        const std::string expected = plain.upTo(alphabet->spell(text, plain.data()));
        const std::size_t escaped = countEscapedByTable(*alphabet, text);
        if (expected.size() != text.size() + (2 * escaped)) {
            return ::testing::AssertionFailure() << label << ": the table counts " << escaped;
        }
        if (countEscaped(*alphabet, exact) != escaped) {
            return ::testing::AssertionFailure() << label << ": another count";
        }
        Buffer fast(expected.size() + percentEncodeSlack);
        if (fast.upTo(percentEncode(*alphabet, exact, fast.data())) != expected) {
            return ::testing::AssertionFailure() << label << ": another text";
        }
        if (percent_blocks::available() && text.size() % percent_blocks::size == 0) {
            if (percent_blocks::countEscaped(*alphabet, exact) != escaped) {
                return ::testing::AssertionFailure() << label << ": another count of blocks";
            }
            Buffer blocks(expected.size() + percentEncodeSlack);
            if (blocks.upTo(percent_blocks::encode(*alphabet, exact, blocks.data())) != expected) {
                return ::testing::AssertionFailure() << label << ": other blocks";
            }
        }
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult decodesAsTheTable(const std::string& text) {
    ExactText exact(text);
    Buffer plain(text.size());
    const std::string expected = plain.upTo(percentDecodeByTable(exact, plain.data()));
    Buffer fast(text.size());
    if (fast.upTo(percentDecode(exact, fast.data())) != expected) {
        return ::testing::AssertionFailure() << "another text";
    }
    if (percentDecode(exact) != expected) {
        return ::testing::AssertionFailure() << "another string";
    }
    return ::testing::AssertionSuccess();
}

TEST(PercentBlocksTest, TableSpellsAsTheAlphabetSays) {
    Buffer buffer(20 + PercentAlphabet::longestWrite);
    EXPECT_EQ(buffer.upTo(spaceEscaped.spell("a b/~", buffer.data())), "a%20b%2F~");
    EXPECT_EQ(buffer.upTo(spaceAsPlus.spell("a b+~", buffer.data())), "a+b%2B~");
}

TEST(PercentBlocksTest, EachByteInEachPlaceOfABlock) {
    for (std::size_t place = 0; place < percent_blocks::size; ++place) {
        for (int byte = 0; byte < 256; ++byte) {
            std::string text(4 * percent_blocks::size, 'a');
            text[place] = static_cast<char>(byte);
            ASSERT_TRUE(encodesAsTheTable(text)) << "byte " << byte << " at " << place;
            ASSERT_TRUE(decodesAsTheTable(text)) << "byte " << byte << " at " << place;
        }
    }
}

TEST(PercentBlocksTest, EveryLengthUpToThreeHundred) {
    for (std::size_t size = 0; size <= 300; ++size) {
        for (const std::string_view pattern :
             {"a", " ", "+", "%", "%2F", "%2f%", "word ", "%20word", "\xC3\xA9",
              "some words, and more. ", "seventeen letters%", "a long run of plain text+"}) {
            std::string text;
            while (text.size() < size) {
                text += pattern;
            }
            text.resize(size);
            ASSERT_TRUE(encodesAsTheTable(text)) << size << " of " << pattern;
            ASSERT_TRUE(decodesAsTheTable(text)) << size << " of " << pattern;
        }
    }
}

TEST(PercentBlocksTest, RandomTexts) {
    // Mostly letters, mostly prose, and mostly escapes, good and bad.
    RandomTexts plain("abcdefghijklmnopqrstuvwxyz");
    RandomTexts prose("aeinorst  ,.\"");
    RandomTexts escapes("%%%4aF+");
    SCOPED_TRACE(plain);
    for (std::uint64_t run = 0; run < randomRuns(30'000); ++run) {
        RandomTexts& texts = run % 3 == 0 ? plain : run % 3 == 1 ? prose : escapes;
        const std::string text = texts.next(400);
        ASSERT_TRUE(encodesAsTheTable(text)) << plain << ", run " << run;
        ASSERT_TRUE(decodesAsTheTable(text)) << plain << ", run " << run;
        std::string encoded(3 * text.size() + percentEncodeSlack, '\0');
        const char* const end = percentEncode(spaceEscaped, text, encoded.data());
        encoded.resize(static_cast<std::size_t>(end - encoded.data()));
        ASSERT_TRUE(decodesAsTheTable(encoded)) << plain << ", run " << run;
        ASSERT_EQ(percentDecode(encoded), text) << plain << ", run " << run;
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
