#include "stream_tests.h"

#include <streamio/delimiter_grammar_default.h>
#include <streamio/token_textstreambuf.h>

#include <cmath>
#include <random>
#include <sstream>

namespace io {
namespace {

using namespace std::string_view_literals;

TEST(Token, KeepsItsTextWhateverItsLength) {
    for (const std::string_view text : {"", "a", "abc", "abcd", "a text of some length"}) {
        const CToken token(TokenType::Keyword, Wide(text));
        EXPECT_EQ(Narrow(token.GetText()), text);
        EXPECT_EQ(token.HasText(), !text.empty());
        EXPECT_EQ(token.GetTextMemory() > 0, text.size() > 15) << text;
    }
}

// Each way of holding a text, with a character in each place that this way can't hold.
TEST(Token, KeepsEveryCharacterOfItsText) {
    for (std::size_t length = 1; length <= 20; ++length) {
        const std::u16string plain = std::u16string(u"abcdefghijklmnopqrst").substr(0, length);
        const CToken token(TokenType::Keyword, plain);
        for (std::size_t i = 0; i < length; ++i) {
            for (const wchar16 unit :
                 {u'\0', u'\1', u'~', u'\x7F', u'\x80', u'\xFF', u'\u0100', u'\xD800', u'\xFFFF'}) {
                std::u16string text = plain;
                text[i] = unit;
                CToken other(TokenType::Keyword, text);
                EXPECT_EQ(other.GetText(), text) << length << ' ' << i << ' ' << int{unit};
                EXPECT_EQ(other.GetFirstUnit(), text[0]);
                EXPECT_FALSE(other == token);
                EXPECT_EQ(other, CToken(TokenType::Keyword, text));
                const CToken copy = other;
                other.SetType(TokenType::DoubleQuotedText);
                EXPECT_EQ(other.GetText(), text);
                other.SetText(plain);
                other.SetType(TokenType::Keyword);
                EXPECT_EQ(other, token);
                EXPECT_EQ(copy.GetText(), text);
            }
        }
    }
}

TEST(Token, SharesItsTextBeyondTheRangeOfTheCount) {
    std::vector<CToken> copies(1000, CToken(TokenType::SingleQuotedText, u"shared by many"));
    const CToken last = copies.back();
    copies.clear();
    EXPECT_EQ(Narrow(last.GetText()), "shared by many");
}

TEST(Token, ComparesKindsThenNumbersOrTexts) {
    EXPECT_EQ(CToken(TokenType::Int, 1.0), CToken(TokenType::Int, 1.0, u"01"));
    EXPECT_FALSE(CToken(TokenType::Int, 1.0) == CToken(TokenType::Double, 1.0));
    EXPECT_FALSE(CToken(TokenType::Double, NAN) == CToken(TokenType::Double, NAN));
    EXPECT_EQ(CToken(TokenType::Keyword), CToken(TokenType::Keyword, u""));
    EXPECT_FALSE(CToken(TokenType::Keyword, u"a") == CToken(TokenType::Keyword, u"A"));
    EXPECT_EQ(CToken(TokenType::True, u"TRUE"), CToken(TokenType::True));
}

TEST(Token, GivesBackTheSourceOfEverySpellingOfANumber) {
    for (const std::string_view text : {"0",
                                        "-0",
                                        "1",
                                        "12",
                                        "007",
                                        "+5",
                                        "1.50",
                                        "-1.5",
                                        "0.001",
                                        "00.1",
                                        "1.",
                                        ".5",
                                        "-.5",
                                        "0.0",
                                        "1e5",
                                        "1E5",
                                        "1e+05",
                                        "1.25e-07",
                                        "1.250e+100",
                                        "1e+00",
                                        "1e-00",
                                        "12e+05",
                                        "0e+05",
                                        "123456789012345678",
                                        "1234567890123456789012",
                                        "0.1234567890123456789",
                                        "99999999999999999",
                                        "0.99999999999999999",
                                        "9.9999999999999999e+22",
                                        "1e-320",
                                        "1e400",
                                        "-1e400",
                                        "4.9e-324",
                                        "1.7976931348623157e+308",
                                        "0.30000000000000004",
                                        "100000000000000000"}) {
        const std::string kept = Tokens(text);
        EXPECT_NE(kept.find("'" + std::string(text) + "'"), std::string::npos) << kept;
        char expected[40];
        std::snprintf(expected, sizeof expected, " %.17g", std::strtod(std::string(text).c_str(), nullptr));
        EXPECT_NE(kept.find(expected), std::string::npos) << kept;
    }
    EXPECT_EQ(CToken(TokenType::Double, 0.5, u"5e-1").GetTextMemory() > 0, true);
    EXPECT_EQ(CToken(TokenType::Double, 0.5, u"0.50").GetTextMemory(), 0u);
}

struct TokenCase {
    std::string_view text;
    std::string_view tokens;
};

// Tables of what the token grammar makes of a text.
const TokenCase kTokenCases[] = {
    {"", ""},
    {"abc a_1 $x A$", "Keyword'abc' Keyword'a_1' Keyword'$x' Keyword'A$'"},
    {"true FALSE truex", "True'true' False'FALSE' Keyword'truex'"},
    {"- 1", "Symbol'-' Int 1'1'"},
    {"-1", "Int -1'-1'"},
    {"-.", "Symbol'-' Symbol'.'"},
    {"-.5", "Double -0.5'-.5'"},
    {"1e+x", "Double 1'1' Keyword'e' Symbol'+' Keyword'x'"},
    {"1e", "Double 1'1' Keyword'e'"},
    {"1.5.2", "Double 1.5'1.5' Double 0.20000000000000001'.2'"},
    {"12abc", "Int 12'12' Keyword'abc'"},
    {"0xab", "Hex 171'0xab'"},
    {"0xAB", "Short 0'0' Keyword'xAB'"},
    {"0xffffffffff", "Hex 2147483647'0xffffffffff'"},
    {"0x", "Short 0'0' Keyword'x'"},
    {"-0x1", "Int -0'-0' Keyword'x1'"},
    {"1 0x g", "Int 1'1' Short 0'0' Keyword'x' Keyword'g'"},
    {"a!b", "Keyword'a'"},
    {"a!b\nc", "Keyword'a' Eol Keyword'c'"},
    {"_a", "Symbol'_' Keyword'a'"},
    {"a=(1,[2:])",
     "Keyword'a' Symbol'=' Symbol'(' Int 1'1' Symbol',' Symbol'[' Int 2'2' Symbol':' Symbol']' Symbol')'"},
    {"\r\n\n\r", "Eol Eol Eol"},
    {"'a", "SingleQuotedText'a'"},
    {"'a\nb", "SingleQuotedText'a' Eol Keyword'b'"},
    {"'a\rb", "SingleQuotedText'a' Eol Keyword'b'"},
    {"'' \"\"", "SingleQuotedText DoubleQuotedText"},
    {"'it\\'s' \"a\\\"b\"", "SingleQuotedText'it's' DoubleQuotedText'a\"b'"},
    {"'a\\nb\\t\\q\\0'", "SingleQuotedText'a\nb\tq\0'"sv},
    {"'a\\\r\nb'", "SingleQuotedText'a\nb'"},
    {"'a\\\nb'", "SingleQuotedText'a\nb'"},
    {"'a\\", "SingleQuotedText'a'"},
    {"'!' x", "SingleQuotedText'!' Keyword'x'"},
    {"$begin_cdata$x$end_cdata$", "CData'x'"},
    {"$BEGIN_CDATA$ a\n$b $END_CDATA$ y", "CData' a\n$b ' Keyword'y'"},
    {"$begin_cdata$x$end_cdataz$end_cdata$", "CData'x$end_cdataz'"},
    {"$begin_cdata$x$end_cdata", "CData'x$end_cdata'"},
    {"$begin_cdata$x$$end_cdata$ z", "CData'x$$end_cdata$ z'"},
    {"a $begin_cdata$", "Keyword'a' CData"},
    {"\xCE\xB1 x", "Symbol'\xCE\xB1' Keyword'x'"},
    {"a\xC3\xA9", "Keyword'a' Symbol'\xC3\xA9'"},
};

TEST(TokenGrammar, MakesTheseTokens) {
    for (const TokenCase& c : kTokenCases)
        EXPECT_EQ(Tokens(c.text), c.tokens) << c.text;
}

TEST(TokenGrammar, ReadsAsBytesAsInMemory) {
    for (const TokenCase& c : kTokenCases) {
        std::u16string bytes(c.text.begin(), c.text.end());
        for (wchar16& unit : bytes)
            unit &= 255;
        std::basic_istringstream<wchar16> stream(bytes);
        CToken_istream s(&stream, false, 0, &DefaultTokenGrammar());
        EXPECT_EQ(Tokens(s), c.tokens) << c.text;
    }
}

// A grammar with characters of its own: a letter beyond 255, no comments, '#' in words.
class OwnGrammar : public CToken_grammar {
public:
    OwnGrammar() {
        AddIdentStartChars(u"\u03B1#");
        AddIdentChars(u"\u03B1#");
        RemoveIdentChars(u"$");
        AddCommentChars(u"%");
    }
};

// Tables that differ: a lone point is a word.
class OtherTables : public CToken_grammar {
public:
    OtherTables() {
        m_Transitions[10][kSpaceClass] = 36;
        Changed();
    }
};

TEST(TokenGrammar, WorksTheSameInRunsAndByStates) {
    const OwnGrammar own;
    const OtherTables other;
    std::mt19937 random(7);
    const std::u16string_view pieces[] = {
        u"a",           u"e",      u"x",      u"0",  u"1",   u"12345678", u".",
        u"-",           u"+",      u" ",      u"\t", u"\n",  u"\r",       u"'",
        u"\"",          u"\\",     u"$",      u"_",  u"!",   u"%",        u"#",
        u",",           u"(",      u"\u03B1", u"\0", u"n",   u"true",     u"$begin_cdata$",
        u"$end_cdata$", u"\uFFFF", u"false",  u"0x", u"1e5", u"\u00E9"};
    for (int round = 0; round < 20000; ++round) {
        AString text;
        for (std::size_t count = random() % 12; count > 0; --count) {
            const std::u16string_view piece = pieces[random() % std::size(pieces)];
            text += piece.empty() ? std::u16string_view(u"\0", 1) : piece;
        }
        if (!text.empty() && text[0] == 0)
            continue; // a binary text
        for (const CBase_grammar* grammar :
             {static_cast<const CBase_grammar*>(&DefaultTokenGrammar()),
              static_cast<const CBase_grammar*>(&own), static_cast<const CBase_grammar*>(&other)}) {
            CToken_istring runs(text, grammar);
            CToken_istring states(text, grammar);
            auto& buffer = dynamic_cast<CToken_textstreambuf&>(*states.GetBuffer());
            buffer.SetRuns(false);
            CAbstract_stream_pos start;
            states.MakeState(start);
            states.SetPosition(start);
            states.PeekToken();
            runs.SetPosition(start);
            runs.PeekToken();
            ASSERT_EQ(Tokens(runs), Tokens(states)) << Narrow(text);
            ASSERT_EQ(runs.GetLineNumber(), states.GetLineNumber()) << Narrow(text);
        }
    }
}

TEST(TokenGrammar, TakesCharactersOfItsOwn) {
    const OwnGrammar grammar;
    EXPECT_EQ(Tokens("\xCE\xB1#1 a$ x%y", grammar), "Keyword'\xCE\xB1#1' Keyword'a' Keyword'$' Keyword'x'");
    EXPECT_EQ(grammar.GetFirstCommentChar(), u'%');
}

TEST(TokenGrammar, FollowsTheCaseMode) {
    EXPECT_EQ(Tokens("aB 0xab true", DefaultTokenGrammar(), kUpperCase),
              "Keyword'AB' Hex 171'0xAB' True'TRUE'");
    EXPECT_EQ(Tokens("aB 0xab true", DefaultTokenGrammar(), kKeepCase),
              "Keyword'aB' Hex 171'0xab' True'true'");
}

TEST(TokenGrammar, ForgetsSourcesWhenAsked) {
    EXPECT_EQ(Tokens("1.50 007 true a", DefaultTokenGrammar(), kDropSourceText),
              "Double 1.5 Int 7 True Keyword'a'");
}

TEST(DelimiterGrammar, MakesTheseTokens) {
    const TokenCase cases[] = {
        {"1.5x", "Keyword'1.5x'"},
        {"a=b", "Keyword'a' Symbol'=' Keyword'b'"},
        {"(v[3:", "Symbol'(' Keyword'v[3:'"},
        {"1 -2.5 1e5 1e 1e+", "Int 1'1' Double -2.5'-2.5' Double 100000'1e5' Keyword'1e' Keyword'1e+'"},
        {"+ . & x", "Symbol'+' Symbol'.' Symbol'&' Keyword'x'"},
        {"'a b' !c", "SingleQuotedText'a b'"},
        {"\xCE\xB1\xCE\xB2 TRUE", "Keyword'\xCE\xB1\xCE\xB2' True'TRUE'"},
        {"e5 1.2.3", "Keyword'e5' Keyword'1.2.3'"},
    };
    for (const TokenCase& c : cases)
        EXPECT_EQ(Tokens(c.text, DefaultDelimiterGrammar()), c.tokens) << c.text;
}

TEST(Grammar, ScansOneToken) {
    struct Case {
        std::string_view text;
        TokenType kind;
        std::size_t end;
    };
    for (const Case& c :
         {Case{"", TokenType::Eol, 0}, Case{"abc", TokenType::Keyword, 3}, Case{"a b", TokenType::Keyword, 1},
          Case{"\n", TokenType::Eol, 0}, Case{"'a'", TokenType::SingleQuotedText, 3},
          Case{"'a'b", TokenType::SingleQuotedText, 3}, Case{"'a", TokenType::SingleQuotedText, 2},
          Case{"'a\\", TokenType::Error, 3}, Case{"1.5", TokenType::Double, 3},
          Case{"+", TokenType::Symbol, 1}, Case{"!x", TokenType::Comment, 2},
          Case{"  ", TokenType::WhiteSpace, 2}}) {
        const AString text = Wide(c.text);
        const wchar16* end = nullptr;
        EXPECT_EQ(DefaultTokenGrammar().ScanToken(text.c_str(), end), c.kind) << c.text;
        EXPECT_EQ(static_cast<std::size_t>(end - text.c_str()), c.end) << c.text;
    }
}

TEST(Grammar, GivesTheFirstCommentCharacter) {
    CToken_grammar grammar;
    EXPECT_EQ(grammar.GetFirstCommentChar(), 0);
    grammar.AddCommentChars(u"#!");
    EXPECT_EQ(grammar.GetFirstCommentChar(), u'!');
    grammar.RemoveCommentChars(u"!");
    EXPECT_EQ(grammar.GetFirstCommentChar(), u'#');
    grammar.RemoveCommentChars(u"#");
    EXPECT_EQ(grammar.GetFirstCommentChar(), 0);
}

TEST(Numbers, AreWrittenAndReadAsTheCLibraryDoes) {
    std::mt19937_64 random(3);
    for (int i = 0; i < 30000; ++i) {
        double value = 0;
        switch (i % 4) {
        case 0:
            value = std::bit_cast<double>(random());
            break;
        case 1: // ties
            value = std::ldexp(static_cast<double>(random() % 100000), -static_cast<int>(random() % 30));
            break;
        case 2:
            value = static_cast<double>(random() % 2000000) / 1000.0 - 1000;
            break;
        default: // subnormals
            value = std::bit_cast<double>(random() % (std::uint64_t{1} << 53));
            break;
        }
        if (!std::isfinite(value))
            continue;
        const int precision = static_cast<int>(random() % 18);
        for (const long flags : {0L, kScientificFormat, kFixedFormat}) {
            char expected[512];
            if (flags == kScientificFormat)
                std::snprintf(expected, sizeof expected, "%.*e", precision, value);
            else if (flags == kFixedFormat)
                std::snprintf(expected, sizeof expected, "%.*f", precision, value);
            else
                std::snprintf(expected, sizeof expected, "%.*g", precision, value);
            const std::string written = Written([&](CToken_ostring& s) {
                s.SetPrecision(precision);
                s.SetFixed(flags);
                s.SetScientific(flags);
                s.Write(value);
            });
            ASSERT_EQ(written, expected);
            CToken_istring back(Wide(written), &DefaultTokenGrammar());
            double read = -1;
            back.Read(read);
            ASSERT_EQ(read, std::strtod(expected, nullptr)) << expected;
            ASSERT_EQ(Tokens(written).find("'" + written + "'") != std::string::npos, true) << written;
        }
    }
}

} // namespace
} // namespace io
