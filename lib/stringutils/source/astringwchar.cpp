#include <stringutils/astring.h>

#include <platform/character.h>
#include <platform/wide_format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <locale.h>

using platform::IsSpace;
using platform::ToLower;

namespace {

int Sign(wchar16 a, wchar16 b) {
    return a < b ? -1 : 1;
}

// Compares lower-cased up to the first difference, a zero unit in `a`, or `count` units. Both texts are
// terminated.
int CompareLower(const wchar16* a, const wchar16* b, std::size_t count) {
    for (; count > 0; ++a, ++b, --count) {
        if (*a != *b) {
            const wchar16 lowerA = ToLower(*a);
            const wchar16 lowerB = ToLower(*b);
            if (lowerA != lowerB)
                return Sign(lowerA, lowerB);
        }
        if (*a == 0)
            break;
    }
    return 0;
}

std::u16string_view TrimmedLeft(std::u16string_view text) {
    text.remove_prefix(
        static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsSpace) - text.begin()));
    return text;
}

std::u16string_view TrimmedRight(std::u16string_view text) {
    text.remove_suffix(
        static_cast<std::size_t>(std::find_if_not(text.rbegin(), text.rend(), IsSpace) - text.rbegin()));
    return text;
}

bool StartsWithHexadecimalMark(std::u16string_view text) {
    return text.size() > 1 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X');
}

// The value of a digit, or 36.
int DigitValue(wchar16 unit) {
    if (unit >= u'0' && unit <= u'9')
        return unit - u'0';
    const wchar16 letter = unit | 32;
    return letter >= u'a' && letter <= u'z' ? letter - u'a' + 10 : 36;
}

// What from_chars calls out of range: an infinity or a zero, as the C library rounds it.
double OutOfRange(std::string digits, bool hexadecimal) {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return strtod_l((hexadecimal ? digits.insert(0, "0x") : digits).c_str(), nullptr, plain);
}

} // namespace

AString::AString(const char* text) {
    Assign(text);
}

AString::AString(const wchar16* text) {
    *this = text;
}

AString::AString(const wchar16* text, std::size_t n) {
    Assign(text, n);
}

AString::AString(const CString& text) {
    Decode(kEncodingDefault, text.data(), static_cast<std::ptrdiff_t>(text.size()), *this);
}

AString& AString::operator=(const wchar16* a_string) {
    TARVOK_ASSERT(a_string != 0);
    if (a_string)
        assign(a_string);
    else
        clear();
    return *this;
}

AString& AString::operator=(std::initializer_list<wchar16> units) {
    assign(units);
    return *this;
}

void AString::Assign(const char* text) {
    Assign(kEncodingDefault, text, -1);
}

void AString::Assign(const char* text, int length) {
    Assign(kEncodingDefault, text, length);
}

void AString::Assign(int encoding, const char* a_string, int length) {
    TARVOK_ASSERT(a_string != 0);
    Decode(encoding, a_string, length, *this);
}

void AString::Assign(const wchar16* a_string, std::size_t n) {
    TARVOK_ASSERT(a_string != 0);
    if (a_string)
        assign(a_string, n);
    else
        clear();
}

AStringBuf AString::ToNarrow(int encoding) const {
    AStringBuf narrow;
    const int length = Encode(encoding, data(), size(), narrow);
    if (length < 1)
        return {};
    narrow.Terminate(length);
    return narrow;
}

CString AString::ToCString() const {
    return CString(ToNarrow(kEncodingDefault).View());
}

BSTR AString::ToBstr() const {
    return SysAllocStringLen(data(), size());
}

void AString::Format(const wchar16* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    FormatV(format, arguments);
    va_end(arguments);
}

void AString::FormatV(const wchar16* format, std::va_list arguments) {
    TARVOK_ASSERT(format != 0);
    // Built aside, since the arguments may be parts of this string. It keeps its size for the next call.
    thread_local std::u16string scratch;
    scratch.clear();
    if (format)
        platform::FormatWideV(scratch, format, arguments);
    assign(scratch);
}

