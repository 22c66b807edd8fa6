#include "number_text.h"
#include "name_compare.h"

#include <streamio/token.h>

#include <fast_float/fast_float.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace io {

namespace {

using Binary = fast_float::binary_format<double>;

constexpr std::uint64_t kPowers[] = {1,
                                     10,
                                     100,
                                     1000,
                                     10000,
                                     100000,
                                     1000000,
                                     10000000,
                                     100000000,
                                     1000000000,
                                     10000000000,
                                     100000000000,
                                     1000000000000,
                                     10000000000000,
                                     100000000000000,
                                     1000000000000000,
                                     10000000000000000,
                                     100000000000000000,
                                     1000000000000000000};
constexpr int kMostDigits = 19; // that a 64-bit integer takes whatever they are

bool IsDigit(wchar16 unit) {
    return static_cast<wchar16>(unit - u'0') < 10;
}

int CountDigits(std::uint64_t value) {
    if (value == 0)
        return 1;
    // log10(2) = 1233 / 4096; right or one too low.
    const int guess = (static_cast<int>(std::bit_width(value)) * 1233) >> 12;
    return guess + (guess < 19 && value >= kPowers[guess] ? 1 : 0);
}

#if defined(__SSE2__)
// The number that eight digits spell; false if one of the eight units is none.
inline bool TakeEightDigits(const wchar16* text, std::uint32_t& number) {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i values = _mm_sub_epi16(units, _mm_set1_epi16(u'0'));
    const __m128i beyond = _mm_subs_epu16(values, _mm_set1_epi16(9));
    if (_mm_movemask_epi8(_mm_cmpeq_epi16(beyond, _mm_setzero_si128())) != 0xFFFF)
        return false;
    const __m128i pairs = _mm_madd_epi16(values, _mm_setr_epi16(1000, 100, 10, 1, 1000, 100, 10, 1));
    const __m128i fours = _mm_add_epi32(pairs, _mm_srli_epi64(pairs, 32));
    number = static_cast<std::uint32_t>(_mm_cvtsi128_si32(fours)) * 10000 +
             static_cast<std::uint32_t>(_mm_extract_epi16(fours, 4));
    return true;
}
#else
inline bool TakeEightDigits(const wchar16* text, std::uint32_t& number) {
    number = 0;
    for (int i = 0; i < 8; ++i) {
        if (!IsDigit(text[i]))
            return false;
        number = number * 10 + static_cast<std::uint32_t>(text[i] - u'0');
    }
    return true;
}
#endif

// Adds a run of digits to `value`, which wraps when there are too many of them.
inline const wchar16* ScanDigits(const wchar16* text, const wchar16* end, std::uint64_t& value) {
    std::uint32_t eight = 0;
    while (end - text >= 8 && TakeEightDigits(text, eight)) {
        value = value * 100000000 + eight;
        text += 8;
    }
    while (text < end && IsDigit(*text))
        value = value * 10 + static_cast<std::uint64_t>(*text++ - u'0');
    return text;
}

// The double nearest to digits * 10^exponent; false in the rare cases that this many bits can't decide.
bool ComputeDouble(std::uint64_t digits, int exponent, double& out) {
    if (exponent >= -22 && exponent <= 22 && digits <= (std::uint64_t{1} << 53)) {
        out = static_cast<double>(digits);
        if (exponent < 0)
            out /= Binary::exact_power_of_ten(-exponent);
        else
            out *= Binary::exact_power_of_ten(exponent);
        return true;
    }
    const fast_float::adjusted_mantissa rounded = fast_float::compute_float<Binary>(exponent, digits);
    if (rounded.power2 < 0)
        return false;
    out = std::bit_cast<double>(rounded.mantissa | static_cast<std::uint64_t>(rounded.power2)
                                                       << Binary::mantissa_explicit_bits());
    return true;
}

void Put8(char* out, std::uint32_t value) {
    // Two, then four, then eight digits side by side, each step a division by multiplication.
    const std::uint64_t halves = value / 10000 | static_cast<std::uint64_t>(value % 10000) << 32;
    const std::uint64_t tens = ((halves * 10486) >> 20) & 0x0000007F0000007F;
    const std::uint64_t pairs = tens | (halves - 100 * tens) << 16;
    const std::uint64_t high = ((pairs * 103) >> 10) & 0x000F000F000F000F;
    const std::uint64_t bytes = (high | (pairs - 10 * high) << 8) + 0x3030303030303030;
    std::memcpy(out, &bytes, 8);
}

// 17 digits, with zeros in front; `out` has room for 24.
void Put17(char* out, std::uint64_t value) {
    const std::uint64_t low = value % 100000000;
    const std::uint64_t rest = value / 100000000;
    out[0] = static_cast<char>('0' + rest / 100000000);
    Put8(out + 1, static_cast<std::uint32_t>(rest % 100000000));
    Put8(out + 9, static_cast<std::uint32_t>(low));
}

void Widen24(wchar16* out, const char* in) {
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
    const __m128i last = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(in + 16));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(first, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(first, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), _mm_unpacklo_epi8(last, zero));
#else
    for (int i = 0; i < 24; ++i)
        out[i] = static_cast<unsigned char>(in[i]);
#endif
}

