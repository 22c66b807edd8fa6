#include <stringutils/astring.h>

#include <climits>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

using namespace std::string_literals;

static_assert(sizeof(AString) == sizeof(std::u16string) && !std::is_polymorphic_v<AString>);

// Collects what fails, and goes on.
std::vector<std::string> failed;
AssertAnswer Collect(AssertBox, const char* text) {
    failed.push_back(text);
    return AssertAnswer::Retry;
}

class AssertingTest : public testing::Test {
protected:
    AssertingTest() {
        failed.clear();
        SetAssertQuestion(Collect);
        assertsOff = false;
    }
    ~AssertingTest() override {
        assertsOff = true;
        SetAssertQuestion(nullptr);
    }
    static void ExpectFailed(const char* expression, int times) {
        EXPECT_EQ(failed.size(), static_cast<std::size_t>(times));
        for (const std::string& text : failed)
            EXPECT_NE(text.find(expression), std::string::npos) << text;
        failed.clear();
    }
};

TEST(AStringConstruction, TakesTextUpToItsTerminatorOrByItsLength) {
    EXPECT_EQ(AString("a\xE2\x82\xAC"), u"a\u20AC");
    EXPECT_EQ(AString(u"wide"), u"wide");
    EXPECT_EQ(AString(u"a\0b", 3), u"a\0b"s);
    EXPECT_EQ(AString("a\0b"s), u"a\0b"s);
    EXPECT_EQ(AString(u"x"s + u"y"), u"xy");
    AString text = u"old";
    text = "narrow";
    EXPECT_EQ(text, u"narrow");
    text = u"wide";
    EXPECT_EQ(text, u"wide");
    text = {};
    EXPECT_TRUE(text.empty());
    text = text + u"grown";
    EXPECT_EQ(text, u"grown");
}

TEST(AStringAssign, DecodesItsEncodings) {
    const struct {
        int encoding;
        std::string bytes;
        int length;
        std::u16string expected;
    } cases[] = {
        {kEncodingDefault, "a\xC3\xA9", 3, u"a\u00E9"},
        {kEncodingUtf8, "a\xC3\xA9", -1, u"a\u00E9"},
        {kEncodingUtf8, "a\xC3\xA9 beyond", 3, u"a\u00E9"},
        {kEncodingUtf8, "abc", 0, u""},
        {kEncodingOem, "a\xC3\xA9", 3, u"a\u00E9"},
        {kEncodingWestern, "\x80\xE9", -1, u"\u20AC\u00E9"},
        {kEncodingShiftJis, "\x93\xFA", -1, u"\u65E5"},
        {kEncodingUtf8, "a\0b"s, 3, u"a\0b"s},
        // One zero at the end is taken for a terminator.
        {kEncodingUtf8, "ab\0"s, 3, u"ab"},
        {kEncodingUtf8, "ab\0\0"s, 4, u"ab\0"s},
        {kEncodingUtf8, "\0"s, 1, u""},
        {5, "abc", -1, u""},
        {-1, "abc", -1, u""},
    };
    for (const auto& [encoding, bytes, length, expected] : cases) {
        AString text = u"old";
        text.Assign(encoding, bytes.c_str(), length);
        EXPECT_EQ(text, expected) << encoding << testing::PrintToString(bytes) << length;
    }
    AString text = u"old";
    text.Assign("abc", 2);
    EXPECT_EQ(text, u"ab");
    text.Assign("abc");
    EXPECT_EQ(text, u"abc");
    text.Assign(text.c_str() + 1, 2);
    EXPECT_EQ(text, u"bc");
}

TEST_F(AssertingTest, ANullTextIsAnAssertionAndGivesTheEmptyString) {
    const char* narrow = nullptr;
    const wchar16* wide = nullptr;
    AString text = u"old";
    EXPECT_TRUE(AString(narrow).empty());
    text.Assign(narrow);
    EXPECT_TRUE(text.empty());
    text.Assign(kEncodingUtf8, narrow, 3);
    ExpectFailed("Assertion 'a_string != 0' failed\n File 'lib/stringutils/source/astringwchar.cpp'", 3);
    EXPECT_TRUE(AString(wide).empty());
    EXPECT_TRUE(AString(wide, 3).empty());
    text = u"old";
    text.Assign(wide, 3);
    EXPECT_TRUE(text.empty());
    text = wide;
    ExpectFailed("'a_string != 0'", 4);
    text.Format(wide);
    ExpectFailed("'format != 0'", 1);
}

