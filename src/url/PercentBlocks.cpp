#include "url/PercentBlocks.h"

#include "url/PercentAlphabet.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#if defined(__x86_64__) && defined(__GNUC__)
#include <tmmintrin.h>

// The rest of the library runs on processors without these instructions.
#define FOUNDATION_TARGET_SSSE3 __attribute__((target("ssse3")))

namespace foundation::httpclient_core::percent_blocks {
namespace {

using Bytes = std::array<std::uint8_t, 16>;

// For each pattern of four bytes, of which bit i says that byte i is escaped: where in the sixteen bytes
// made of the four, their upper digits, their lower digits and four "%" the bytes of the result are.
struct Expansions {
    alignas(16) std::array<Bytes, 16> places{};
    std::array<std::uint8_t, 16> sizes{};
};

consteval Expansions makeExpansions() {
    Expansions expansions;
    for (std::size_t pattern = 0; pattern < 16; ++pattern) {
        std::uint8_t size = 0;
        for (std::uint8_t byte = 0; byte < 4; ++byte) {
            Bytes& places = expansions.places[pattern];
            if ((pattern >> byte & 1U) == 0) {
                places[size++] = byte;
            } else {
                places[size++] = 12;
                places[size++] = 4 + byte;
                places[size++] = 8 + byte;
            }
        }
        expansions.sizes[pattern] = size;
    }
    return expansions;
}

constexpr Expansions expansions = makeExpansions();

FOUNDATION_TARGET_SSSE3 inline __m128i load(const void* bytes) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(bytes));
}

FOUNDATION_TARGET_SSSE3 inline __m128i lowerHalves(__m128i bytes) noexcept {
    return _mm_and_si128(bytes, _mm_set1_epi8(0x0F));
}

FOUNDATION_TARGET_SSSE3 inline __m128i upperHalves(__m128i bytes) noexcept {
    return lowerHalves(_mm_srli_epi16(bytes, 4));
}

// All bits of each byte that stays as it is.
FOUNDATION_TARGET_SSSE3 inline __m128i plainBytes(const PercentAlphabet& alphabet,
                                                  __m128i bytes) noexcept {
    const __m128i lower =
        _mm_shuffle_epi8(load(alphabet.lowerClasses().data()), lowerHalves(bytes));
    const __m128i upper =
        _mm_shuffle_epi8(load(alphabet.upperClasses().data()), upperHalves(bytes));
    // The upper class is one bit, or none for bytes that are not in ASCII.
    const __m128i shared = _mm_and_si128(lower, upper);
    return _mm_xor_si128(_mm_cmpeq_epi8(shared, _mm_setzero_si128()), _mm_set1_epi8(-1));
}

FOUNDATION_TARGET_SSSE3 inline char* write(__m128i bytes,
                                           unsigned int pattern,
                                           char* out) noexcept {
    const __m128i result = _mm_shuffle_epi8(bytes, load(expansions.places[pattern].data()));
    _mm_storeu_si128(reinterpret_cast<__m128i_u*>(out), result);
    return out + expansions.sizes[pattern];
}

}  // namespace

bool available() noexcept {
    return __builtin_cpu_supports("ssse3");
}

// NOLINTBEGIN(portability-simd-intrinsics): this code is for one processor only.
FOUNDATION_TARGET_SSSE3 std::size_t countEscaped(const PercentAlphabet& alphabet,
                                                 std::string_view text) noexcept {
    __m128i plain = _mm_setzero_si128();
    for (std::size_t i = 0; i < text.size(); i += size) {
        const __m128i ones =
            _mm_and_si128(plainBytes(alphabet, load(text.data() + i)), _mm_set1_epi8(1));
        plain = _mm_add_epi64(plain, _mm_sad_epu8(ones, _mm_setzero_si128()));
    }
    const __m128i both = _mm_add_epi64(plain, _mm_unpackhi_epi64(plain, plain));
    return text.size() - static_cast<std::size_t>(_mm_cvtsi128_si64(both));
}
// NOLINTEND(portability-simd-intrinsics)

FOUNDATION_TARGET_SSSE3 char* encode(const PercentAlphabet& alphabet,
                                     std::string_view text,
                                     char* out) noexcept {
    const __m128i digits = load(PercentAlphabet::digits.data());
    const __m128i percents = _mm_set1_epi8('%');
    const __m128i spaces = _mm_set1_epi8(' ');
    const __m128i spaceChange = _mm_set1_epi8(alphabet.spaceChange());
    for (std::size_t i = 0; i < text.size(); i += size) {
        const __m128i bytes = load(text.data() + i);
        const auto escaped =
            0xFFFFU ^ static_cast<unsigned int>(_mm_movemask_epi8(plainBytes(alphabet, bytes)));
        const __m128i upper = _mm_shuffle_epi8(digits, upperHalves(bytes));
        const __m128i lower = _mm_shuffle_epi8(digits, lowerHalves(bytes));
        const __m128i change = _mm_and_si128(_mm_cmpeq_epi8(bytes, spaces), spaceChange);
        const __m128i plain = _mm_xor_si128(bytes, change);
        const __m128i plainUpper = _mm_unpacklo_epi32(plain, upper);
        const __m128i lowerPercents = _mm_unpacklo_epi32(lower, percents);
        out = write(_mm_unpacklo_epi64(plainUpper, lowerPercents), escaped & 0xFU, out);
        out = write(_mm_unpackhi_epi64(plainUpper, lowerPercents), escaped >> 4U & 0xFU, out);
        const __m128i nextPlainUpper = _mm_unpackhi_epi32(plain, upper);
        const __m128i nextLowerPercents = _mm_unpackhi_epi32(lower, percents);
        out =
            write(_mm_unpacklo_epi64(nextPlainUpper, nextLowerPercents), escaped >> 8U & 0xFU, out);
        out = write(_mm_unpackhi_epi64(nextPlainUpper, nextLowerPercents), escaped >> 12U, out);
    }
    return out;
}

}  // namespace foundation::httpclient_core::percent_blocks

#else

namespace foundation::httpclient_core::percent_blocks {

bool available() noexcept {
    return false;
}

std::size_t countEscaped(const PercentAlphabet& /*alphabet*/, std::string_view /*text*/) noexcept {
    std::abort();
}

char* encode(const PercentAlphabet& /*alphabet*/,
             std::string_view /*text*/,
             char* /*out*/) noexcept {
    std::abort();
}

}  // namespace foundation::httpclient_core::percent_blocks

#endif
