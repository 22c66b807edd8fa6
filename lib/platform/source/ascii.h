// Runs of ASCII, at the speed of memory.
#pragma once

#include <cstddef>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace platform {

// Copies the ASCII characters at the beginning of `bytes` to `units` and gives their number. Up to `length`
// units may be written.
inline std::size_t WidenAscii(const unsigned char* bytes, std::size_t length, char16_t* units) {
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    for (; length - i >= 32; i += 32) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i + 16));
        if (_mm_movemask_epi8(_mm_or_si128(a, b)) != 0)
            break;
        auto* out = reinterpret_cast<__m128i*>(units + i);
        _mm_storeu_si128(out, _mm_unpacklo_epi8(a, zero));
        _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(a, zero));
        _mm_storeu_si128(out + 2, _mm_unpacklo_epi8(b, zero));
        _mm_storeu_si128(out + 3, _mm_unpackhi_epi8(b, zero));
    }
    for (; length - i >= 16; i += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + i));
        auto* out = reinterpret_cast<__m128i*>(units + i);
        _mm_storeu_si128(out, _mm_unpacklo_epi8(a, zero));
        _mm_storeu_si128(out + 1, _mm_unpackhi_epi8(a, zero));
        const int mask = _mm_movemask_epi8(a);
        if (mask != 0)
            return i + static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask)));
    }
#else
    for (; length - i >= 16; i += 16) {
        unsigned char all = 0;
        for (int k = 0; k < 16; ++k)
            all |= bytes[i + k];
        if (all >= 0x80)
            break;
        for (int k = 0; k < 16; ++k)
            units[i + k] = bytes[i + k];
    }
#endif
    for (; i < length && bytes[i] < 0x80; ++i)
        units[i] = bytes[i];
    return i;
}

// The same in the other direction; up to `length` bytes may be written.
inline std::size_t NarrowAscii(const char16_t* units, std::size_t length, unsigned char* bytes) {
    std::size_t i = 0;
#ifdef __SSE2__
    const __m128i beyond = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    for (; length - i >= 16; i += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(units + i + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + i), _mm_packus_epi16(a, b));
        const __m128i plainA = _mm_cmpeq_epi16(_mm_and_si128(a, beyond), zero);
        const __m128i plainB = _mm_cmpeq_epi16(_mm_and_si128(b, beyond), zero);
        const int plain = _mm_movemask_epi8(_mm_packs_epi16(plainA, plainB));
        if (plain != 0xFFFF)
            return i + static_cast<std::size_t>(__builtin_ctz(~static_cast<unsigned>(plain)));
    }
#else
    for (; length - i >= 16; i += 16) {
        char16_t all = 0;
        for (int k = 0; k < 16; ++k)
            all |= units[i + k];
        if (all >= 0x80)
            break;
        for (int k = 0; k < 16; ++k)
            bytes[i + k] = static_cast<unsigned char>(units[i + k]);
    }
#endif
    for (; i < length && units[i] < 0x80; ++i)
        bytes[i] = static_cast<unsigned char>(units[i]);
    return i;
}

} // namespace platform
