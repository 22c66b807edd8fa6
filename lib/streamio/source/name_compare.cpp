#include "name_compare.h"

#include <platform/character.h>

#include <unicode/uchar.h>

#include <algorithm>

namespace io {

wchar16 LowerUnit(wchar16 unit) {
    return platform::ToLower(unit);
}

wchar16 UpperUnit(wchar16 unit) {
    if (unit < 128)
        return unit >= u'a' && unit <= u'z' ? static_cast<wchar16>(unit - 32) : unit;
    const UChar32 upper = u_toupper(unit);
    return upper <= 0xFFFF ? static_cast<wchar16>(upper) : unit;
}

bool IsAlphanumeric(wchar16 unit) {
    return unit < 128 &&
           ((unit >= u'0' && unit <= u'9') || (LowerUnit(unit) >= u'a' && LowerUnit(unit) <= u'z'));
}

int CompareFolded(std::u16string_view a, std::u16string_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] == b[i])
            continue;
        const wchar16 x = LowerUnit(a[i]);
        const wchar16 y = LowerUnit(b[i]);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

bool MatchesWordOfLength(std::u16string_view text, std::u16string_view word) {
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (text[i] != word[i] && LowerUnit(text[i]) != word[i])
            return false;
    }
    return true;
}

bool EqualFolded(std::u16string_view a, std::u16string_view b) {
    return a.size() == b.size() && CompareFolded(a, b) == 0;
}

} // namespace io
