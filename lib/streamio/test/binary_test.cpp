#include "stream_tests.h"

#include <bit>
#include <sstream>

namespace io {
namespace {

TEST(BinaryWriter, WritesTheseBytes) {
    const auto bytes = [](auto write) { return WrittenBytes(write); };
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(300u); }), "62 44 1");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(0u); }), "61 0");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(-1); }), "73 255 255 255 255");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(5); }), "70 5");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(static_cast<short>(-2)); }), "73 254 255 255 255");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(1.0); }), "80 240 63");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(0.0); }), "79 0");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(-0.0); }), "79 128");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(0.5f); }), "80 224 63");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(true); }), "10");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.WriteQuoted(Wide("\xC3\xA9")); }), "13 2 195 169");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.WriteQuoted(AString()); }), "13 0");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.WriteChar(u'='); }), "18 61");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.WriteChar(u'\u00E9'); }), "146 2 0 0 0 195 169");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(AString(u" \t")); }), "");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.Write(CToken(TokenType::Int, 1.0)); }), "80 240 63");
    EXPECT_EQ(bytes([](CToken_ostream& s) { s.WriteComment(u"c"); }), "17 1 99");
    EXPECT_EQ(bytes([](CToken_ostream& s) {
                  s.NewLine();
                  s.EnsureNewLine();
              }),
              "19");
    EXPECT_EQ(bytes([](CToken_ostream& s) {
                  s.SetWidth(1);
                  s.Write(1);
                  s.Write(static_cast<short>(1));
                  s.Write(0.0);
              }),
              "73 1 0 0 0 71 1 0 86 0 0 0 0 0 0 0 0");
    const std::u16string many(300, u'k');
    const std::string letters = bytes([&](CToken_ostream& s) { s.WriteKeyword(AString(many)); });
    EXPECT_EQ(letters.substr(0, 22), "140 44 1 0 0 107 107 1");
    EXPECT_EQ(std::count(letters.begin(), letters.end(), ' '), 304);
}

TEST(BinaryWriter, WritesABlock) {
    CBlock block(AString(u"A"));
    block << CBlock_named_value(AString(u"x"), CToken(TokenType::Int, 1.0));
    AString text;
    block.ToBinaryText(text);
    EXPECT_EQ(
        Bytes(text),
        "0 12 6 36 98 101 103 105 110 12 1 65 19 13 1 120 18 61 70 1 19 12 4 36 101 110 100 12 1 65 19");
}

std::string ReadBytes(std::initializer_list<int> bytes, bool inMemory) {
    AString text(u"\0", 1);
    for (const int byte : bytes)
        text += static_cast<wchar16>(byte);
    std::basic_istringstream<wchar16> stream(text);
    if (!inMemory) {
        CToken_istream s(&stream, false, 0, nullptr);
        s.PeekToken();
        return Tokens(s);
    }
    CToken_istring s(text, &DefaultTokenGrammar());
    s.PeekToken();
    return Tokens(s);
}

TEST(BinaryReader, MakesTheseTokens) {
    struct Case {
        std::initializer_list<int> bytes;
        std::string_view tokens;
    };
    for (const Case& c : {
             Case{{61, 0}, "UnsignedShort 0"},
             Case{{62, 44, 1}, "UnsignedShort 300"},
             Case{{63, 0, 0, 1}, "UnsignedInt 65536"},
             Case{{65, 1, 1, 1, 1, 1}, "UnsignedLong 0"},
             Case{{70, 255}, "Short 255"},
             Case{{73, 255, 255, 255, 255}, "Int -1"},
             Case{{77, 1, 2, 3, 4, 5, 6, 7, 8}, "Long 0"},
             Case{{80, 240, 63}, "Float 1"},
             Case{{79, 0}, "Float 0"},
             Case{{86, 0, 0, 0, 0, 0, 0, 240, 63}, "Double 1"},
             Case{{10, 11, 19}, "True False Eol"},
             Case{{12, 1, 65}, "Keyword'A'"},
             Case{{13, 2, 195, 169}, "SingleQuotedText'\xC3\xA9'"},
             Case{{13, 2, 195, 40}, "SingleQuotedText'\xEF\xBF\xBD('"},
             Case{{140, 1, 0, 0, 0, 65}, "Keyword'A'"},
             Case{{18, 61}, "Symbol'='"},
             Case{{146, 2, 0, 0, 0, 195, 169}, "Symbol'\xC3\xA9'"},
             Case{{17, 1, 65, 16, 1, 32, 10}, "True"},
             Case{{1, 22, 60, 69, 78, 87, 127}, "Error Error Error Error Error Error Error"},
             Case{{21}, "Error"},
             Case{{13, 9, 65, 66}, "SingleQuotedText'AB'"},
             Case{{141, 255, 255, 255, 255, 65}, "SingleQuotedText'A'"},
             Case{{141, 255}, "SingleQuotedText"},
             Case{{86, 1}, "Double 4.9406564584124654e-324"},
         }) {
        EXPECT_EQ(ReadBytes(c.bytes, true).substr(0, 60), std::string(c.tokens).substr(0, 60));
        EXPECT_EQ(ReadBytes(c.bytes, false), ReadBytes(c.bytes, true));
    }
}

