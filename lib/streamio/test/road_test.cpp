// A tree is the same whether its items are read straight from memory or from tokens, with its errors and lines; so is a text
// to the unit, however its items are written.
#include "stream_tests.h"

#include <streamio/delimiter_grammar_default.h>

#include <algorithm>
#include <cmath>

namespace {

struct Reading {
    const char* name;
    const io::CBase_grammar* grammar;
    std::uint32_t flags;
    const wchar16* begin;
    const wchar16* end;
};

// Words may hold a degree sign and a minus, "%" begins comments.
const io::CBase_grammar& OwnGrammar() {
    static const auto* grammar = [] {
        auto* own = new io::CToken_grammar;
        own->AddIdentStartChars(u"\u00B0");
        own->AddIdentChars(u"\u00B0-");
        own->AddCommentChars(u"%");
        return own;
    }();
    return *grammar;
}

const Reading kReadings[] = {
    {"default", &io::DefaultTokenGrammar(), 0, u"$begin", u"$end"},
    {"without sources", &io::DefaultTokenGrammar(), io::kDropSourceText, u"$begin", u"$end"},
    {"exact case", &io::DefaultTokenGrammar(), io::kKeepCase, u"$begin", u"$end"},
    {"upper case", &io::DefaultTokenGrammar(), io::kUpperCase, u"$begin", u"$end"},
    {"own grammar", &OwnGrammar(), 0, u"$begin", u"$end"},
    {"delimiters", &io::DefaultDelimiterGrammar(), 0, u"$begin", u"$end"},
    {"other keywords", &io::DefaultTokenGrammar(), 0, u"$x", u"f"},
    {"a keyword that begins as CData does", &io::DefaultTokenGrammar(), 0, u"$begin_cdata$", u"$end"},
    {"symbols", &io::DefaultTokenGrammar(), 0, u"<", u">"},
    {"no keywords", &io::DefaultTokenGrammar(), 0, u"", u""},
};

std::string Read(const AString& text, const Reading& reading, bool runs) {
    io::CToken_istring s(text, reading.grammar, reading.flags);
    s.SetBeginKeyword(AString(reading.begin));
    s.SetEndKeyword(AString(reading.end));
    io::CAbstract_stream_pos start;
    s.MakeState(start);
    s.GetBuffer()->SetRuns(runs);
    s.SetPosition(start);
    io::CBlock block;
    block.Read(s);
    return Text17(block) + Errors(block) + "line " + std::to_string(s.GetLineNumber()) + ", level " +
           std::to_string(s.GetIndentLevel()) + ", then " + Narrow(s.PeekToken().GetText());
}

constexpr const char* kTexts[] = {
    "$begin A\n\tName='first'\n\tx=1.50\n\tv[2: 1, 2]\n\tf(1, a=2, 'b')\n$end A\n$begin B\n$end B\n",
    "$begin A $begin B x=1 $end B y=2 $end A z=3",
    "$BEGIN A\n$Begin b\nx=1\n$END B\n$end a\n",
    "$begin A\n$begin B\nx=1\n$end C\ny=2\n$end\nz=1\n$end A",
    "$begin A\r\nx=1\r\n\r\n! remark\r\n$begin B ! remark\r\n$end B\r\n=\r\n$end A\r\n",
    "$begin A\n$begin\nB\nx\n=\n1\n$end\nB\n$end A",
    "$begin.5e\n",
    "$begin A\n1e=2\n1e+3\n12abc=4\n0x1f=5\n0xg=6\n$end A\n",
    "$begin A\ntrue=False\nTRUE(false, x=True)\n12=1\n''=2\n'a b'=3\n\"c\"(1)\nf('')\n$end A\n",
    "$begin A\n$x=1\n$begin_cdata$ raw $end_cdata$=2\ny=$begin_cdata$z$end_cdata$ f=3\n$end A\n",
    "$begin A\nt='it\\'s'\nu='open\nw=\"\\n\"\nx='\xE6\xBC\xA2' \xC2\xB0\x43=1 \xE6\xBC\xA2=2\n$end A\n",
    "$begin A\nf(g(1), h[2: 1, 2], i, (2))\nf()\nf(1,)\nf(,)\nf(1 2)\nf(\n1\n,2)\n$end A\n",
    "$begin A\nv[]\nv[3:1,2,]\nv[2, 3]\nv[a, 1]\nv[-1]\nv[70000: 1]\nv[2: 1 2]\nv[1: f(1)]\nv[1:\n2]\n$end "
    "A\n",
    "$begin A\nx=1 % y=2\na-b=3\nx=-.5 y=+1 z=.5e-3 w=1.e5\nx=123456789012345678901234567890\n$end A\n",
    "$begin A\nlonger=longer longer=longer\nlong=1 longer2=2 lon=3 lo$g=4\n$end A\n",
    "$begin A\nx=1.5a y=1e5x z=1e+ w=- q=+1 r=.5. s=-.x t=0x1f u=1-2 o=a'b'\n+=1 ab=+ [=2 c(1.2.3, [, -, 4e, "
    "5)\nv [2: 1, 2]\nw[1](3)\n1.5=2 1.5a=3 v[2=4\n$=5 e=6 E5=7 \xC2\xB0=8\n$begin b[\nx=1\n$end "
    "b[\n$end[\n$end A\n",
    "$begin ''\n$begin 12\n$begin true\nx=1\n$end true\n$end 12\n$end ''\n",
    "f A\n< A\nx=1\n> A\n",
    "$begin A\nc(1, 2)\nc(3.50, 4)\nC(5, 6)\nc(7, 8)\n$end A\n",
    "$begin A\nc(1, 2)\nc(3)\nc(4, 5, 6)\nc(7, x)\nc(8 9)\nc(1, 2)\n$begin b\nlonger(1, 2)\nlonger(3, 4)\n"
    "$end b\n$end A\n",
    "$begin A\n$begin r0\n1(2, 3)\n1.0(4, 5)\n$end r0\n$begin r1\n'c'(-1e-5, 007) 'c' (.5,\n2)\n$end\n$end "
    "A\n",
};

TEST(Items, AreReadFromTextAsFromTokens) {
    for (const char* text : kTexts) {
        for (const Reading& reading : kReadings) {
            const AString whole = Wide(text);
            for (std::size_t length = 0; length <= whole.size(); ++length) {
                const AString part(whole.substr(0, length));
                ASSERT_EQ(Read(part, reading, true), Read(part, reading, false)) << reading.name << ":\n"
                                                                                 << Narrow(part);
            }
        }
    }
}

TEST(Items, AreReadFromBinaryAsFromTokens) {
    for (const char* text : kTexts) {
        AString binary;
        Parsed(text).ToBinaryText(binary);
        for (const Reading& reading : kReadings) {
            for (std::size_t length = 1; length <= binary.size(); ++length) {
                const AString part(binary.substr(0, length));
                ASSERT_EQ(Read(part, reading, true), Read(part, reading, false)) << reading.name << ":\n"
                                                                                 << Bytes(part);
            }
        }
    }
}

struct Writing {
    const char* name;
    const io::CBase_grammar* grammar;
    std::uint32_t flags;
    int precision;
    int width;
    long format;
    const wchar16* begin;
};

const Writing kWritings[] = {
    {"default", &io::DefaultTokenGrammar(), 0, -1, -1, 0, u"$begin"},
    {"17 digits, CR", &io::DefaultTokenGrammar(), io::kWriteCR, 17, -1, 0, u"$begin"},
    {"no precision", &io::DefaultTokenGrammar(), 0, 0, -1, 0, u"$begin"},
    {"30 digits", &io::DefaultTokenGrammar(), 0, 30, -1, 0, u"$begin"},
    {"scientific", &io::DefaultTokenGrammar(), 0, 3, -1, io::kScientificFormat, u"$begin"},
    {"wide", &io::DefaultTokenGrammar(), 0, -1, 12, 0, u"$begin"},
    {"index", &io::DefaultTokenGrammar(), io::kUseIndex | io::kAllLevels, -1, -1, 0, u"$begin"},
    {"own grammar", &OwnGrammar(), 0, -1, -1, 0, u"$begin"},
    {"delimiters", &io::DefaultDelimiterGrammar(), 0, -1, -1, 0, u"$begin"},
    {"symbol", &io::DefaultTokenGrammar(), 0, -1, -1, 0, u"<"},
    {"no keyword", &io::DefaultTokenGrammar(), 0, -1, -1, 0, u""},
    {"binary", &io::DefaultTokenGrammar(), io::kBinaryForm, -1, -1, 0, u"$begin"},
    {"binary, delimiters", &io::DefaultDelimiterGrammar(), io::kBinaryForm, -1, -1, 0, u"$begin"},
    {"binary, all bytes", &io::DefaultTokenGrammar(), io::kBinaryForm, -1, 12, 0, u"$begin"},
};

AString Write(const io::CBlock& block, const Writing& writing, bool runs) {
    io::CToken_ostring s(writing.grammar, 0, writing.flags);
    s.GetBuffer()->SetRuns(runs);
    s.SetBeginKeyword(AString(writing.begin));
    s.SetPrecision(writing.precision);
    s.SetWidth(writing.width);
    s.SetScientific(writing.format);
    block.Write(s);
    s << 1 << u"x" << s.GetLineNumber(); // what stands behind is set apart in the same way
    block.Write(s);
    s.Close();
    AString text = s.TakeText();
    // An index tells when it was written.
    for (std::size_t at = text.find(u", sec="); at != text.npos; at = text.find(u", sec=")) {
        const std::size_t begin = text.rfind(u'\n', at);
        text.erase(begin, text.find(u'\n', at) - begin);
    }
    return text;
}

// Names with values, by themselves, in functions of all lengths and in functions within functions.
TEST(Items, AreWrittenWholeAsByTokens) {
    using enum io::TokenType;
    const AString longText(std::u16string(130, u'l'));
    std::vector<io::CToken> texts;
    for (const io::TokenType kind :
         {Keyword, SingleQuotedText, DoubleQuotedText, CData, Symbol, WhiteSpace}) {
        for (const char* text :
             {"", "a", "name", "a_longer_name_of_more", "x1", "1x", "$dollar", "it's", "say \"it\"",
              "back\\slash", "two words", " ", "\t \n", "\xC2\xB0\x43", "=", "12", "true"})
            texts.emplace_back(kind, Wide(text));
        texts.emplace_back(kind, longText);
    }
    std::vector<io::CToken> values = texts;
    for (const io::TokenType kind :
         {Short, Int, Long, UnsignedShort, UnsignedInt, UnsignedLong, Double, Float, Hex}) {
        for (const double value :
             {0.0, -0.0, 1.0, -1.0, 255.0, 40000.0, -40000.0, 0.1, 3e9, -3e9, 1e300, double{NAN}, HUGE_VAL})
            values.emplace_back(kind, value);
        values.emplace_back(kind, 1.5, u"01.50");
    }
    values.insert(values.end(), {io::CToken(True), io::CToken(False, u"FALSE"), io::CToken(Null)});

    io::CBlock root(u"Root");
    constexpr std::size_t kStep = 7; // each name has its share of the values
    for (std::size_t n = 0; n < texts.size(); ++n) {
        const io::CToken& name = texts[n];
        auto* block = new io::CBlock(name);
        root << io::CBlockItemPtr(block);
        for (std::size_t i = n % kStep; i < values.size(); i += kStep) {
            *block << io::CBlockItemPtr(new io::CBlock_named_value(name, values[i]));
            auto* func = new io::CBlock_func(name);
            *block << io::CBlockItemPtr(func);
            for (std::size_t k = 0; k < i % 5; ++k)
                func->AddValue(values[(i + k) % values.size()]);
            if (i % 5 == 4)
                func->Add(io::CBlockFuncArgPtr(new io::CBlock_named_value(name, values[i])));
            auto* vec = new io::CBlock_vec(name);
            for (std::size_t k = 0; k < i % 4; ++k)
                vec->Add(values[(i + k) % values.size()]);
            if (i % 2 == 0) {
                *block << io::CBlockItemPtr(vec);
            } else {
                auto* outer = new io::CBlock_func(name);
                *block << io::CBlockItemPtr(outer);
                *outer << u"first";
                outer->Add(io::CBlockFuncArgPtr(vec));
                outer->Add(io::CBlockFuncArgPtr(func));
                outer->AddValue(values[i]);
            }
        }
    }
    for (const Writing& writing : kWritings) {
        const AString whole = Write(root, writing, true);
        const AString parts = Write(root, writing, false);
        const auto [at, expected] = std::mismatch(whole.begin(), whole.end(), parts.begin(), parts.end());
        const auto offset = static_cast<std::size_t>(at - whole.begin());
        EXPECT_TRUE(at == whole.end() && expected == parts.end())
            << writing.name << " at " << offset << ": "
            << Narrow(whole.substr(offset > 40 ? offset - 40 : 0, 80));
    }
}

} // namespace
