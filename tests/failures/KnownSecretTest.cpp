#include "headers/FoldedName.h"

#include <foundation/httpclient_core/HttpHeaders.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <unistd.h>

// With a secret that is known, names can be made that collide in every bit of their hashes: what an attacker
// cannot do, and what chance does too seldom for a test.

namespace foundation::httpclient_core {
namespace {

// The secret in use, byte by byte.
constexpr char secretByte = 'a';

std::uint64_t hashOf(const std::string& name) {
    return FoldedName(SoughtName(name)).hash();
}

// All of them have one hash: the last eight bytes cancel the secret out, and the eight before them are
// multiplied by what is left, zero.
std::string collidingName(int number) {
    std::string name = std::to_string(number);
    name.resize(8, '-');
    return name + std::string(8, secretByte);
}

}  // namespace
}  // namespace foundation::httpclient_core

// While the first caller waits for its answer, another one is answered and chooses the secret.
extern "C" int getentropy(void* buffer, std::size_t size) {
    static bool asked = false;
    if (asked) {
        std::memset(buffer, foundation::httpclient_core::secretByte, size);
    } else {
        asked = true;
        foundation::httpclient_core::hashOf("other");
        std::memset(buffer, 'c', size);
    }
    return 0;
}

namespace foundation::httpclient_core {
namespace {

TEST(KnownSecretTest, TheFirstChoiceOfASecretIsKept) {
    const std::uint64_t hash = hashOf(collidingName(1));
    EXPECT_EQ(hashOf(collidingName(1)), hash);
    EXPECT_EQ(hashOf(collidingName(2)), hash);
    EXPECT_NE(hashOf("1-------cccccccc"), hashOf("2-------cccccccc"));
}

TEST(KnownSecretTest, NamesOfOneHashAreToldApart) {
    constexpr int count = 100;  // Enough for the table.
    HttpHeaders headers;
    for (int number = 0; number < count; ++number) {
        headers.add(collidingName(number), std::to_string(number));
    }
    EXPECT_FALSE(headers.has(collidingName(count)));
    for (int number = 0; number < count; number += 2) {
        headers.erase(collidingName(number));
    }
    for (int number = 0; number < count; ++number) {
        EXPECT_EQ(headers.getHeaderValueOr(collidingName(number), "none"),
                  number % 2 == 0 ? "none" : std::to_string(number));
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
