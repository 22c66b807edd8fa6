#include <platform/wide_format.h>

#include <platform/code_page.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <locale.h>
#include <string_view>

namespace platform {
namespace {

// Makes the C library's formatting of this thread that of the "C" locale.
class PlainLocale {
public:
    PlainLocale() : m_Before(uselocale(Plain())) {}
    ~PlainLocale() { uselocale(m_Before); }
    PlainLocale(const PlainLocale&) = delete;
    PlainLocale& operator=(const PlainLocale&) = delete;

private:
    static locale_t Plain() {
        static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
        return plain;
    }

    locale_t m_Before;
};

bool IsDigit(wchar16 unit) {
    return unit >= u'0' && unit <= u'9';
}

// Digits as a number that stops at INT_MAX.
int ReadNumber(const wchar16*& at, const wchar16* end) {
    std::int64_t number = 0;
    for (; at < end && IsDigit(*at); ++at)
        number = std::min<std::int64_t>(number * 10 + (*at - u'0'), INT_MAX);
    return static_cast<int>(number);
}

void AppendPadded(std::u16string& out, const WideConversion& conversion, std::u16string_view text) {
    const std::size_t width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = width > text.size() ? width - text.size() : 0;
    if (!conversion.left)
        out.append(padding, conversion.zeros ? u'0' : u' ');
    out.append(text);
    if (conversion.left)
        out.append(padding, u' ');
}

// Floating point is the C library's, which is exact.
template <class Number>
void AppendFloat(std::u16string& out, const WideConversion& conversion, Number number) {
    char format[16] = "%";
    char* f = format + 1;
    const auto flag = [&f](bool set, char c) {
        if (set)
            *f++ = c;
    };
    flag(conversion.left, '-');
    flag(conversion.plus, '+');
    flag(conversion.space, ' ');
    flag(conversion.alternate, '#');
    flag(conversion.zeros, '0');
    std::memcpy(f, "*.*", 3);
    f += 3;
    flag(sizeof(Number) > sizeof(double), 'L');
    *f++ = conversion.type;
    *f = 0;

    PlainLocale locale;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // built above, from flags
    char buffer[512];
    const int length =
        std::snprintf(buffer, sizeof buffer, format, conversion.width, conversion.precision, number);
    if (length < 0)
        return;
    const auto size = static_cast<std::size_t>(length);
    if (size < sizeof buffer) {
        out.append(buffer, buffer + size);
        return;
    }
    std::string longer(size, '\0');
    std::snprintf(longer.data(), size + 1, format, conversion.width, conversion.precision, number);
#pragma GCC diagnostic pop
    out.append(longer.begin(), longer.end());
}

std::u16string FromBytes(std::string_view bytes) {
    std::u16string text;
    DecodeBytes(kCodePageDefault, bytes, text);
    return text;
}

// The text at `text`, up to its terminator or the conversion's precision, whichever comes first.
template <class Char>
std::basic_string_view<Char> Bounded(const Char* text, const WideConversion& conversion) {
    if (conversion.precision < 0)
        return text;
    const Char* end = text;
    for (int left = conversion.precision; left > 0 && *end; --left)
        ++end;
    return {text, static_cast<std::size_t>(end - text)};
}

struct Arguments {
    std::va_list list;
};

std::int64_t NextSigned(Arguments& arguments, WideConversion::Length length) {
    switch (length) {
    case WideConversion::Length::Char:
        return static_cast<signed char>(va_arg(arguments.list, int));
    case WideConversion::Length::Short:
        return static_cast<short>(va_arg(arguments.list, int));
    case WideConversion::Length::Long:
        return va_arg(arguments.list, long);
    case WideConversion::Length::LongLong:
    case WideConversion::Length::LongDouble:
    case WideConversion::Length::Int64:
        return va_arg(arguments.list, long long);
    case WideConversion::Length::Max:
        return va_arg(arguments.list, std::intmax_t);
    case WideConversion::Length::Size:
    case WideConversion::Length::Difference:
        return va_arg(arguments.list, std::ptrdiff_t);
    default:
        return va_arg(arguments.list, int);
    }
}

std::uint64_t NextUnsigned(Arguments& arguments, WideConversion::Length length) {
    const auto bits = static_cast<std::uint64_t>(NextSigned(arguments, length));
    switch (length) {
    case WideConversion::Length::Char:
        return static_cast<unsigned char>(bits);
    case WideConversion::Length::Short:
        return static_cast<unsigned short>(bits);
    case WideConversion::Length::None:
    case WideConversion::Length::Int32:
        return static_cast<std::uint32_t>(bits);
    default:
        return bits;
    }
}

bool IsNarrow(const WideConversion& conversion) {
    const bool capital = conversion.type == 'S' || conversion.type == 'C';
    return conversion.length == WideConversion::Length::Short ||
           (capital && conversion.length == WideConversion::Length::None);
}

void AppendString(std::u16string& out, const WideConversion& conversion, Arguments& arguments) {
    if (IsNarrow(conversion)) {
        if (const char* text = va_arg(arguments.list, const char*)) {
            AppendPadded(out, conversion, FromBytes(Bounded(text, conversion)));
            return;
        }
    } else if (const wchar16* text = va_arg(arguments.list, const wchar16*)) {
        AppendPadded(out, conversion, Bounded(text, conversion));
        return;
    }
    AppendText(out, conversion, u"(null)");
}

void AppendCharacter(std::u16string& out, const WideConversion& conversion, Arguments& arguments) {
    const int character = va_arg(arguments.list, int);
    if (IsNarrow(conversion)) {
        const char byte = static_cast<char>(character);
        AppendPadded(out, conversion, FromBytes({&byte, 1}));
    } else {
        const wchar16 unit = static_cast<wchar16>(character);
        AppendPadded(out, conversion, {&unit, 1});
    }
}

void AppendConversion(std::u16string& out, WideConversion& conversion, Arguments& arguments) {
    switch (conversion.type) {
    case 0:
        break;
    case 'd':
    case 'i':
        AppendInteger(out, conversion, true,
                      static_cast<std::uint64_t>(NextSigned(arguments, conversion.length)));
        break;
    case 'u':
    case 'o':
    case 'x':
    case 'X':
        AppendInteger(out, conversion, false, NextUnsigned(arguments, conversion.length));
        break;
    case 'p':
        conversion.alternate = true;
        AppendInteger(out, conversion, false,
                      reinterpret_cast<std::uintptr_t>(va_arg(arguments.list, void*)));
        break;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
        if (conversion.length == WideConversion::Length::LongDouble)
            AppendFloat(out, conversion, va_arg(arguments.list, long double));
        else
            AppendFloat(out, conversion, va_arg(arguments.list, double));
        break;
    case 's':
    case 'S':
        AppendString(out, conversion, arguments);
        break;
    case 'c':
    case 'C':
        AppendCharacter(out, conversion, arguments);
        break;
    case 'n':
        static_cast<void>(va_arg(arguments.list, void*));
        break;
    default:
        out += static_cast<wchar16>(static_cast<unsigned char>(conversion.type));
    }
}

} // namespace

const wchar16* ParseWideConversion(const wchar16* at, const wchar16* end, WideConversion& conversion) {
    for (;; ++at) {
        const wchar16 unit = at < end ? *at : u'\0';
        if (unit == u'-')
            conversion.left = true;
        else if (unit == u'+')
            conversion.plus = true;
        else if (unit == u' ')
            conversion.space = true;
        else if (unit == u'#')
            conversion.alternate = true;
        else if (unit == u'0')
            conversion.zeros = true;
        else
            break;
    }
    const auto take = [&at, end](std::u16string_view text) {
        if (!std::u16string_view(at, static_cast<std::size_t>(end - at)).starts_with(text))
            return false;
        at += text.size();
        return true;
    };
    conversion.widthIsArgument = take(u"*");
    if (!conversion.widthIsArgument)
        conversion.width = ReadNumber(at, end);
    if (take(u".")) {
        conversion.precisionIsArgument = take(u"*");
        if (!conversion.precisionIsArgument)
            conversion.precision = ReadNumber(at, end);
    }
    using Length = WideConversion::Length;
    static constexpr struct {
        std::u16string_view text;
        Length length;
    } kLengths[] = {{u"hh", Length::Char},   {u"h", Length::Short},      {u"ll", Length::LongLong},
                    {u"l", Length::Long},    {u"L", Length::LongDouble}, {u"j", Length::Max},
                    {u"z", Length::Size},    {u"t", Length::Difference}, {u"I64", Length::Int64},
                    {u"I32", Length::Int32}, {u"I", Length::Size},       {u"w", Length::Long}};
    if (at < end && std::u16string_view(u"hlLjztIw").find(*at) != std::u16string_view::npos)
        for (const auto& [text, length] : kLengths)
            if (take(text)) {
                conversion.length = length;
                break;
            }
    if (at == end)
        return at;
    // What isn't ASCII is no type; it stays for the text behind.
    if (*at >= 0x80)
        return at;
    conversion.type = static_cast<char>(*at);
    return at + 1;
}

void SetWidth(WideConversion& conversion, int width) {
    conversion.left = conversion.left || width < 0;
    conversion.width = width == INT_MIN ? INT_MAX : std::abs(width);
}

void AppendInteger(std::u16string& out, const WideConversion& conversion, bool isSigned, std::uint64_t bits) {
    const bool negative = isSigned && static_cast<std::int64_t>(bits) < 0;
    const std::uint64_t magnitude = negative ? 0 - bits : bits;
    const bool capital = conversion.type == 'X';
    const bool hexadecimal = capital || conversion.type == 'x' || conversion.type == 'p';
    const int base = hexadecimal ? 16 : conversion.type == 'o' ? 8 : 10;

    char digits[24];
    std::size_t count = 0;
    if (magnitude != 0 || conversion.precision != 0)
        count = static_cast<std::size_t>(std::to_chars(digits, digits + sizeof digits, magnitude, base).ptr -
                                         digits);
    std::u16string_view prefix;
    if (isSigned)
        prefix = negative ? u"-" : conversion.plus ? u"+" : conversion.space ? u" " : u"";
    else if (conversion.alternate && hexadecimal && magnitude != 0)
        prefix = capital ? u"0X" : u"0x";

    std::size_t zeros = 0;
    if (conversion.precision >= 0)
        zeros = std::max(static_cast<std::size_t>(conversion.precision), count) - count;
    else if (conversion.zeros && !conversion.left)
        zeros = std::max(static_cast<std::size_t>(conversion.width), count + prefix.size()) - count -
                prefix.size();
    if (base == 8 && conversion.alternate && zeros == 0 && (count == 0 || digits[0] != '0'))
        zeros = 1;

    const std::size_t size = prefix.size() + zeros + count;
    const std::size_t width = static_cast<std::size_t>(conversion.width);
    const std::size_t padding = width > size ? width - size : 0;
    if (!conversion.left)
        out.append(padding, u' ');
    out.append(prefix);
    out.append(zeros, u'0');
    for (std::size_t i = 0; i < count; ++i)
        out += static_cast<wchar16>(capital && digits[i] >= 'a' ? digits[i] - 32 : digits[i]);
    if (conversion.left)
        out.append(padding, u' ');
}

void AppendText(std::u16string& out, const WideConversion& conversion, std::u16string_view text) {
    if (conversion.precision >= 0)
        text = text.substr(0, static_cast<std::size_t>(conversion.precision));
    AppendPadded(out, conversion, text);
}

void FormatWideV(std::u16string& out, const wchar16* format, std::va_list list) {
    Arguments arguments;
    va_copy(arguments.list, list);
    const std::u16string_view whole(format);
    const wchar16* at = whole.data();
    const wchar16* end = at + whole.size();
    while (at < end) {
        const wchar16* percent = std::find(at, end, u'%');
        out.append(at, percent);
        if (percent == end)
            break;
        WideConversion conversion;
        at = ParseWideConversion(percent + 1, end, conversion);
        if (conversion.widthIsArgument)
            SetWidth(conversion, va_arg(arguments.list, int));
        if (conversion.precisionIsArgument)
            conversion.precision = va_arg(arguments.list, int);
        AppendConversion(out, conversion, arguments);
    }
    va_end(arguments.list);
}

} // namespace platform