TEST(AStringToNarrow, EncodesIntoASharedTerminatedBlock) {
    const struct {
        int encoding;
        std::u16string text;
        std::string expected;
    } cases[] = {
        {kEncodingDefault, u"a\u20AC", "a\xE2\x82\xAC"},
        {kEncodingUtf8, u"\xD800\u20AC\0."s, "\xEF\xBF\xBD\xE2\x82\xAC\0."s},
        {kEncodingOem, u"\u00E9", "\xC3\xA9"},
        {kEncodingWestern, u"\u20AC\u65E5", "\x80?"},
        {kEncodingShiftJis, u"\u65E5\u00E9", "\x93\xFA?"},
        {kEncodingUtf8, u"ab\0"s, "ab"},
    };
    for (const auto& [encoding, text, expected] : cases) {
        const AStringBuf narrow = AString(text).ToNarrow(encoding);
        EXPECT_EQ(narrow.View(), expected) << encoding;
        EXPECT_EQ(narrow.CStr()[narrow.GetLength()], '\0');
        EXPECT_GT(narrow.GetCapacity(), narrow.GetLength());
        const AStringBuf shared = narrow;
        EXPECT_EQ(shared.CStr(), narrow.CStr());
    }
    EXPECT_EQ(AString(u"a\u20AC\0.", 4).ToCString(), "a\xE2\x82\xAC\0."s);
}

TEST(AStringToNarrow, GivesANullHandleForNothing) {
    for (const auto& [text, encoding] :
         {std::pair(AString(), 1), {AString(u"\0", 1), 1}, {AString(u"x"), 5}, {AString(u"x"), -1}}) {
        const AStringBuf narrow = text.ToNarrow(encoding);
        EXPECT_TRUE(narrow.IsNull());
        EXPECT_STREQ(narrow, "");
    }
    EXPECT_EQ(AString().ToCString(), "");
}

TEST(AStringToBstr, KeepsEveryUnit) {
    for (const AString& text : {AString(), AString(u"a\0\xD800", 3)}) {
        const auto bstr = platform::UniqueBstr::Adopt(text.ToBstr());
        ASSERT_NE(bstr.Get(), nullptr);
        EXPECT_EQ(bstr.View(), text);
    }
}

TEST(AStringParts, NeverFail) {
    const AString text = u"abcd";
    const struct {
        int first;
        int count;
        const wchar16* expected;
    } cases[] = {{-3, 2, u"ab"},
                 {9, 2, u""},
                 {1, 2, u"bc"},
                 {1, 9, u"bcd"},
                 {4, 1, u""},
                 {0, 0, u""},
                 {1, -1, u""},
                 {INT_MIN, INT_MAX, u"abcd"},
                 {INT_MAX, INT_MAX, u""}};
    for (const auto& [first, count, expected] : cases)
        EXPECT_EQ(text.Mid(first, count), expected) << first << ' ' << count;
    EXPECT_EQ(text.Mid(-1), u"abcd");
    EXPECT_EQ(text.Mid(3), u"d");
    EXPECT_EQ(text.Mid(4), u"");
    EXPECT_EQ(text.Left(9), u"abcd");
    EXPECT_EQ(text.Left(1), u"a");
    EXPECT_EQ(text.Left(-1), u"");
}

TEST(AStringInPlace, LowersEachUnitAndTrimsWideSpace) {
    AString text = u"ABC[\u00C9\u0391\xD801\xDC00";
    text.ToLower();
    EXPECT_EQ(text, u"abc[\u00E9\u03B1\xD801\xDC00");
    const struct {
        const wchar16* text;
        const wchar16* left;
        const wchar16* right;
        const wchar16* both;
    } cases[] = {{u"", u"", u"", u""},
                 {u" \t\n\v\f\r\u00A0\u3000", u"", u"", u""},
                 {u" a b ", u"a b ", u" a b", u"a b"},
                 {u"ab", u"ab", u"ab", u"ab"}};
    for (const auto& [original, left, right, both] : cases) {
        AString a = original, b = original, c = original;
        a.TrimLeft();
        b.TrimRight();
        c.Trim();
        EXPECT_EQ(a, left);
        EXPECT_EQ(b, right);
        EXPECT_EQ(c, both);
    }
}