wchar16* WidenAll(wchar16* out, std::string_view text) {
    for (const char c : text)
        *out++ = static_cast<unsigned char>(c);
    return out;
}

// `exponent` as e+05 or e-123.
wchar16* PutExponent(wchar16* out, int exponent) {
    *out++ = u'e';
    *out++ = exponent < 0 ? u'-' : u'+';
    if (exponent < 0)
        exponent = -exponent;
    if (exponent >= 100)
        *out++ = static_cast<wchar16>(u'0' + exponent / 100);
    *out++ = static_cast<wchar16>(u'0' + exponent / 10 % 10);
    *out++ = static_cast<wchar16>(u'0' + exponent % 10);
    return out;
}

// The `precision` leading digits of a positive finite value, correctly rounded, and the decimal exponent of
// the first. False where 128 bits of a power of ten can't decide the rounding.
bool LeadingDigits(double value, int precision, std::uint64_t& digits, int& exponent) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
    int power = static_cast<int>(bits >> 52);
    if (power == 0)
        power = 1;
    else
        mantissa |= std::uint64_t{1} << 52;
    const int shift = std::countl_zero(mantissa);
    mantissa <<= shift;
    power += -1075 - shift;

    // log10(value), from the exponent and the ten bits behind the leading one: right or one off.
    const std::int64_t log2 =
        (static_cast<std::int64_t>(power) + 63) * 1024 + static_cast<std::int64_t>(mantissa >> 53 & 1023);
    exponent = static_cast<int>(log2 * 315652 >> 30);
    for (int tries = 0; tries < 2; ++tries) {
        const int scale = precision - 1 - exponent;
        using Table = fast_float::powers_template<>;
        if (scale < Table::smallest_power_of_five || scale > Table::largest_power_of_five)
            return false;
        const std::uint64_t* factor = Table::power_of_five_128 + 2 * (scale - Table::smallest_power_of_five);
        // 10^scale = factor * 2^(log - 127)
        const int log = (217706 * scale) >> 16;
        __extension__ using Wide = unsigned __int128;
        const Wide product =
            static_cast<Wide>(mantissa) * factor[0] + (static_cast<Wide>(mantissa) * factor[1] >> 64);
        const int right = 63 - power - log;
        if (right < 2 || right > 126)
            return false;
        digits = static_cast<std::uint64_t>(product >> right);
        const Wide half = Wide{1} << (right - 1);
        const Wide fraction = product & ((half << 1) - 1);
        // The product is within 2 units of its last place.
        if (fraction >= half - 4 && fraction <= half + 4)
            return false;
        digits += fraction > half ? 1 : 0;
        if (digits < kPowers[precision - 1])
            --exponent;
        else if (digits > kPowers[precision])
            ++exponent;
        else if (digits == kPowers[precision]) {
            digits /= 10;
            ++exponent;
            return true;
        } else {
            return true;
        }
    }
    return false;
}

