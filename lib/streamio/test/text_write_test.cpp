#include "stream_tests.h"

#include <streamio/delimiter_grammar_default.h>

#include <sstream>

namespace io {
namespace {

std::string WrittenText(std::string_view text) {
    return Written([&](CToken_ostream& s) { s.Write(Wide(text)); });
}

TEST(TextWriter, QuotesWhatIsNotOneToken) {
    struct Case {
        std::string_view text;
        std::string_view bare;   // by Write
        std::string_view quoted; // by WriteQuoted
    };
    for (const Case& c : {
             Case{"abc", "abc", "'abc'"},
             Case{"a b", "'a b'", "'a b'"},
             Case{"12", "12", "'12'"},
             Case{"", "", "''"},
             Case{"'abc'", "'abc'", "'abc'"},
             Case{"it's", "'it\\'s'", "'it\\'s'"},
             Case{"a\nb", "'a\\\nb'", "'a\\\nb'"},
             Case{"a\r\nb", "'a\\\nb'", "'a\\\nb'"},
             Case{"a\tb", "'a\\\tb'", "'a\\\tb'"},
             Case{"a\\b", "'a\\\\b'", "'a\\\\b'"},
             Case{"\xCE\xB1", "\xCE\xB1", "'\xCE\xB1'"},
             Case{"\xCE\xB1\xCE\xB2", "'\xCE\xB1\xCE\xB2'", "'\xCE\xB1\xCE\xB2'"},
             Case{"true", "true", "'true'"},
             Case{"'a", "'a", "'a"},
             Case{"'a\\", "'\\'a\\\\'", "'\\'a\\\\'"},
         }) {
        EXPECT_EQ(WrittenText(c.text), c.bare);
        EXPECT_EQ(Written([&](CToken_ostream& s) { s.WriteQuoted(Wide(c.text)); }), c.quoted);
    }
}

TEST(TextWriter, SeparatesTokensOnlyWhereTheyWouldRunTogether) {
    struct Case {
        std::vector<CToken> tokens;
        std::string_view text;
    };
    const auto word = [](const wchar16* text) { return CToken(TokenType::Keyword, text); };
    const auto symbol = [](wchar16 ch) { return CToken(TokenType::Symbol, std::u16string_view(&ch, 1)); };
    const auto number = [](double value) { return CToken(TokenType::Double, value); };
    for (const Case& c : {
             Case{{word(u"a"), word(u"b")}, "a b"},
             Case{{word(u"a"), symbol(u'='), number(1)}, "a=1"},
             Case{{word(u"a"), symbol(u'_')}, "a _"},
             Case{{number(1), symbol(u'.')}, "1 ."},
             Case{{number(1), symbol(u',')}, "1,"},
             Case{{number(1), number(-2)}, "1 -2"},
             Case{{symbol(u'-'), number(1)}, "- 1"},
             Case{{symbol(u'-'), number(-1)}, "--1"},
             Case{{symbol(u'.'), number(1)}, ". 1"},
             Case{{symbol(u'('), number(-1)}, "(-1"},
             Case{{number(1), word(u"a")}, "1 a"},
             Case{{symbol(u')'), word(u"a")}, ")a"},
             Case{{word(u"a"), CToken(TokenType::True), CToken(TokenType::SingleQuotedText, u"x")},
                  "a true 'x'"},
             Case{{word(u"a"), CToken(TokenType::Eol), word(u"b")}, "a\nb"},
             Case{{word(u"a"), CToken(TokenType::WhiteSpace), word(u"b")}, "a b"},
             Case{{CToken(TokenType::DoubleQuotedText, u"a\"b'")}, "\"a\\\"b'\""},
             Case{{CToken(TokenType::CData, u"x")}, "$begin_cdata$ x $end_cdata$"},
             Case{{CToken(TokenType::CData, u" x\n"), word(u"a")}, "$begin_cdata$ x\n$end_cdata$ a"},
             Case{{word(u"a"), CToken(TokenType::Comment, u"!c")}, "a !c"},
         }) {
        EXPECT_EQ(Written([&](CToken_ostream& s) {
                      for (const CToken& token : c.tokens)
                          s.Write(token);
                  }),
                  c.text);
    }
}

TEST(TextWriter, WritesEveryKindOfNumber) {
    struct Case {
        CToken token;
        std::string_view text;
    };
    for (const Case& c : {
             Case{CToken(TokenType::Double, 1234567.0), "1.23457e+06"},
             Case{CToken(TokenType::Double, 0.5), "0.5"},
             Case{CToken(TokenType::Double, 1.5, u"1.50"), "1.50"},
             Case{CToken(TokenType::Short, 32767.0), "32767"},
             Case{CToken(TokenType::Short, 32768.0), "32768"},
             Case{CToken(TokenType::Int, -2147483648.0), "-2147483648"},
             Case{CToken(TokenType::Int, 4294967296.0), "4.29497e+09"},
             Case{CToken(TokenType::UnsignedShort, 65535.0), "65535"},
             Case{CToken(TokenType::UnsignedInt, 4294967295.0), "4294967295"},
             Case{CToken(TokenType::UnsignedLong, -1.0), "-1"},
             Case{CToken(TokenType::Float, 0.1), "0.1"},
             Case{CToken(TokenType::Hex, 31.0), "0x1f"},
             Case{CToken(TokenType::Null), ""},
             Case{CToken(TokenType::Eof), ""},
         })
        EXPECT_EQ(Written([&](CToken_ostream& s) { s.Write(c.token); }), c.text);
}

TEST(TextWriter, FollowsPrecisionWidthFillAndHex) {
    EXPECT_EQ(Written([](CToken_ostream& s) {
                  s.SetPrecision(16);
                  s.Write(1234567.0);
                  s.SetScientific(kScientificFormat);
                  s.SetPrecision(2);
                  s.Write(1234567.0);
                  s.SetScientific(0);
                  s.SetFixed(kFixedFormat);
                  s.Write(1.0);
              }),
              "1234567 1.23e+06 1.00");
    EXPECT_EQ(Written([](CToken_ostream& s) {
                  EXPECT_EQ(s.SetWidth(5), -1);
                  s.Write(42);
                  EXPECT_EQ(s.SetFill(u'0'), u' ');
                  s.Write(-42);
                  EXPECT_EQ(s.SetWidth(-1), 5);
                  EXPECT_FALSE(s.SetHex(true));
                  s.Write(255u);
                  s.Write(static_cast<short>(-1));
              }),
              "   42 00-42 0xff 0xffff");
}

TEST(TextWriter, LaysBlocksOutInLines) {
    EXPECT_EQ(Written([](CToken_ostream& s) {
                  s.WriteBlockBegin(u"A b");
                  s.WriteBlockBegin(u"C");
                  s.WriteBlockEnd(u"C");
                  s.WriteBlockBegin(u"D");
                  s << u"x" << u'=' << 1;
                  s.WriteBlockEnd(u"D");
                  s.WriteComment(u"note");
                  s.WriteBlockEnd(u"A b");
              }),
              "$begin 'A b'\n\t$begin C\n\t$end C\n\t$begin D\n\t\tx=1\n\t$end D\n\t! note\n$end 'A b'\n");
    EXPECT_EQ(Written(
                  [](CToken_ostream& s) {
                      s.WriteBlockBegin(u"Name");
                      s.WriteBlockEnd();
                  },
                  DefaultDelimiterGrammar()),
              "$begin 'Name'\n$end\n");
    EXPECT_EQ(Written([](CToken_ostream& s) {
                  s.SetBeginKeyword(AString());
                  s.WriteBlockBegin(u"Name");
                  s.WriteBlockEnd(u"Name");
              }),
              "Name\n$end Name\n");
    EXPECT_EQ(Written(
                  [](CToken_ostream& s) {
                      s.Write(1);
                      s.NewLine();
                  },
                  DefaultTokenGrammar(), kWriteCR),
              "1\r\n");
}

TEST(TextWriter, LeavesTextsAloneWithoutFormatting) {
    EXPECT_EQ(Written([](CToken_ostream& s) {
                  s.Write(1);
                  s.WriteUnformatted(u"a b");
                  s.Write(2);
              }),
              "1a b 2");
}

TEST(TextWriter, GivesWhatWasWrittenOfAReservedText) {
    CToken_ostring s(&DefaultTokenGrammar(), 1000);
    s.Write(AString(std::u16string(10, u'a')));
    AString text;
    EXPECT_EQ(s.GetText(text).size(), 10u);
    s.Write(AString(std::u16string(5000, u'b')));
    EXPECT_EQ(s.GetText(text).size(), 5011u);
    s.Close();
    s.Close();
    EXPECT_EQ(s.GetText(text).size(), 5011u);
}

TEST(TextWriter, WritesUtf8ToAStreamOfBytes) {
    std::basic_ostringstream<wchar16> stream;
    {
        CToken_ostream s(&stream, false, 0, &DefaultTokenGrammar());
        s.WriteQuoted(Wide("\xC3\xA9\xE2\x82\xAC"));
        EXPECT_TRUE(s.Good());
    }
    EXPECT_EQ(Bytes(AString(stream.str())), "39 195 169 226 130 172 39");
    std::basic_istringstream<wchar16> back(stream.str());
    CToken_istream s(&back, false, 0, &DefaultTokenGrammar());
    AString text;
    s.Read(text);
    EXPECT_EQ(Narrow(text), "\xC3\xA9\xE2\x82\xAC");
}

TEST(TextReader, BoundsADamagedSequenceOfBytes) {
    std::u16string bytes = u"'\xC3\xA9'";
    bytes = u"'";
    bytes += u'\xE2';
    bytes.append(200, u'\x82');
    bytes += u"' x";
    std::basic_istringstream<wchar16> stream(bytes);
    CToken_istream s(&stream, false, 0, &DefaultTokenGrammar());
    EXPECT_EQ(s.PeekToken().GetType(), TokenType::SingleQuotedText); // a zero ends its line
    int tokens = 0;
    for (; !s.IsEof(); ++tokens)
        s.NextToken();
    EXPECT_LT(tokens, 300);
}

// A stream buffer on which nothing can be written.
class FullDisk : public std::basic_streambuf<wchar16> {};

TEST(TextWriter, TellsOfAStreamThatTakesNothing) {
    FullDisk disk;
    COutStream stream(&disk);
    CToken_ostream s(&stream, false, 0, &DefaultTokenGrammar());
    s.Write(1);
    EXPECT_TRUE(s.Fail());
    EXPECT_FALSE(s.Good());
}

} // namespace
} // namespace io
