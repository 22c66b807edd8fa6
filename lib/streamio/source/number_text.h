// Numbers to text and back, exact, without streams and without a locale.
#pragma once

#include <stringutils/astring.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace io {

class CToken;

// A number's text of bounded length.
struct NumberText {
    wchar16 units[48];
    std::size_t length = 0;

    std::u16string_view View() const { return {units, length}; }
};

// Reads the number that `text` begins with into `out`, in the forms of the token grammar: digits with an
// optional sign (Int), with a point or an exponent (Double). Gives the place behind it, or null, with `out`
// untouched, where the text begins with no number or with one of the forms that give characters back (a
// broken exponent, a hexadecimal prefix).
const wchar16* ScanNumber(const wchar16* text, const wchar16* end, bool keepSource, CToken& out);

// The whole text as a number in the way of strtod: leading and trailing blanks are passed, an overflow is
// infinite.
bool ParseDouble(std::u16string_view text, double& out);

// The whole text as a hexadecimal number with or without its prefix, saturating at 2147483647; false for a
// text that is none or is negative.
bool ParseHex(std::u16string_view text, double& out);

// The digits of a number in the spellings that a token keeps without its characters: 12, -1.50, 0.001
// (plain), 1e+20, -1.50e-07 (exponent). False for every other spelling.
bool ReadSpelling(std::u16string_view text, std::uint64_t& digits, bool& exponent);
// The text of such digits; at most 48 characters for what ReadSpelling took.
NumberText SpellNumber(std::uint64_t digits, double value, bool exponent);

// As printf's %.*g with a precision of 1 to 17; `out` has room for 48 units. Gives the end of the text.
inline constexpr int kMostGeneralDigits = 17;
wchar16* WriteGeneral(wchar16* out, double value, int precision);

enum class NumberStyle { General, Fixed, Scientific };
// As printf's %.*g, %.*f or %.*e, any precision.
std::string FormatNumber(double value, NumberStyle style, int precision);

// `out` has room for 24 units.
wchar16* WriteInteger(wchar16* out, std::int64_t value);
wchar16* WriteUnsigned(wchar16* out, std::uint64_t value);
wchar16* WriteHex(wchar16* out, std::uint64_t value);

} // namespace io