// What a number's text is made of.
struct CNumberParts {
    std::uint64_t digits = 0; // all of them as one integer, which wraps beyond kMostDigits
    const wchar16* whole;     // the first digit
    std::ptrdiff_t wholeCount;
    std::ptrdiff_t fractionCount = 0;
    bool isSigned;
    bool negative;
    bool point = false;

    bool AreFew() const { return wholeCount + fractionCount <= kMostDigits; }
    // Whether they didn't wrap: zeros in front add nothing.
    bool Fit() const {
        std::ptrdiff_t left = wholeCount + fractionCount;
        for (const wchar16* p = whole; left > kMostDigits && (*p == u'0' || *p == u'.'); ++p)
            left -= *p == u'0' ? 1 : 0;
        return left <= kMostDigits;
    }
    // As most programs write it: no sign but a minus, no needless zeros in front, digits on both sides of a point.
    bool IsUsual() const {
        return AreFew() && isSigned == negative && wholeCount > 0 && (wholeCount == 1 || *whole != u'0') &&
               (!point || fractionCount > 0);
    }
};

// The rest of a number from its exponent on, and numbers of unusual digits.
[[gnu::noinline]] const wchar16* ScanUnusual(const wchar16* text, const wchar16* p, const wchar16* end,
                                             const CNumberParts& parts, bool keepSource, CToken& out) {
    if (parts.wholeCount + parts.fractionCount == 0)
        return nullptr;
    if (parts.wholeCount == 1 && *parts.whole == u'0' && !parts.isSigned && !parts.point && p < end &&
        *p == u'x')
        return nullptr;
    int exponent = 0;
    bool plain = true;
    bool usualExponent = false;
    if (p < end && (*p == u'e' || *p == u'E')) {
        const wchar16* q = p + 1;
        const bool exponentSigned = q < end && (*q == u'-' || *q == u'+');
        const bool exponentNegative = exponentSigned && *q == u'-';
        q += exponentSigned ? 1 : 0;
        const wchar16* const first = q;
        while (q < end && IsDigit(*q)) {
            if (exponent < 100000)
                exponent = exponent * 10 + (*q - u'0');
            ++q;
        }
        if (q == first)
            return nullptr;
        plain = false;
        usualExponent = *p == u'e' && exponentSigned && (exponent != 0 || !exponentNegative) &&
                        (q - first == 2 || (q - first == 3 && *first != u'0'));
        if (exponentNegative)
            exponent = -exponent;
        p = q;
    }

    const TokenType kind = plain && !parts.point ? TokenType::Int : TokenType::Double;
    double value = 0;
    if (!parts.Fit() || !ComputeDouble(parts.digits, exponent - static_cast<int>(parts.fractionCount), value))
        ParseDouble({text, static_cast<std::size_t>(p - text)}, value);
    else if (parts.negative)
        value = -value;

    if (!keepSource) {
        out = CToken(kind, value);
        return p;
    }
    const bool usual =
        parts.IsUsual() && (plain ? parts.digits != 0 || !parts.point
                                  : usualExponent && parts.wholeCount == 1 && *parts.whole != u'0');
    if (usual && CToken::CanSpell(parts.digits, value))
        out = CToken::SpelledNumber(kind, value, parts.digits, !plain);
    else
        out = CToken(kind, value, {text, static_cast<std::size_t>(p - text)});
    return p;
}

} // namespace

