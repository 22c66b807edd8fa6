#include <platform/character.h>
#include <platform/code_page.h>

#include <cstdlib>
#include <gtest/gtest.h>
#include <iconv.h>
#include <optional>
#include <random>
#include <unicode/ustring.h>

namespace platform {
namespace {

std::u16string Decoded(unsigned codePage, std::string_view bytes) {
    std::u16string units;
    EXPECT_TRUE(DecodeBytes(codePage, bytes, units));
    return units;
}

std::string Encoded(unsigned codePage, std::u16string_view units) {
    const std::size_t bound = EncodedBound(codePage, units);
    std::string bytes(bound + 1, '\x7E');
    const std::size_t count = EncodeUnits(codePage, units, bytes.data());
    EXPECT_LE(count, bound);
    EXPECT_EQ(bytes.back(), '\x7E') << "written beyond the bound";
    bytes.resize(count);
    return bytes;
}

// What ICU's plain road makes of UTF-8.
std::u16string DecodedByPeer(std::string_view bytes) {
    std::u16string units(bytes.size() + 1, u'\0');
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strFromUTF8WithSub(units.data(), static_cast<int32_t>(units.size()), &length, bytes.data(),
                         static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &error);
    EXPECT_TRUE(U_SUCCESS(error));
    units.resize(static_cast<std::size_t>(length));
    return units;
}

std::string EncodedByPeer(std::u16string_view units) {
    std::string bytes(3 * units.size() + 1, '\0');
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    u_strToUTF8WithSub(bytes.data(), static_cast<int32_t>(bytes.size()), &length, units.data(),
                       static_cast<int32_t>(units.size()), 0xFFFD, nullptr, &error);
    EXPECT_TRUE(U_SUCCESS(error));
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

// One text through the C library's converter; nothing where it finds an error.
class LibraryConverter {
public:
    LibraryConverter(const char* to, const char* from) : m_Handle(iconv_open(to, from)) {}
    ~LibraryConverter() { iconv_close(m_Handle); }
    bool IsOpen() const { return m_Handle != reinterpret_cast<iconv_t>(-1); }
    std::optional<std::string> Convert(std::string text) {
        char buffer[16];
        char* in = text.data();
        char* out = buffer;
        std::size_t inLeft = text.size();
        std::size_t outLeft = sizeof buffer;
        iconv(m_Handle, nullptr, nullptr, nullptr, nullptr);
        if (iconv(m_Handle, &in, &inLeft, &out, &outLeft) != 0)
            return std::nullopt;
        return std::string(buffer, out);
    }

private:
    iconv_t m_Handle;
};

std::u16string UnitsOf(const std::string& utf16) {
    return {reinterpret_cast<const char16_t*>(utf16.data()), utf16.size() / 2};
}

TEST(Utf8, ReplacesEachLongestPartThatCantGoOn) {
    const struct {
        std::string bytes;
        std::u16string units;
    } cases[] = {
        {"", u""},
        {std::string("a\0b\0", 4), std::u16string(u"a\0b\0", 4)},
        {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E9\u20AC\U0001F600"},
        {"\xEF\xBB\xBFx", u"\uFEFFx"},
        {"\x80\xBF", u"\uFFFD\uFFFD"},
        {"\xC0\xAF", u"\uFFFD\uFFFD"},
        {"\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
        {"\xE2\x82", u"\uFFFD"},
        {"\xE2\x82 ", u"\uFFFD "},
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},
        {"\xF0\x9F\x98", u"\uFFFD"},
        {"\xF0\x9F\x98\xC3\xA9", u"\uFFFD\u00E9"},
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
        {"\xF5\xFF", u"\uFFFD\uFFFD"},
        {"\xF4\x8F\xBF\xBF", u"\U0010FFFF"},
    };
    for (const auto& [bytes, units] : cases)
        EXPECT_EQ(Decoded(kCodePageUtf8, bytes), units) << testing::PrintToString(bytes);
}

TEST(Utf8, WritesLoneSurrogatesAsTheReplacementCharacter) {
    const struct {
        std::u16string units;
        std::string bytes;
    } cases[] = {
        {u"", ""},
        {std::u16string(u"\0a\0", 3), std::string("\0a\0", 3)},
        {u"\x7F\x80\x7FF\x800\xFFFF", "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {u"\xD83D\xDE00", "\xF0\x9F\x98\x80"},
        {u"\xD83D", "\xEF\xBF\xBD"},
        {u"\xDE00\xD83D", "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {u"\xD83D\xD83D\xDE00", "\xEF\xBF\xBD\xF0\x9F\x98\x80"},
    };
    for (const auto& [units, bytes] : cases)
        EXPECT_EQ(Encoded(kCodePageUtf8, units), bytes) << testing::PrintToString(units);
}

TEST(Utf8, EveryTextOfThreeBytesAgreesWithThePeer) {
    // The bytes at which the rules change, in every order.
    const std::string edges =
        "\x41\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
    for (char a : edges)
        for (char b : edges)
            for (char c : edges)
                for (char d : edges) {
                    const std::string bytes{a, b, c, d};
                    ASSERT_EQ(Decoded(kCodePageUtf8, bytes), DecodedByPeer(bytes))
                        << testing::PrintToString(bytes);
                }
}

TEST(Utf8, RandomTextsOfEveryLengthAgreeWithThePeerInBothDirections) {
    std::mt19937 random(1);
    const auto below = [&random](unsigned end) { return random() % end; };
    for (std::size_t length = 0; length < 300; ++length)
        for (unsigned rarity : {1u, 4u, 40u, 1000u}) {
            std::u16string units;
            std::string bytes;
            while (units.size() < length) {
                const bool plain = below(rarity) != 0;
                const unsigned kind = below(4);
                units += static_cast<char16_t>(plain       ? below(0x80)
                                               : kind == 0 ? 0xD800 + below(0x800)
                                               : kind == 1 ? below(0x800)
                                                           : below(0x10000));
                bytes += static_cast<char>(plain ? below(0x80) : below(0x100));
            }
            ASSERT_EQ(Decoded(kCodePageUtf8, bytes), DecodedByPeer(bytes)) << testing::PrintToString(bytes);
            const std::string encoded = Encoded(kCodePageUtf8, units);
            ASSERT_EQ(encoded, EncodedByPeer(units)) << testing::PrintToString(units);
            ASSERT_EQ(Decoded(kCodePageUtf8, encoded), DecodedByPeer(encoded));
        }
}

TEST(Utf8, LongTextsKeepCharactersThatLieAcrossChunks) {
    for (std::size_t before = 2040; before < 2056; ++before) {
        const std::u16string units = std::u16string(before, u'x') + u"\U0001F600\u20AC\u00E9" +
                                     std::u16string(5000, u'y') + std::u16string(before, u'\u20AC') +
                                     u"\U0001F600";
        EXPECT_EQ(Decoded(kCodePageUtf8, Encoded(kCodePageUtf8, units)), units) << before;
    }
}

TEST(CodePages, AppendBehindWhatTheTextHolds) {
    std::u16string units = u"<";
    EXPECT_TRUE(DecodeBytes(kCodePageUtf8, "a\xC3\xA9", units));
    EXPECT_TRUE(DecodeBytes(kCodePageWestern, "b\xE9", units));
    EXPECT_EQ(units, u"<a\u00E9b\u00E9");
}

TEST(CodePages, RefuseAnUnknownOne) {
    std::u16string units = u"kept";
    char byte = 'k';
    EXPECT_FALSE(DecodeBytes(437, "x", units));
    EXPECT_EQ(units, u"kept");
    EXPECT_EQ(EncodedBound(437, u"x"), 0u);
    EXPECT_EQ(EncodeUnits(437, u"x", &byte), 0u);
    EXPECT_EQ(byte, 'k');
}

TEST(CodePages, AgreeWithTheCLibraryOnEveryCharacter) {
    const struct {
        unsigned codePage;
        const char* name;
        std::size_t count; // of characters that the page has, so that the comparison isn't empty
    } pages[] = {{kCodePageWestern, "CP1252", 251}, {kCodePageShiftJis, "CP932", 9604}};
    for (const auto& [codePage, name, count] : pages) {
        LibraryConverter decoder("UTF-16LE", name);
        LibraryConverter encoder(name, "UTF-16LE");
        ASSERT_TRUE(decoder.IsOpen() && encoder.IsOpen());
        std::size_t known = 0;
        for (unsigned first = 0; first < 0x100; ++first)
            for (int second = -1; second < 0x100; ++second) {
                const bool isLead = codePage == kCodePageShiftJis &&
                                    ((first > 0x80 && first < 0xA0) || (first > 0xDF && first < 0xFD));
                if (isLead != (second >= 0))
                    continue;
                std::string bytes{static_cast<char>(first)};
                if (isLead)
                    bytes += static_cast<char>(second);
                const auto expected = decoder.Convert(bytes);
                if (!expected)
                    continue;
                ++known;
                const std::u16string units = UnitsOf(*expected);
                ASSERT_EQ(Decoded(codePage, bytes), units) << name << testing::PrintToString(bytes);
                // Some characters stand at two places; the way back leads to one of them.
                ASSERT_EQ(Encoded(codePage, units), encoder.Convert(*expected))
                    << name << testing::PrintToString(units);
            }
        EXPECT_GE(known, count) << name;
    }
}

TEST(CodePages, ReplaceWhatTheyDontHave) {
    const struct {
        unsigned codePage;
        std::u16string units;
        std::string bytes;
    } toBytes[] = {
        {kCodePageWestern, u"caf\u00E9 \u20AC \u0391\u65E5", "caf\xE9 \x80 ??"},
        {kCodePageWestern, u"\U0001F600\xD800.", "???."},
        {kCodePageWestern, u"\u0081\uFF21",
         "\x81"
         "A"},
        {kCodePageShiftJis, u"\u65E5\u672C\uFF71", "\x93\xFA\x96\x7B\xB1"},
        {kCodePageShiftJis, u"\u00E9\U0001F600\xDC00z", "????z"},
        {kCodePageShiftJis, u"\u0080\u00A0\uF8F1\uF8F2\uF8F3", "\x80\xA0\xFD\xFE\xFF"},
        {kCodePageShiftJis, u"\u3042\x1A\x1C\x7F", "\x82\xA0\x1A\x1C\x7F"},
    };
    for (const auto& [codePage, units, bytes] : toBytes)
        EXPECT_EQ(Encoded(codePage, units), bytes) << codePage << testing::PrintToString(units);
    const struct {
        unsigned codePage;
        std::string bytes;
        std::u16string units;
    } toUnits[] = {
        {kCodePageWestern, "\x81\x8D\x8F\x90\x9D", u"\u0081\u008D\u008F\u0090\u009D"},
        {kCodePageShiftJis, "\x80\xA0\xFD\xFE\xFF", u"\u0080\u00A0\uF8F1\uF8F2\uF8F3"},
        {kCodePageShiftJis, "\x82\xA0\x1A\x1C\x7F\\~", u"\u3042\x1A\x1C\x7F\\~"},
        {kCodePageShiftJis, "\x81 \x81\xAD!\x81", u"\u30FB \u30FB!\u30FB"},
    };
    for (const auto& [codePage, bytes, units] : toUnits)
        EXPECT_EQ(Decoded(codePage, bytes), units) << codePage << testing::PrintToString(bytes);
}

TEST(CodePages, LongTextsOfAllLengthsGoThereAndBack) {
    for (unsigned codePage : {kCodePageWestern, kCodePageShiftJis})
        for (std::size_t length = 0; length < 5000; length += length < 80 ? 1 : 487) {
            const std::u16string plain(length, u'k');
            const std::u16string units =
                plain + (codePage == kCodePageWestern ? u"\u00E9" : u"\u3042") + plain;
            for (const auto& text : {plain, units})
                ASSERT_EQ(Decoded(codePage, Encoded(codePage, text)), text) << codePage << ' ' << length;
        }
}

TEST(DefaultCodePageDeathTest, IsUtf8InPlainLocalesAndInUtf8Ones) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    for (const char* locale : {"C", "POSIX", "C.UTF-8", "no_SUCH"})
        for (unsigned codePage : {kCodePageDefault, kCodePageOem}) {
            setenv("LC_ALL", locale, 1);
            EXPECT_EXIT(std::_Exit(Decoded(codePage, "\xE2\x82\xAC") == u"\u20AC" &&
                                           Encoded(codePage, u"\u20AC") == "\xE2\x82\xAC"
                                       ? 10
                                       : 11),
                        testing::ExitedWithCode(10), "")
                << locale;
            unsetenv("LC_ALL");
        }
}

TEST(Characters, HaveTheLibrarysCaseAndSpace) {
    const struct {
        char16_t unit;
        char16_t lower;
    } cases[] = {{u'A', u'a'}, {u'Z', u'z'},   {u'[', u'['},     {u'@', u'@'},
                 {0xC9, 0xE9}, {0x391, 0x3B1}, {0xD801, 0xD801}, {0x212A, u'k'}};
    for (const auto& [unit, lower] : cases)
        EXPECT_EQ(ToLower(unit), lower) << static_cast<unsigned>(unit);
    std::u16string spaces;
    for (char32_t unit = 0; unit < 0x10000; ++unit)
        if (IsSpace(static_cast<char16_t>(unit)))
            spaces += static_cast<char16_t>(unit);
    EXPECT_EQ(
        spaces,
        u"\t\n\v\f\r \u0085\u00A0\u1680\u2000\u2001\u2002\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A"
        u"\u2028\u2029\u202F\u205F\u3000");
}

} // namespace
} // namespace platform
