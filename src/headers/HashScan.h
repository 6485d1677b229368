#pragma once
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace foundation::httpclient_core {

/// Compares four hashes with one. Bit i of the result says whether `hashes[i]` is equal; a collection of 18
/// is searched with five of these. `hashes` must be aligned to 16 bytes.
inline unsigned int equalAmongFour(const std::uint32_t* hashes, std::uint32_t hash) noexcept {
#if defined(__SSE2__)
    const __m128i four = _mm_load_si128(reinterpret_cast<const __m128i*>(hashes));
    const __m128i equal = _mm_cmpeq_epi32(four, _mm_set1_epi32(static_cast<int>(hash)));
    return static_cast<unsigned int>(_mm_movemask_ps(_mm_castsi128_ps(equal)));
#else
    unsigned int equal = 0;
    for (unsigned int i = 0; i < 4; ++i) {
        equal |= (hashes[i] == hash ? 1U : 0U) << i;
    }
    return equal;
#endif
}

}  // namespace foundation::httpclient_core
