// Texts of characters up to 127, which are the same in every form, looked at several units at a time.
#pragma once

#include <stringutils/astring.h>

#include <cstdint>
#include <cstring>
#include <string_view>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace io {

namespace plain {

inline std::uint64_t FourUnits(const wchar16* units) {
    std::uint64_t four = 0;
    std::memcpy(&four, units, sizeof four);
    return four;
}

// Gives `visit` the places of four units each that cover the text, the last ones perhaps once more; false for a text
// that is too short.
template <class Visit>
bool ByFours(std::size_t length, const Visit& visit) {
    if (length < 4)
        return false;
    for (std::size_t i = 0; i + 4 < length; i += 4)
        visit(i);
    visit(length - 4);
    return true;
}

inline constexpr std::uint64_t kBeyond = 0xFF80FF80FF80FF80;

} // namespace plain

inline bool IsPlain(std::u16string_view text) {
    const wchar16* const units = text.data();
    std::uint64_t all = 0;
    if (!plain::ByFours(text.size(), [&](std::size_t i) { all |= plain::FourUnits(units + i); })) {
        for (const wchar16 unit : text)
            all |= unit;
    }
    return (all & plain::kBeyond) == 0;
}

// Most texts are too short for a call of memcpy.
inline void CopyUnits(std::u16string_view text, wchar16* out) {
    constexpr std::size_t kShort = 32;
    const wchar16* const units = text.data();
    if (text.size() > kShort)
        std::memcpy(out, units, text.size() * sizeof(wchar16));
    else if (!plain::ByFours(text.size(), [&](std::size_t i) { std::memcpy(out + i, units + i, 8); })) {
        for (const wchar16 unit : text)
            *out++ = unit;
    }
}

inline bool SameUnits(std::u16string_view a, std::u16string_view b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(wchar16)) == 0;
}

#if defined(__SSE2__)
namespace plain {

// How many units there are in front of the first that isn't marked.
inline std::size_t CountMarked(__m128i marks) {
    return static_cast<std::size_t>(
        __builtin_ctz(~static_cast<unsigned>(_mm_movemask_epi8(marks)) | 1u << 16) / 2);
}

inline __m128i Within(__m128i units, char first, char last) {
    const __m128i above = _mm_sub_epi16(units, _mm_set1_epi16(first));
    return _mm_cmpeq_epi16(_mm_subs_epu16(above, _mm_set1_epi16(static_cast<short>(last - first))),
                           _mm_setzero_si128());
}

inline __m128i Alphanumeric(__m128i units) {
    const __m128i lowered = _mm_or_si128(units, _mm_set1_epi16(32));
    return _mm_or_si128(Within(lowered, 'a', 'z'), Within(units, '0', '9'));
}

template <class Mark>
const wchar16* PassEights(const wchar16* at, const wchar16* end, const Mark& mark) {
    while (end - at >= 8) {
        const std::size_t count = CountMarked(mark(_mm_loadu_si128(reinterpret_cast<const __m128i*>(at))));
        at += count;
        if (count < 8)
            break;
    }
    return at;
}

} // namespace plain

// Over letters and digits of ASCII, as far as they are seen at a glance.
inline const wchar16* PassAlphanumerics(const wchar16* at, const wchar16* end) {
    return plain::PassEights(at, end, plain::Alphanumeric);
}

// Likewise over printable characters of ASCII but quotes and "\".
inline const wchar16* PassPrintables(const wchar16* at, const wchar16* end) {
    return plain::PassEights(at, end, [](__m128i units) {
        const auto is = [units](char ch) { return _mm_cmpeq_epi16(units, _mm_set1_epi16(ch)); };
        const __m128i marked = _mm_or_si128(_mm_or_si128(is('\''), is('"')), is('\\'));
        return _mm_andnot_si128(marked, plain::Within(units, ' ', '~'));
    });
}

// Whether a text is 4 to 16 letters and digits of ASCII.
inline bool IsShortWord(std::u16string_view text) {
    const wchar16* const units = text.data();
    const std::size_t size = text.size();
    if (size < 4 || size > 16)
        return false;
    const auto load = [units](std::size_t at) {
        return _mm_cvtsi64_si128(static_cast<long long>(plain::FourUnits(units + at)));
    };
    __m128i marks = plain::Alphanumeric(_mm_unpacklo_epi64(load(0), load(size - 4)));
    if (size > 8)
        marks = _mm_and_si128(marks, plain::Alphanumeric(_mm_unpacklo_epi64(load(4), load(size - 8))));
    return _mm_movemask_epi8(marks) == 0xFFFF;
}
#else
inline const wchar16* PassAlphanumerics(const wchar16* at, const wchar16*) {
    return at;
}
inline bool IsShortWord(std::u16string_view) {
    return false;
}
inline const wchar16* PassPrintables(const wchar16* at, const wchar16*) {
    return at;
}
#endif

// As IsPlain, and the text is at `out` then.
inline bool CopyPlain(std::u16string_view text, wchar16* out) {
    const wchar16* const units = text.data();
    std::uint64_t all = 0;
    const auto copy = [&](std::size_t i) {
        const std::uint64_t four = plain::FourUnits(units + i);
        std::memcpy(out + i, &four, sizeof four);
        all |= four;
    };
    if (!plain::ByFours(text.size(), copy)) {
        for (const wchar16 unit : text)
            all |= * out++ = unit;
    }
    return (all & plain::kBeyond) == 0;
}

// The bytes of `value`, lowest first, as units.
inline void SpreadBytes(wchar16* out, std::uint64_t value) {
#if defined(__SSE2__)
    const __m128i bytes = _mm_cvtsi64_si128(static_cast<long long>(value));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
#else
    for (int i = 0; i < 8; ++i)
        out[i] = static_cast<wchar16>(value >> (8 * i) & 255);
#endif
}

// Eight units as bytes, each cut to its low byte.
inline std::uint64_t GatherBytes(const wchar16* units) {
#if defined(__SSE2__)
    const __m128i low =
        _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(units)), _mm_set1_epi16(255));
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(low, low)));
#else
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i)
        value |= static_cast<std::uint64_t>(units[i] & 255) << (8 * i);
    return value;
#endif
}

// Likewise four.
inline std::uint64_t GatherFour(const wchar16* units) {
    std::uint64_t four = plain::FourUnits(units) & 0x00FF00FF00FF00FF;
    four = (four | four >> 8) & 0x0000FFFF0000FFFF;
    return (four | four >> 16) & 0xFFFFFFFF;
}

} // namespace io
