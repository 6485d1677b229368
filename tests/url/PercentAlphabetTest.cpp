#include "url/PercentAlphabet.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace foundation::httpclient_core {
namespace {

std::string spelledBy(const PercentAlphabet& alphabet, char c) {
    std::array<char, PercentAlphabet::longestWrite> text{};
    return {text.data(), alphabet.spell(c, text.data())};
}

// Byte by byte, from the words of the standard.
std::string expected(char c, const std::string& space) {
    const std::string_view marks = "-._~";
    if (c == ' ') {
        return space;
    }
    if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
        (c != '\0' && marks.find(c) != std::string_view::npos)) {
        return {c};
    }
    std::array<char, 4> escaped{};
    std::snprintf(escaped.data(), escaped.size(), "%%%02X",
                  static_cast<unsigned int>(static_cast<unsigned char>(c)));
    return escaped.data();
}

TEST(PercentAlphabetTest, SpellsEveryByteWithEachSpace) {
    for (const std::string space : {"%20", "+", "_", " "}) {
        const PercentAlphabet alphabet(space);
        EXPECT_EQ(alphabet.escapesSpace(), space == "%20") << space;
        for (int byte = 0; byte < 256; ++byte) {
            const char c = static_cast<char>(byte);
            const std::string spelling = expected(c, space);
            EXPECT_EQ(spelledBy(alphabet, c), spelling) << byte;
            EXPECT_EQ(alphabet.isEscaped(c), spelling.size() > 1) << byte;
            // The classes of two bytes meet where there is nothing to escape.
            const auto lower = alphabet.lowerClasses()[static_cast<std::size_t>(byte % 16)];
            const auto upper = alphabet.upperClasses()[static_cast<std::size_t>(byte / 16)];
            EXPECT_EQ((lower & upper) == 0, spelling.size() > 1) << byte;
        }
    }
}

TEST(PercentAlphabetTest, AreTheSameMadeBeforehand) {
    for (const auto* const alphabet : {&spaceEscaped, &spaceAsPlus}) {
        const std::string space = alphabet->escapesSpace() ? "%20" : "+";
        EXPECT_EQ(static_cast<char>(' ' ^ alphabet->spaceChange()),
                  alphabet->escapesSpace() ? ' ' : '+');
        for (int byte = 0; byte < 256; ++byte) {
            const char c = static_cast<char>(byte);
            EXPECT_EQ(spelledBy(*alphabet, c), expected(c, space)) << byte;
        }
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
