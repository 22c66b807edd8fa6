// Texts of characters up to 127, which are the same in every form, looked at four units at a time.
#pragma once

#include <stringutils/astring.h>

#include <cstdint>
#include <cstring>
#include <string_view>

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

} // namespace io
