#include "utf8.h"

#include "ascii.h"

#include <algorithm>
#include <cstdint>

namespace platform {
namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool IsTrail(unsigned char byte) {
    return (byte & 0xC0) == 0x80;
}

// One character whose first byte isn't ASCII; an ill-formed one takes its longest part that might have gone
// on.
std::uint32_t NextCharacter(const unsigned char*& at, const unsigned char* end) {
    const unsigned char lead = *at++;
    if (lead >= 0xC2 && lead < 0xE0) {
        if (at < end && IsTrail(*at))
            return (lead & 0x1Fu) << 6 | (*at++ & 0x3Fu);
    } else if (lead >= 0xE0 && lead < 0xF0) {
        // No detours (E0), no surrogates (ED).
        const unsigned low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned high = lead == 0xED ? 0x9F : 0xBF;
        if (at < end && *at >= low && *at <= high) {
            const std::uint32_t upper = (lead & 0x0Fu) << 12 | (*at++ & 0x3Fu) << 6;
            if (at < end && IsTrail(*at))
                return upper | (*at++ & 0x3Fu);
        }
    } else if (lead >= 0xF0 && lead < 0xF5) {
        const unsigned low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
        if (at < end && *at >= low && *at <= high) {
            std::uint32_t upper = (lead & 0x07u) << 18 | (*at++ & 0x3Fu) << 12;
            if (at < end && IsTrail(*at)) {
                upper |= (*at++ & 0x3Fu) << 6;
                if (at < end && IsTrail(*at))
                    return upper | (*at++ & 0x3Fu);
            }
        }
    }
    return kReplacement;
}

struct Place {
    const unsigned char* at;
    char16_t* out;
};

// Decodes characters of two and three bytes, as nearly all are, while they are well-formed and have a byte
// behind them.
inline Place DecodeRun(const unsigned char* at, const unsigned char* end, char16_t* out,
                       const char16_t* full) {
    while (end - at >= 3 && out < full) {
        const unsigned lead = at[0];
        const unsigned second = at[1] ^ 0x80u;
        if ((lead & 0xF0) == 0xE0) {
            const unsigned third = at[2] ^ 0x80u;
            const unsigned unit = (lead & 0x0F) << 12 | second << 6 | third;
            if ((second | third) > 0x3F || unit < 0x800 || (unit & 0xF800) == 0xD800)
                break;
            *out++ = static_cast<char16_t>(unit);
            at += 3;
        } else if (lead >= 0xC2 && lead < 0xE0 && second <= 0x3F) {
            *out++ = static_cast<char16_t>((lead & 0x1F) << 6 | second);
            at += 2;
        } else {
            break;
        }
    }
    return {at, out};
}

} // namespace

std::size_t Utf8ToUnits(const unsigned char*& at, const unsigned char* end, char16_t* units,
                        std::size_t capacity) {
    char16_t* out = units;
    char16_t* const full = units + capacity;
    for (;;) {
        const std::size_t ascii = WidenAscii(at, std::min(end - at, full - out), out);
        const Place place = DecodeRun(at + ascii, end, out + ascii, full);
        at = place.at;
        out = place.out;
        // What stopped the run: the end, ASCII, four bytes or an ill-formed character.
        if (at == end || full - out < 2)
            return static_cast<std::size_t>(out - units);
        if (*at < 0x80)
            continue;
        const std::uint32_t character = NextCharacter(at, end);
        if (character < 0x10000) {
            *out++ = static_cast<char16_t>(character);
        } else {
            *out++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
            *out++ = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
        }
    }
}

std::size_t Utf8Bound(const char16_t* at, const char16_t* end) {
    std::size_t count = static_cast<std::size_t>(end - at);
    const auto more = [](char16_t unit) { return static_cast<char16_t>((unit > 0x7F) + (unit > 0x7FF)); };
    for (; end - at >= 32; at += 32) {
        char16_t sum = 0;
        for (int i = 0; i < 32; ++i)
            sum = static_cast<char16_t>(sum + more(at[i]));
        count += sum;
    }
    for (; at < end; ++at)
        count += more(*at);
    return count;
}

unsigned char* UnitsToUtf8(const char16_t* at, const char16_t* end, unsigned char* bytes) {
    for (;;) {
        const std::size_t ascii = NarrowAscii(at, static_cast<std::size_t>(end - at), bytes);
        at += ascii;
        bytes += ascii;
        if (at == end)
            return bytes;
        do {
            std::uint32_t character = *at++;
            if (character < 0x800) {
                *bytes++ = static_cast<unsigned char>(0xC0 | character >> 6);
                *bytes++ = static_cast<unsigned char>(0x80 | (character & 0x3F));
                continue;
            }
            if ((character & 0xF800) == 0xD800) {
                if (character < 0xDC00 && at < end && (*at & 0xFC00) == 0xDC00) {
                    character = (character << 10) + *at++ - 0x35FDC00;
                    *bytes++ = static_cast<unsigned char>(0xF0 | character >> 18);
                    *bytes++ = static_cast<unsigned char>(0x80 | (character >> 12 & 0x3F));
                    *bytes++ = static_cast<unsigned char>(0x80 | (character >> 6 & 0x3F));
                    *bytes++ = static_cast<unsigned char>(0x80 | (character & 0x3F));
                    continue;
                }
                character = kReplacement;
            }
            *bytes++ = static_cast<unsigned char>(0xE0 | character >> 12);
            *bytes++ = static_cast<unsigned char>(0x80 | (character >> 6 & 0x3F));
            *bytes++ = static_cast<unsigned char>(0x80 | (character & 0x3F));
        } while (at < end && *at >= 0x80);
    }
}

} // namespace platform
