// Conversions between bytes in a code page and 16-bit text.
//
// What the source holds wrongly or the target can't say is replaced, never an error. To units: U+FFFD (U+30FB
// in code page 932), one for each longest part of a character that can't go on. To bytes: a lone surrogate as
// U+FFFD in UTF-8, everything else as '?', one for each unit; where the page has a close relative of a
// character, that. Text that is all ASCII, and UTF-8 as a whole, converts without a converter object; the
// others use one of ICU's, kept for each thread. Any thread may call these.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace platform {

inline constexpr unsigned kCodePageDefault = 0; // the locale's character set; plain ASCII locales mean UTF-8
inline constexpr unsigned kCodePageOem = 1;     // the same
inline constexpr unsigned kCodePageShiftJis = 932;
inline constexpr unsigned kCodePageWestern = 1252;
inline constexpr unsigned kCodePageUtf8 = 65001;

// Appends the decoded bytes to `units`. False, and nothing appended, for another code page.
bool DecodeBytes(unsigned codePage, std::string_view bytes, std::u16string& units);

// Writes the ASCII characters at the beginning of `units`, a byte each, and gives their number: most texts
// end there. `bytes` has room for as many bytes as there are units. 0 also where a page has ASCII at other
// places.
std::size_t EncodeAsciiRun(unsigned codePage, std::u16string_view units, char* bytes);

// How many bytes the units take at most; 0 for no units or another code page.
std::size_t EncodedBound(unsigned codePage, std::u16string_view units);

// Writes the units to `bytes`, which has room for EncodedBound, and gives the number of bytes.
std::size_t EncodeUnits(unsigned codePage, std::u16string_view units, char* bytes);

} // namespace platform
