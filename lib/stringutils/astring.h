// AString: the system's string, a value that holds a sequence of 16-bit UTF-16 code units.
//
// Lengths and positions count code units; embedded zeros and lone surrogates are kept. Narrow text exists
// only at the borders and names its encoding. Case, white space and comparison look at one unit at a time.
// Any thread may use a string, one at a time; the conversions and formats keep no state that two threads
// share.
#pragma once

#include <platform/bstr.h>
#include <stringutils/astring_buf.h>
#include <stringutils/i18nwin32wchar.h>

#include <cstdarg>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

// The text object of the desktop framework: bytes in encoding 0 with a length.
using CString = std::string;

class AString : public std::u16string {
public:
    AString() = default;
    // Bytes in encoding 0 up to the terminator. A null text is an assertion and gives the empty string, here
    // and below.
    AString(const char* text);
    AString(const wchar16* text);
    AString(const wchar16* text, std::size_t n);
    // Bytes in encoding 0, by their length.
    AString(const CString& text);
    AString(const std::u16string& text) : std::u16string(text) {}
    AString(std::u16string&& text) noexcept : std::u16string(std::move(text)) {}
    explicit AString(std::u16string_view text) : std::u16string(text) {}

    AString& operator=(const wchar16* text);
    AString& operator=(std::initializer_list<wchar16> units);

    void Assign(const char* text);
    void Assign(const char* text, int length);
    // `length` bytes in `encoding` (see EncodingId); a negative length means up to the terminator. One zero
    // unit at the end is taken for a terminator and dropped. Bytes that the encoding doesn't know are
    // replaced, never an error; an encoding outside the table gives the empty string.
    void Assign(int encoding, const char* text, int length);
    void Assign(const wchar16* text, std::size_t n);

    // The text as bytes, zero-terminated. Null handle for an empty string or an encoding outside the table.
    // One zero unit at the end is taken for a terminator and dropped. What the encoding can't say becomes
    // '?', and a lone surrogate U+FFFD in UTF-8.
    AStringBuf ToNarrow(int encoding) const;
    CString ToCString() const;
    // A new BSTR with the same units, which the caller frees; null when memory is short (see
    // SysAllocStringLen).
    BSTR ToBstr() const;

    // The printf-style expansion of `format` (see <platform/wide_format.h>; %s takes 16-bit text, %hs bytes
    // in encoding 0). The arguments may be parts of this string.
    void Format(const wchar16* format, ...);
    void FormatV(const wchar16* format, std::va_list arguments);

    AString Mid(int first, int count) const;
    AString Mid(int first) const;
    AString Left(int count) const;

    void ToLower();
    void TrimLeft();
    void TrimRight();
    void Trim();

    // -1, 0 or 1 by the first unit that differs, as unsigned values; a prefix is less.
    int Compare(const AString& other) const;
    // The same over lower-cased units; a zero unit in this string ends the comparison.
    int CompareNoCase(const AString& other) const;
    // From `first` of this string over at most `count` units; nothing there compares as the empty string.
    int CompareNoCase(int first, int count, const AString& other) const;

    // The whole text is one number between white space. False, and `out` untouched, otherwise. The point is
    // "." in every locale; a value out of range gives an infinity or a zero with its sign.
    bool ToDouble(double& out) const;
    // 32 bits: a value out of range gives the nearest end. `base` is 2 to 36, or 0 for C's prefixes.
    bool ToLong(long& out, int base) const;
};

// As the member, on terminated texts.
int CompareNoCase(const wchar16* a, const wchar16* b);

template <>
struct std::hash<AString> : std::hash<std::u16string> {};
