// printf for 16-bit formats.
//
// A conversion is %[flags][width][.precision][length]type with the flags - + space # 0, width and precision
// in digits or as *, and the lengths hh h l ll j z t L I I32 I64. Types: d i u o x X c C s S e E f F g G a A
// p %.
//   s, ls, ws   terminated 16-bit text; the precision bounds the units that are read
//   hs, S       terminated bytes in the default code page; the precision bounds the bytes that are read
//   c, lc       one 16-bit unit; hc, C one byte
// A null text prints as (null). %ld reads a C++ long, %d an int. Numbers look the same in every locale. %n
// takes its argument and writes nothing; an unknown type stands for itself. The result has the length that it
// needs.
#pragma once

#include <platform/bstr.h>

#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// Appends the expansion of `format` to `out`.
void FormatWideV(std::u16string& out, const wchar16* format, std::va_list arguments);

// One conversion, taken apart.
struct WideConversion {
    bool left = false, plus = false, space = false, alternate = false, zeros = false;
    bool widthIsArgument = false, precisionIsArgument = false;
    int width = 0;
    int precision = -1; // negative: none
    enum class Length { None, Char, Short, Long, LongLong, Max, Size, Difference, LongDouble, Int32, Int64 };
    Length length = Length::None;
    char type = 0; // 0: the format ended within the conversion
};

// Reads the conversion whose characters begin at `at`, behind the %, and gives the position behind it.
const wchar16* ParseWideConversion(const wchar16* at, const wchar16* end, WideConversion& conversion);

// A negative width from an argument asks for the left, a negative precision for none.
void SetWidth(WideConversion& conversion, int width);

// Append one argument as the conversion says; its type decides which of these serves.
void AppendInteger(std::u16string& out, const WideConversion& conversion, bool isSigned, std::uint64_t bits);
void AppendText(std::u16string& out, const WideConversion& conversion, std::u16string_view text);

} // namespace platform
