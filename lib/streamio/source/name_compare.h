// Comparison of names without regard to case: unit by unit, each in lower case.
#pragma once

#include <stringutils/astring.h>

#include <string_view>

namespace io {

wchar16 LowerUnit(wchar16 unit);
wchar16 UpperUnit(wchar16 unit);
// A letter or digit of ASCII.
bool IsAlphanumeric(wchar16 unit);

// Negative, 0 or positive.
int CompareFolded(std::u16string_view a, std::u16string_view b);
// Whether `text` is that word in any case; the word is in lower case.
bool MatchesWordOfLength(std::u16string_view text, std::u16string_view word); // of one length
inline bool MatchesWord(std::u16string_view text, std::u16string_view word) {
    // Most texts of the length begin with another letter; letters of ASCII differ from those in lower case by one bit.
    return text.size() == word.size() && !word.empty() &&
           (text.front() > 127 || (text.front() | 32) == (word.front() | 32)) &&
           MatchesWordOfLength(text, word);
}
bool EqualFolded(std::u16string_view a, std::u16string_view b);

} // namespace io
