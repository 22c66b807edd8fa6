#include <stringutils/astring.h>

#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>

namespace {

template <class... Arguments>
std::string Formatted(const wchar16* format, Arguments... arguments) {
    AString text;
    text.Format(format, arguments...);
    return text.ToCString();
}

// Every conversion of numbers is the C library's; `Argument` is what the conversion reads.
template <class Argument>
void ExpectAsTheLibrary(std::initializer_list<const char*> lengths, const char* types,
                        std::initializer_list<Argument> values) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    for (const char* flags : {"", "-", "+", " ", "#", "0", "-0", "+ ", "#0", "-#+", "+0"})
        for (const char* size : {"", "1", "12", ".0", ".", ".3", "12.5", "3.12", "40.30"})
            for (const char* length : lengths)
                for (const char* type = types; *type; ++type)
                    for (Argument value : values) {
                        const std::string format = std::string("<%") + flags + size + length + *type + ">";
                        char expected[600];
                        std::snprintf(expected, sizeof expected, format.c_str(), value);
                        ASSERT_EQ(Formatted(AString(format.c_str()).c_str(), value), expected)
                            << format << ' ' << value;
                    }
#pragma GCC diagnostic pop
}

TEST(Format, IntegersAreThoseOfTheCLibrary) {
    ExpectAsTheLibrary<int>({"", "h", "hh"}, "diuoxX", {0, 1, -1, 8, 255, -32769, INT32_MAX, INT32_MIN});
    ExpectAsTheLibrary<long>({"l", "ll", "j", "z", "t"}, "diuoxX", {0L, 7L, -7L, INT64_MAX, INT64_MIN});
}

TEST(Format, FloatingPointIsThatOfTheCLibrary) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    ExpectAsTheLibrary<double>(
        {"", "l"}, "eEfFgGaA",
        {0.0, -0.0, 1.0, 0.1, -2.5, 1e23, 123456789.0, 5e-324, kInfinity, -kInfinity, std::nan("")});
    ExpectAsTheLibrary<long double>({"L"}, "efga", {0.1L, -1e300L});
}

TEST(Format, TextAndCharactersHaveWideAndNarrowForms) {
    EXPECT_EQ(Formatted(u"[%s][%ls][%hs][%S]", u"a\u20AC", u"b", "c\xE2\x82\xAC", "d"),
              "[a\xE2\x82\xAC][b][c\xE2\x82\xAC][d]");
    EXPECT_EQ(Formatted(u"[%5s][%-5s][%.2s][%5.1s][%.0s]", u"abc", u"abc", u"abc", u"abc", u"abc"),
              "[  abc][abc  ][ab][    a][]");
    EXPECT_EQ(Formatted(u"[%*s][%*s][%.*s][%.*s]", 4, u"a", -4, u"a", 1, u"abc", -1, u"abc"),
              "[   a][a   ][a][abc]");
    EXPECT_EQ(Formatted(u"[%c][%3c][%-3c][%hc][%C][%lc]", u'\u20AC', u'b', u'c', 'd', 'e', u'f'),
              "[\xE2\x82\xAC][  b][c  ][d][e][f]");
    EXPECT_EQ(Formatted(u"[%s][%hs][%8s]", static_cast<const wchar16*>(nullptr),
                        static_cast<const char*>(nullptr), static_cast<const wchar16*>(nullptr)),
              "[(null)][(null)][  (null)]");
    // Without a terminator, the precision is what keeps the reader inside.
    const wchar16 wide[] = {u'a', u'b'};
    const char narrow[] = {'c', 'd'};
    EXPECT_EQ(Formatted(u"%.2s%.2hs", wide, narrow), "abcd");
    AString zero;
    zero.Format(u"<%c>", 0);
    EXPECT_EQ(zero, std::u16string(u"<\0>", 3));
}

TEST(Format, OtherForms) {
    const struct {
        const wchar16* format;
        const char* expected;
    } cases[] = {{u"", ""},
                 {u"plain", "plain"},
                 {u"100%%", "100%"},
                 {u"half %", "half "},
                 {u"half %-05.3l", "half "},
                 {u"%y%!", "y!"},
                 {u"%5\u20AC", "\xE2\x82\xAC"}};
    for (const auto& [format, expected] : cases)
        EXPECT_EQ(Formatted(format), expected);
    EXPECT_EQ(Formatted(u"%I64d %I32d %Ix", std::int64_t{-1}, -2, std::size_t{255}), "-1 -2 ff");
    EXPECT_EQ(Formatted(u"%p %p", reinterpret_cast<void*>(0x1F), static_cast<void*>(nullptr)), "0x1f 0");
    int untouched = 5;
    EXPECT_EQ(Formatted(u"a%nb%d", &untouched, 6), "ab6");
    EXPECT_EQ(untouched, 5);
}

TEST(Format, LongResultsComeOutWhole) {
    for (int length : {4095, 4096, 4097, 100000}) {
        const AString text(std::u16string(static_cast<std::size_t>(length), u'x'));
        AString out;
        out.Format(u"<%s>%d", text.c_str(), 1);
        EXPECT_EQ(out, u"<" + text + u">1");
        EXPECT_EQ(Formatted(u"%*d", length, 7), std::string(static_cast<std::size_t>(length) - 1, ' ') + "7");
        EXPECT_EQ(Formatted(u"%.*f", length, 0.5),
                  "0.5" + std::string(static_cast<std::size_t>(length) - 1, '0'));
    }
}

TEST(Format, ArgumentsMayBePartsOfTheResult) {
    AString text = u"inner";
    text.Format(u"%s-%s", text.c_str(), text.c_str() + 3);
    EXPECT_EQ(text, u"inner-er");
}

TEST(Format, ArgumentListsMayBeReadAgain) {
    const auto twice = [](const wchar16* format, ...) {
        std::va_list list;
        va_start(list, format);
        AString first, second;
        first.FormatV(format, list);
        second.FormatV(format, list);
        va_end(list);
        EXPECT_EQ(first, second);
        return first;
    };
    EXPECT_EQ(twice(u"%d %s %.1f", 1, u"two", 3.0), u"1 two 3.0");
}

} // namespace