AString AString::Mid(int first, int count) const {
    const std::size_t begin = static_cast<std::size_t>(std::max(first, 0));
    if (begin >= size() || count < 1)
        return {};
    return {data() + begin, std::min(static_cast<std::size_t>(count), size() - begin)};
}

AString AString::Mid(int first) const {
    const std::size_t begin = static_cast<std::size_t>(std::max(first, 0));
    if (begin >= size())
        return {};
    return {data() + begin, size() - begin};
}

AString AString::Left(int count) const {
    return Mid(0, count);
}

void AString::ToLower() {
    std::transform(begin(), end(), begin(), platform::ToLower);
}

void AString::TrimLeft() {
    erase(0, size() - TrimmedLeft(*this).size());
}

void AString::TrimRight() {
    resize(TrimmedRight(*this).size());
}

void AString::Trim() {
    TrimLeft();
    TrimRight();
}

int AString::Compare(const AString& other) const {
    const auto [a, b] = std::mismatch(begin(), end(), other.begin(), other.end());
    if (a != end() && b != other.end())
        return Sign(*a, *b);
    return a == end() ? (b == other.end() ? 0 : -1) : 1;
}

int AString::CompareNoCase(const AString& other) const {
    return this == &other ? 0 : CompareLower(c_str(), other.c_str(), size() + 1);
}

int AString::CompareNoCase(int first, int count, const AString& other) const {
    const std::size_t begin = static_cast<std::size_t>(std::max(first, 0));
    if (begin > size() || count < 1)
        return other.empty() ? 0 : -1;
    return CompareLower(c_str() + begin, other.c_str(), static_cast<std::size_t>(count));
}

int CompareNoCase(const wchar16* a, const wchar16* b) {
    return a == b ? 0 : CompareLower(a, b, std::numeric_limits<std::size_t>::max());
}

bool AString::ToDouble(double& out) const {
    std::u16string_view text = TrimmedRight(TrimmedLeft(*this));
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+'))
        text.remove_prefix(1);
    const bool hexadecimal = StartsWithHexadecimalMark(text);
    if (hexadecimal)
        text.remove_prefix(2);
    // Behind the mark only digits are a number; without it, a minus here would be a second sign.
    if (text.empty() || text[0] == u'-' || (hexadecimal && text[0] != u'.' && DigitValue(text[0]) > 15))
        return false;

    // Short of 32 digits nothing is allocated.
    char digits[32];
    std::string longer;
    char* narrow = digits;
    if (text.size() > sizeof digits) {
        longer.resize(text.size());
        narrow = longer.data();
    }
    for (std::size_t i = 0; i < text.size(); ++i)
        narrow[i] = text[i] < 0x80 ? static_cast<char>(text[i]) : '?';

    double value = 0;
    const char* last = narrow + text.size();
    const auto [end, error] = std::from_chars(
        narrow, last, value, hexadecimal ? std::chars_format::hex : std::chars_format::general);
    if (end != last || error == std::errc::invalid_argument)
        return false;
    if (error == std::errc::result_out_of_range)
        value = OutOfRange({narrow, text.size()}, hexadecimal);
    out = negative ? -value : value;
    return true;
}

bool AString::ToLong(long& out, int base) const {
    std::u16string_view text = TrimmedRight(TrimmedLeft(*this));
    const bool negative = text.starts_with(u'-');
    if (negative || text.starts_with(u'+'))
        text.remove_prefix(1);
    if ((base == 0 || base == 16) && StartsWithHexadecimalMark(text)) {
        text.remove_prefix(2);
        base = 16;
    } else if (base == 0) {
        base = text.starts_with(u'0') ? 8 : 10;
    }
    if (text.empty() || base < 2 || base > 36)
        return false;

    constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
    const std::int64_t limit = negative ? kMost + 1 : kMost;
    std::int64_t value = 0;
    for (wchar16 unit : text) {
        const int digit = DigitValue(unit);
        if (digit >= base)
            return false;
        value = std::min(value * base + digit, limit);
    }
    out = static_cast<long>(negative ? -value : value);
    return true;
}