TEST(AStringCompare, OrdersByUnsignedUnitsAndByLowerCase) {
    const struct {
        std::u16string a;
        std::u16string b;
        int exact;
        int noCase;
    } cases[] = {
        {u"", u"", 0, 0},
        {u"abc", u"abc", 0, 0},
        {u"abc", u"abd", -1, -1},
        {u"ab", u"abc", -1, -1},
        {u"abc", u"ab", 1, 1},
        {u"ABC", u"abc", -1, 0},
        {u"\u00C9x", u"\u00E9X", -1, 0},
        {u"Z", u"a", -1, 1},
        {u"_", u"A", 1, -1},
        {u"\xFFFF", u"\xD800\xDC00", 1, 1},
        // A zero unit in the first ends the comparison without case.
        {u"\0"s, u"", 1, 0},
        {u"a\0b"s, u"A", 1, 0},
        {u"a\0b"s, u"A\0c"s, 1, 0},
        {u"ab", u"a\0b"s, 1, 1},
        {u"", u"\0"s, -1, 0},
    };
    for (const auto& [a, b, exact, noCase] : cases) {
        EXPECT_EQ(AString(a).Compare(b), exact) << testing::PrintToString(a) << testing::PrintToString(b);
        EXPECT_EQ(AString(a).CompareNoCase(b), noCase)
            << testing::PrintToString(a) << testing::PrintToString(b);
        EXPECT_EQ(CompareNoCase(a.c_str(), b.c_str()), noCase);
    }
    const AString same = u"same";
    EXPECT_EQ(same.Compare(same), 0);
    EXPECT_EQ(same.CompareNoCase(same), 0);
}

TEST(AStringCompare, WithoutCaseLooksAtAPart) {
    const AString text = u"xABCy";
    const struct {
        int first;
        int count;
        const wchar16* other;
        int expected;
    } cases[] = {{1, 3, u"abc", 0},  {1, 3, u"abcd", 0},   {1, 4, u"abc", 1}, {1, 3, u"abd", -1},
                 {1, 9, u"abcy", 0}, {1, 9, u"abcyz", -1}, {1, 3, u"", 1},    {0, 0, u"", 0},
                 {0, 0, u"x", -1},   {5, 2, u"", 0},       {5, 2, u"x", -1},  {6, 2, u"", 0},
                 {6, 2, u"x", -1},   {2, -1, u"b", -1}};
    for (const auto& [first, count, other, expected] : cases)
        EXPECT_EQ(text.CompareNoCase(first, count, other), expected)
            << first << ' ' << count << ' ' << AString(other).ToCString();
}

TEST(AStringToDouble, ReadsTheWholeTextOrNothing) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const struct {
        const wchar16* text;
        double expected;
    } good[] = {
        {u"1.5", 1.5},
        {u" \t\u00A01.5 \n", 1.5},
        {u"+.5", 0.5},
        {u"-5.", -5},
        {u"1e3", 1000},
        {u"-1.5E-3", -1.5e-3},
        {u"0x1.8p1", 3},
        {u"-0X.8", -0.5},
        {u"0x10", 16},
        {u"inf", kInfinity},
        {u"-INFINITY", -kInfinity},
        {u"1e999", kInfinity},
        {u"-1e999", -kInfinity},
        {u"0x1p99999", kInfinity},
        {u"4.9e-324", 4.9e-324},
        {u"0.1", 0.1},
        {u"2.2250738585072011e-308", 2.2250738585072011e-308},
        {u"000000000000000000000000000000000000000000000000123.25", 123.25},
        {u"9007199254740993", 9007199254740992.0},
        {u"9007199254740993.000000000000000000000000000000000000000001", 9007199254740994.0},
    };
    for (const auto& [text, expected] : good) {
        double value = 7;
        EXPECT_TRUE(AString(text).ToDouble(value)) << AString(text).ToCString();
        EXPECT_EQ(value, expected) << AString(text).ToCString();
    }
    for (const wchar16* text : {u"1e-999", u"-1e-999", u"-0", u"0x0p-99999"}) {
        double value = 7;
        EXPECT_TRUE(AString(text).ToDouble(value));
        EXPECT_EQ(value, 0);
        EXPECT_EQ(std::signbit(value), text[0] == u'-');
    }
    for (const wchar16* text : {u"nan", u"-NaN", u"nan(12)"}) {
        double value = 7;
        EXPECT_TRUE(AString(text).ToDouble(value));
        EXPECT_TRUE(std::isnan(value));
    }
    for (const wchar16* text : {u"",        u" ",
                                u"1.5x",    u"1,5",
                                u"x",       u"1 2",
                                u"+-1",     u"--1",
                                u"-+1",     u"- 1",
                                u".",       u"e5",
                                u"1e",      u"1e+",
                                u"0x",      u"0x-1",
                                u"0xinf",   u"0xp1",
                                u"infinit", u"\uFF11",
                                u"1\u0662", u"123456789012345678901234567890123456789x"}) {
        double value = 7;
        EXPECT_FALSE(AString(text).ToDouble(value)) << AString(text).ToCString();
        EXPECT_EQ(value, 7);
    }
    double value = 7;
    EXPECT_FALSE(AString(u"1\0", 2).ToDouble(value));
}