const wchar16* ScanNumber(const wchar16* text, const wchar16* end, bool keepSource, CToken& out) {
    CNumberParts parts;
    const wchar16* p = text;
    parts.isSigned = p < end && (*p == u'-' || *p == u'+');
    parts.negative = parts.isSigned && *p == u'-';
    p += parts.isSigned ? 1 : 0;
    parts.whole = p;
    // Most numbers have one digit in front of their point.
    if (p < end && IsDigit(*p))
        parts.digits = static_cast<std::uint64_t>(*p++ - u'0');
    if (p < end && IsDigit(*p))
        p = ScanDigits(p, end, parts.digits);
    parts.wholeCount = p - parts.whole;
    if (p < end && *p == u'.') {
        parts.point = true;
        const wchar16* const fraction = ++p;
        p = ScanDigits(p, end, parts.digits);
        parts.fractionCount = p - fraction;
    }
    double value = 0;
    const unsigned behind = p < end ? *p : 0u;
    if ((behind | 32) == u'e' || behind == u'x' || !parts.IsUsual() ||
        !ComputeDouble(parts.digits, -static_cast<int>(parts.fractionCount), value))
        return ScanUnusual(text, p, end, parts, keepSource, out);
    if (parts.negative)
        value = -value;
    const TokenType kind = parts.point ? TokenType::Double : TokenType::Int;
    if (!keepSource)
        out = CToken(kind, value);
    else if (CToken::CanSpell(parts.digits, value) && (parts.digits != 0 || !parts.point))
        out = CToken::SpelledNumber(kind, value, parts.digits, false);
    else
        out = CToken(kind, value, {text, static_cast<std::size_t>(p - text)});
    return p;
}

bool ReadSpelling(std::u16string_view text, std::uint64_t& digits, bool& exponent) {
    std::size_t at = 0;
    const auto scan = [&](std::uint64_t& value) {
        const std::size_t first = at;
        while (at < text.size() && IsDigit(text[at]))
            value = value * 10 + (text[at++] - u'0');
        return at - first;
    };
    digits = 0;
    if (at < text.size() && text[at] == u'-')
        ++at;
    const std::size_t begin = at;
    const std::size_t whole = scan(digits);
    std::size_t fraction = 0;
    if (at < text.size() && text[at] == u'.') {
        ++at;
        fraction = scan(digits);
        if (fraction == 0)
            return false;
    }
    if (whole == 0 || whole + fraction > kMostDigits)
        return false;
    exponent = at < text.size();
    if (!exponent)
        return (whole == 1 || text[begin] != u'0') && (digits != 0 || fraction == 0);
    if (whole != 1 || text[begin] == u'0' || text[at++] != u'e' || at == text.size())
        return false;
    const wchar16 sign = text[at++];
    const wchar16 first = at < text.size() ? text[at] : u'0';
    std::uint64_t power = 0;
    const std::size_t count = scan(power);
    return at == text.size() && (sign == u'+' || (sign == u'-' && power != 0)) &&
           (count == 2 || (count == 3 && first != u'0'));
}

NumberText SpellNumber(std::uint64_t digits, double value, bool exponent) {
    NumberText text;
    wchar16* out = text.units;
    if (std::signbit(value)) {
        *out++ = u'-';
        value = -value;
    }
    const int count = CountDigits(digits);
    // digits / value is very nearly 10^fraction, and the exponent of a power of ten tells which.
    int fraction = 0;
    if (digits != 0) {
        const auto bits = std::bit_cast<std::uint64_t>(static_cast<double>(digits) / value);
        const double log2 = static_cast<double>(static_cast<int>(bits >> 52) - 1023) + 0.5;
        fraction = static_cast<int>(std::lrint(log2 * 0.30102999566398119521));
    }
    char all[48] = {};
    if (count <= 17) {
        Put17(all, digits * kPowers[17 - count]);
    } else {
        Put17(all, digits / 10);
        all[17] = static_cast<char>('0' + digits % 10);
    }
    const int whole = exponent ? 1 : count - fraction;
    if (whole > 0) {
        Widen24(out, all);
        out += whole;
        if (whole < count) {
            *out++ = u'.';
            Widen24(out, all + whole);
            out += count - whole;
        }
    } else {
        *out++ = u'0';
        *out++ = u'.';
        for (int i = whole; i < 0; ++i)
            *out++ = u'0';
        Widen24(out, all);
        out += count;
    }
    if (exponent)
        out = PutExponent(out, count - 1 - fraction);
    text.length = static_cast<std::size_t>(out - text.units);
    return text;
}

