// Classes and case of single 16-bit units, the same in every locale.
#pragma once

namespace platform {

char16_t ToLowerBeyondAscii(char16_t unit);
bool IsSpaceBeyondAscii(char16_t unit);

// The simple lower-case form; a unit of a surrogate pair has none.
inline char16_t ToLower(char16_t unit) {
    if (unit < 0x80)
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
    return ToLowerBeyondAscii(unit);
}

inline bool IsSpace(char16_t unit) {
    if (unit < 0x80)
        return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
    return IsSpaceBeyondAscii(unit);
}

} // namespace platform