TEST(BinaryReader, GivesNumbersBackWithTheirValue) {
    CBlock_vec vec(AString(u"v"));
    for (const double value : {0.1f, 1e-5f, -3.5f})
        vec.Add(CToken(TokenType::Float, value));
    for (const double value : {-1.0, -32768.0, 1e300, 4.9e-324, 123456789.0})
        vec.Add(CToken(TokenType::Double, value));
    AString text;
    vec.ToBinaryText(text);
    CBlock_vec back;
    EXPECT_TRUE(back.FromText(text));
    ASSERT_EQ(back.GetSize(), vec.GetSize());
    for (std::size_t i = 0; i < vec.GetSize(); ++i)
        EXPECT_EQ(back[i].GetDouble(), vec[i].GetDouble());
    CBlock_named_value value(AString(u"x"), CToken(TokenType::Short, -5.0));
    value.ToBinaryText(text);
    CBlock_named_value read;
    EXPECT_TRUE(read.FromText(text));
    EXPECT_EQ(read.GetValue().GetDouble(), -5.0);
}

TEST(BinaryReader, HoldsTextsOfAnyLengthAndUnits) {
    for (const std::size_t length : {0u, 1u, 254u, 255u, 256u, 70000u}) {
        AString text(std::u16string(length, u'\u00E9'));
        if (length > 0)
            text[length / 2] = u'\xD800'; // a lone surrogate
        CBlock_named_value value(AString(u"x"), CToken(TokenType::SingleQuotedText, text));
        AString binary;
        value.ToBinaryText(binary);
        CBlock_named_value back;
        EXPECT_TRUE(back.FromText(binary));
        EXPECT_EQ(back.GetValue().GetText().size() >= length, true);
    }
}

// Many doubles at once are what they are one by one, in either form, in memory and on a stream.
TEST(DoublesTest, AreWrittenAndReadAsOneByOne) {
    std::vector<double> values = {0, -0.0, 1, -1.5, 0.1, 1e300, 5e-324, -1 / 3.0};
    for (int i = 0; i < 200; ++i)
        values.push_back(values[static_cast<std::size_t>(i)] * 1.7);
    for (const bool binary : {false, true})
        for (const bool memory : {false, true}) {
            std::basic_ostringstream<wchar16> characters;
            const auto write = [&](auto writeValues) {
                CToken_ostring inMemory(0, binary, &DefaultTokenGrammar());
                characters.str({});
                CToken_ostream onStream(&characters, false, 0, binary ? nullptr : &DefaultTokenGrammar());
                CToken_ostream& s = memory ? inMemory : onStream;
                s.SetPrecision(17);
                s.Write(5);
                writeValues(s);
                s.Write(true);
                AString text;
                return memory ? inMemory.GetText(text) : AString(characters.str());
            };
            const AString text =
                write([&](CToken_ostream& s) { s.WriteDoubles(values.data(), values.size()); });
            EXPECT_EQ(text, write([&](CToken_ostream& s) {
                          for (const double value : values)
                              s.Write(value);
                      }));

            std::basic_istringstream<wchar16> in(text);
            CToken_istring inMemory(text, &DefaultTokenGrammar());
            CToken_istream onStream(&in, false, 0, &DefaultTokenGrammar());
            CToken_istream& s = memory ? static_cast<CToken_istream&>(inMemory) : onStream;
            int five = 0;
            bool end = false;
            std::vector<double> back(values.size() + 1);
            s.Read(five);
            // A token that was given back comes first.
            s.PushBackToken(CToken(TokenType::Int, 7.0));
            EXPECT_EQ(s.ReadDoubles(back.data(), values.size() + 1), values.size() + 1);
            EXPECT_EQ(back[0], 7.0);
            EXPECT_EQ(std::vector<double>(back.begin() + 1, back.end()), values);
            EXPECT_EQ(s.ReadDoubles(back.data(), 0), 0u);
            EXPECT_TRUE(s.Good());
            EXPECT_EQ(s.ReadDoubles(back.data(), 1), 0u) << "no number stands there";
            EXPECT_TRUE(s.Fail());
            s.ClearFail();
            s.Read(end);
            EXPECT_TRUE(end && s.Good());
        }
    // Numbers of every kind, over line ends, and fewer than asked for.
    CToken_ostring s(0, true, &DefaultTokenGrammar());
    s << 300 << 2.5;
    s.NewLine();
    s << -1 << 0.0 << 7u << 0.25;
    CToken_istring in(s.TakeText(), &DefaultTokenGrammar());
    std::vector<double> back(9, -9);
    EXPECT_EQ(in.ReadDoubles(back.data(), 9), 6u);
    EXPECT_EQ(back, (std::vector<double>{300, 2.5, -1, 0, 7, 0.25, -9, -9, -9}));
    EXPECT_TRUE(in.Fail());
}

TEST(BinaryStream, WritesToAStreamWhatItWritesInMemory) {
    const CBlock block = Parsed("$begin A\nx=-1.5\nv[3: 1, 'a', 0.1]\nf(g(1), b=\xC3\xA9)\n$end A");
    AString memory;
    block.ToBinaryText(memory);
    std::basic_ostringstream<wchar16> stream;
    {
        CToken_ostream s(&stream, false, kBinaryForm, &DefaultTokenGrammar());
        block.Write(s);
    }
    EXPECT_EQ(AString(stream.str()), memory);
    std::basic_istringstream<wchar16> in(stream.str());
    CToken_istream s(&in, false, 0, &DefaultTokenGrammar());
    CBlock back;
    back.Read(s);
    EXPECT_EQ(Text(back), Text(block));
}

} // namespace
} // namespace io