bool ParseDouble(std::u16string_view text, double& out) {
    const auto isBlank = [](wchar16 unit) { return unit == u' ' || (unit >= 9 && unit <= 13); };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    if (text.size() > 1 && text[0] == u'+' && text[1] != u'-' && text[1] != u'+')
        text.remove_prefix(1);
    std::string narrow;
    narrow.reserve(text.size());
    for (const wchar16 unit : text) {
        if (unit >= 128)
            return false;
        narrow += static_cast<char>(unit);
    }
    double value = 0;
    const fast_float::from_chars_result result =
        fast_float::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
    if (narrow.empty() || result.ptr != narrow.data() + narrow.size())
        return false;
    out = value;
    return true;
}

bool ParseHex(std::u16string_view text, double& out) {
    if (text.size() > 2 && text[0] == u'0' && (text[1] == u'x' || text[1] == u'X'))
        text.remove_prefix(2);
    if (text.empty())
        return false;
    constexpr std::uint64_t kMost = 2147483647;
    std::uint64_t value = 0;
    for (const wchar16 unit : text) {
        const wchar16 c = LowerUnit(unit);
        if (!IsDigit(c) && !(c >= u'a' && c <= u'f'))
            return false;
        value = std::min(kMost, value * 16 + (IsDigit(c) ? c - u'0' : c - u'a' + 10));
    }
    out = static_cast<double>(value);
    return true;
}

wchar16* WriteGeneral(wchar16* out, double value, int precision) {
    if (value == 0 || !std::isfinite(value)) {
        if (value != 0)
            return WidenAll(out, FormatNumber(value, NumberStyle::General, precision));
        if (std::signbit(value))
            *out++ = u'-';
        *out++ = u'0';
        return out;
    }
    std::uint64_t digits = 0;
    int exponent = 0;
    if (!LeadingDigits(std::fabs(value), precision, digits, exponent))
        return WidenAll(out, FormatNumber(value, NumberStyle::General, precision));
    if (value < 0)
        *out++ = u'-';
    char all[48] = {};
    Put17(all, digits * kPowers[17 - precision]);
    int count = precision;
    while (count > 1 && all[count - 1] == '0')
        --count;
    if (exponent >= precision || exponent < -4) {
        *out++ = static_cast<unsigned char>(all[0]);
        if (count > 1) {
            *out++ = u'.';
            Widen24(out, all + 1);
            out += count - 1;
        }
        return PutExponent(out, exponent);
    }
    if (exponent < 0) {
        *out++ = u'0';
        *out++ = u'.';
        for (int i = exponent; i < -1; ++i)
            *out++ = u'0';
        Widen24(out, all);
        return out + count;
    }
    Widen24(out, all);
    out += exponent + 1;
    if (count > exponent + 1) {
        *out++ = u'.';
        Widen24(out, all + exponent + 1);
        out += count - exponent - 1;
    }
    return out;
}

std::string FormatNumber(double value, NumberStyle style, int precision) {
    const std::chars_format format = style == NumberStyle::Fixed        ? std::chars_format::fixed
                                     : style == NumberStyle::Scientific ? std::chars_format::scientific
                                                                        : std::chars_format::general;
    std::string text;
    text.resize(static_cast<std::size_t>(std::max(precision, 1)) + 350);
    const std::to_chars_result result =
        std::to_chars(text.data(), text.data() + text.size(), value, format, precision);
    text.resize(static_cast<std::size_t>(result.ptr - text.data()));
    return text;
}

wchar16* WriteUnsigned(wchar16* out, std::uint64_t value) {
    wchar16 digits[20];
    wchar16* p = digits + 20;
    do {
        *--p = static_cast<wchar16>(u'0' + value % 10);
        value /= 10;
    } while (value != 0);
    return std::copy(p, digits + 20, out);
}

wchar16* WriteInteger(wchar16* out, std::int64_t value) {
    if (value >= 0)
        return WriteUnsigned(out, static_cast<std::uint64_t>(value));
    *out++ = u'-';
    return WriteUnsigned(out, -static_cast<std::uint64_t>(value));
}

wchar16* WriteHex(wchar16* out, std::uint64_t value) {
    const int digits = value == 0 ? 1 : (static_cast<int>(std::bit_width(value)) + 3) / 4;
    for (int i = digits - 1; i >= 0; --i)
        *out++ = u"0123456789abcdef"[value >> (4 * i) & 15];
    return out;
}

} // namespace io