TEST(AStringToLong, ReadsTheWholeTextOrNothing) {
    const struct {
        const wchar16* text;
        int base;
        long expected;
    } good[] = {
        {u"ff", 16, 255},
        {u"0xFF", 16, 255},
        {u"0xff", 0, 255},
        {u"-0x10", 0, -16},
        {u"010", 0, 8},
        {u"010", 10, 10},
        {u"0", 0, 0},
        {u" +42\t", 10, 42},
        {u"-42", 0, -42},
        {u"zZ", 36, 35 * 36 + 35},
        {u"101", 2, 5},
        {u"2147483647", 10, 2147483647},
        {u"2147483648", 10, 2147483647},
        {u"-2147483648", 10, -2147483648},
        {u"-2147483649", 10, -2147483648},
        {u"99999999999999999999999999", 10, 2147483647},
        {u"ffffffff", 16, 2147483647},
    };
    for (const auto& [text, base, expected] : good) {
        long value = 7;
        EXPECT_TRUE(AString(text).ToLong(value, base)) << AString(text).ToCString() << ' ' << base;
        EXPECT_EQ(value, expected) << AString(text).ToCString() << ' ' << base;
    }
    const struct {
        const wchar16* text;
        int base;
    } bad[] = {{u"", 10},    {u"  ", 10}, {u"x", 10},  {u"12x", 10}, {u"1 2", 10}, {u"ff", 10},
               {u"08", 0},   {u"0x", 16}, {u"0xg", 0}, {u"2", 2},    {u"+-1", 10}, {u"-", 10},
               {u"1.0", 10}, {u"1", 1},   {u"1", 37},  {u"1", -10},  {u"@", 36},   {u"\uFF11", 10}};
    for (const auto& [text, base] : bad) {
        long value = 7;
        EXPECT_FALSE(AString(text).ToLong(value, base)) << AString(text).ToCString() << ' ' << base;
        EXPECT_EQ(value, 7);
    }
}

TEST(AStringGrowth, DoublesWhenAppending) {
    AString text;
    for (int i = 0; i < 1000; ++i) {
        const std::size_t before = text.capacity();
        text += u"abc";
        EXPECT_TRUE(text.capacity() == before || text.capacity() >= 2 * before);
    }
}

TEST(AStringHash, IsThatOfItsContent) {
    const std::unordered_set<AString> set = {u"a", u"b", u"a"};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_TRUE(set.contains(u"b"));
}

TEST(AStringBufTest, ReservesExactlyWhatIsMissing) {
    AStringBuf block;
    EXPECT_EQ(block.Reserve(0), 0);
    EXPECT_FALSE(block.IsNull());
    EXPECT_EQ(block.Data(), nullptr);
    EXPECT_STREQ(block.CStr(), "");
    EXPECT_EQ(block.Reserve(10), 10);
    char* storage = block.Data();
    EXPECT_EQ(block.Reserve(5), 10);
    EXPECT_EQ(block.Reserve(-1), 10);
    EXPECT_EQ(block.Data(), storage);
    const AStringBuf shared = block;
    EXPECT_EQ(block.Reserve(11), 11);
    EXPECT_EQ(shared.GetCapacity(), 10);
    AWideStringBuf wide;
    EXPECT_EQ(wide.CStr()[0], 0);
    EXPECT_EQ(wide.Reserve(-5), 0);
    EXPECT_EQ(wide.Reserve(3), 3);
    wide.Data()[0] = u'w';
    wide.Terminate(1);
    EXPECT_EQ(wide.View(), u"w");
}

TEST_F(AssertingTest, ATerminatorBeyondTheBlockIsAnAssertion) {
    AStringBuf block;
    block.Terminate(0);
    block.Reserve(2);
    for (int pos : {-1, 2})
        block.Terminate(pos);
    ExpectFailed("'m_pBuf != 0 && pos >= 0 && pos < m_pBuf->m_Capacity'", 3);
    EXPECT_EQ(block.GetLength(), 0);
    block.Data()[0] = 'x';
    block.Terminate(1);
    EXPECT_EQ(block.View(), "x");
}

TEST(FormatSystemMessageTest, FillsAString) {
    AString out;
    const MessageArgument args[] = {u"first", u"%2"};
    FormatSystemMessage(0x2400, u"%2 %1!8s!", 0, 0, out, args);
    EXPECT_EQ(out, u"%2    first");
    FormatSystemMessage(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, ERROR_INVALID_PARAMETER, 0, out);
    EXPECT_FALSE(out.empty());
    FormatSystemMessage(0x2400, u"%1!x", 0, 0, out, args);
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

} // namespace
