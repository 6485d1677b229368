#include "Md5.h"

#include "Secret.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>

namespace foundation::httpclient_curl {
namespace {

constexpr std::size_t blockSize = 64;
using Words = std::array<std::uint32_t, 4>;

// RFC 1321 defines its constants as the integer parts of 2^32 times |sin(i)|.
std::array<std::uint32_t, blockSize> makeSines() {
    std::array<std::uint32_t, blockSize> sines{};
    for (std::size_t i = 0; i < sines.size(); ++i) {
        sines[i] = static_cast<std::uint32_t>(
            std::floor(std::fabs(std::sin(static_cast<double>(i + 1))) * 4294967296.0));
    }
    return sines;
}

std::uint32_t littleEndian(const char* bytes) {
    std::uint32_t word = 0;
    for (unsigned int i = 0; i < 4; ++i) {
        word |= std::uint32_t{static_cast<unsigned char>(bytes[i])} << (8 * i);
    }
    return word;
}

void addBlock(Words& state, const char* block) {
    static const std::array<std::uint32_t, blockSize> sines = makeSines();
    constexpr std::array<std::array<int, 4>, 4> turns{
        {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};
    auto [a, b, c, d] = state;
    for (std::uint32_t i = 0; i < blockSize; ++i) {
        const std::uint32_t round = i / 16;
        std::uint32_t mixed = 0;
        std::uint32_t place = 0;
        switch (round) {
            case 0:
                mixed = (b & c) | (~b & d);
                place = i;
                break;
            case 1:
                mixed = (d & b) | (~d & c);
                place = 5 * i + 1;
                break;
            case 2:
                mixed = b ^ c ^ d;
                place = 3 * i + 5;
                break;
            default:
                mixed = c ^ (b | ~d);
                place = 7 * i;
                break;
        }
        const std::uint32_t word = littleEndian(block + std::size_t{4} * (place % 16));
        const std::uint32_t sum = a + mixed + word + sines[i];
        a = d;
        d = c;
        c = b;
        b += std::rotl(sum, turns[round][i % 4]);
    }
    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}

}  // namespace

std::string md5(std::string_view text) {
    // Padded to whole blocks: a one bit, zeros, and the length in bits as 64-bit little endian.
    std::string padded;
    padded.reserve(text.size() + 2 * blockSize);
    padded += text;
    padded += '\x80';
    while (padded.size() % blockSize != blockSize - 8) {
        padded += '\0';
    }
    const std::uint64_t bits = std::uint64_t{text.size()} * 8;
    for (unsigned int i = 0; i < 8; ++i) {
        padded += static_cast<char>((bits >> (8 * i)) & 0xFFU);
    }
    Words state{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};
    for (std::size_t at = 0; at < padded.size(); at += blockSize) {
        addBlock(state, padded.data() + at);
    }
    // The text usually holds a password.
    wipe(padded);
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    for (const std::uint32_t word : state) {
        for (unsigned int i = 0; i < 4; ++i) {
            const std::uint32_t byte = (word >> (8 * i)) & 0xFFU;
            hex += digits[byte >> 4U];
            hex += digits[byte & 0xFU];
        }
    }
    return hex;
}

}  // namespace foundation::httpclient_curl
