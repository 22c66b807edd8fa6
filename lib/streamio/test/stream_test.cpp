#include "stream_tests.h"

#include <streamio/streamio_manip.h>

#include <sstream>

namespace io {
namespace {

CToken_istring Stream(std::string_view text) {
    return CToken_istring(Wide(text), &DefaultTokenGrammar());
}

template <class T>
std::pair<bool, double> ReadAs(std::string_view text) {
    auto s = CToken_istring(Wide(text), &DefaultTokenGrammar());
    T value = 99;
    s.Read(value);
    EXPECT_EQ(s.Fail() ? 1 : 0, s.IsEof() ? 0 : 1) << text; // what isn't read stays
    return {s.Good(), static_cast<double>(value)};
}

TEST(InputStream, ReadsNumbersWithinTheRangeOfTheTarget) {
    using Result = std::pair<bool, double>;
    EXPECT_EQ(ReadAs<int>("3.7"), Result(true, 3));
    EXPECT_EQ(ReadAs<int>("-3.7"), Result(true, -3));
    EXPECT_EQ(ReadAs<int>("3000000000"), Result(false, 99));
    EXPECT_EQ(ReadAs<long>("-2147483648"), Result(true, -2147483648.0));
    EXPECT_EQ(ReadAs<long>("2147483648"), Result(false, 99));
    EXPECT_EQ(ReadAs<unsigned int>("4294967295"), Result(true, 4294967295.0));
    EXPECT_EQ(ReadAs<unsigned long>("4294967296"), Result(false, 99));
    EXPECT_EQ(ReadAs<unsigned int>("-1"), Result(false, 99));
    EXPECT_EQ(ReadAs<short>("-32769"), Result(false, 99));
    EXPECT_EQ(ReadAs<unsigned short>("65535"), Result(true, 65535));
    EXPECT_EQ(ReadAs<float>("1e39"), Result(false, 99));
    EXPECT_EQ(ReadAs<float>("0.5"), Result(true, 0.5));
    EXPECT_EQ(ReadAs<double>("1e39"), Result(true, 1e39));
    EXPECT_EQ(ReadAs<double>("abc"), Result(false, 99));
    EXPECT_EQ(ReadAs<int>("0x1f"), Result(true, 31));
}

TEST(InputStream, ReadsTextsOfAnyToken) {
    struct Case {
        std::string_view text;
        bool good;
        std::string_view result;
    };
    for (const Case& c :
         {Case{"abc", true, "abc"}, Case{"''", true, ""}, Case{"12", true, "12"}, Case{"TRUE", true, "TRUE"},
          Case{"'a b'", true, "a b"}, Case{"", false, "old"}, Case{"\n\n=", true, "="}}) {
        auto s = Stream(c.text);
        AString text = Wide("old");
        s >> text;
        EXPECT_EQ(s.Good(), c.good) << c.text;
        EXPECT_EQ(Narrow(text), c.result) << c.text;
    }
}

TEST(InputStream, DoesNothingAfterAFailureUntilItIsCleared) {
    auto s = Stream("a 5");
    int value = 0;
    s.Read(value);
    EXPECT_TRUE(s.Fail());
    AString text;
    s.Read(text);
    EXPECT_TRUE(text.empty());
    s.ClearFail();
    s.Read(text);
    s.Read(value);
    EXPECT_EQ(Narrow(text), "a");
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(s.IsEof());
}

TEST(InputStream, StepsPastABadTokenWhenAsked) {
    auto s = Stream("a 5");
    EXPECT_FALSE(s.SetSkipOnError(true));
    EXPECT_TRUE(s.ClearStopOnFail());
    int value = 0;
    s.Read(value);
    EXPECT_TRUE(s.Fail());
    s.Read(value);
    EXPECT_TRUE(s.Good());
    EXPECT_EQ(value, 5);
}

TEST(InputStream, TestsWithoutConsuming) {
    auto s = Stream("$begin FREQ $end");
    EXPECT_FALSE(s.IsBlockBegin(u"other"));
    EXPECT_TRUE(s.IsBlockBegin());
    EXPECT_TRUE(s.IsBlockBegin(u"freq"));
    EXPECT_TRUE(s.IsKeyword(u"$BEGIN"));
    EXPECT_FALSE(s.IsBlockEnd());
    s.NextToken();
    EXPECT_TRUE(s.IsText(u"freq"));
    EXPECT_FALSE(s.IsNumber());
    s.SetCaseMode(kExactMode);
    EXPECT_FALSE(s.IsText(u"freq"));
    EXPECT_TRUE(s.IsText(u"FREQ"));
    auto lines = Stream("\n\n\r\n");
    EXPECT_TRUE(lines.IsEof());
    auto numbers = Stream("12 =");
    EXPECT_TRUE(numbers.IsText(u"12"));
    EXPECT_TRUE(numbers.IsNumber(12));
    numbers.NextToken();
    EXPECT_TRUE(numbers.IsSymbol(u'='));
    EXPECT_FALSE(numbers.IsSymbol(u'('));
}

TEST(InputStream, KeepsLineEndsWhenAsked) {
    auto s = Stream("a\nb c\nd");
    EXPECT_TRUE(s.ClearSkipLineEnds());
    s.NextToken();
    EXPECT_TRUE(s.IsEol());
    s.ExpectEol();
    EXPECT_TRUE(s.Good());
    AString line;
    s.ReadLine(line);
    EXPECT_EQ(Narrow(line), "b c");
    EXPECT_TRUE(s.IsText(u"d"));
    EXPECT_EQ(s.GetLineNumber(), 3);
}

TEST(InputStream, SkipsToWhatIsAskedFor) {
    const std::string_view text =
        "x 1\n$begin A\n y=2\n $begin B\n  $begin C\n  $end C\n $end B\n$end A\nz\n";
    {
        auto s = Stream(text);
        EXPECT_TRUE(s.SkipToBlock(AString(u"B")));
        EXPECT_EQ(s.GetLineNumber(), 4);
        EXPECT_TRUE(s.IsBlockBegin(u"B"));
        s.ReadBlockBegin(u"B");
        EXPECT_TRUE(s.SkipToBlockEnd(AString(u"B")));
        s.ReadBlockEnd(u"B");
        EXPECT_TRUE(s.IsBlockEnd(u"A"));
        EXPECT_EQ(s.GetIndentLevel(), 1u);
    }
    {
        auto s = Stream(text);
        EXPECT_FALSE(s.SkipToBlock(AString(u"missing")));
        EXPECT_TRUE(s.Fail());
        s.ClearFail();
        EXPECT_TRUE(s.IsText(u"x"));
    }
    auto s = Stream(text);
    EXPECT_TRUE(s.SkipToKeyword(AString(u"y")));
    EXPECT_TRUE(s.SkipToSymbol(u'='));
    EXPECT_FALSE(s.SkipToKeywordAtLineStart(AString(u"B")));
    s.ClearFail();
    EXPECT_TRUE(s.IsSymbol(u'='));
    EXPECT_TRUE(s.SkipToTextAtLineStart(AString(u"z")));
}

TEST(InputStream, TakesKeywordsOfOneTokenOnly) {
    auto s = Stream("{ A }");
    s.SetBeginKeyword(AString(u"two words"));
    EXPECT_EQ(Narrow(s.GetBeginKeyword()), "$begin");
    s.SetBeginKeyword(AString(u"{"));
    s.SetEndKeyword(AString(u"}"));
    AString name;
    s.ReadBlockBegin(name);
    EXPECT_EQ(Narrow(name), "A");
    s.ReadBlockEnd();
    EXPECT_TRUE(s.Good());
    EXPECT_EQ(s.GetIndentLevel(), 0u);
}

TEST(InputStream, ComesBackToAPosition) {
    const std::string_view texts[] = {"a b\nc 1e d\n\n'x' e", "$begin A\nv[3: 1, 2, 3]\n$end A\n"};
    for (const std::string_view text : texts) {
        for (const bool inMemory : {true, false}) {
            std::basic_istringstream<wchar16> bytes(Wide(text));
            std::unique_ptr<CToken_istream> s;
            if (inMemory)
                s = std::make_unique<CToken_istring>(Wide(text), &DefaultTokenGrammar());
            else
                s = std::make_unique<CToken_istream>(&bytes, false, 0, &DefaultTokenGrammar());
            std::vector<CAbstract_stream_pos> places;
            std::vector<CToken> tokens;
            std::vector<std::int32_t> lines;
            while (!s->IsEof()) {
                s->GetPosition(places.emplace_back());
                tokens.push_back(s->PeekToken());
                lines.push_back(s->GetLineNumber());
                s->NextToken();
            }
            for (std::size_t i = places.size(); i-- > 0;) {
                ASSERT_TRUE(s->SetPosition(places[i]));
                EXPECT_EQ(s->PeekToken(), tokens[i]);
                EXPECT_EQ(s->GetLineNumber(), lines[i]);
                s->NextToken();
                EXPECT_EQ(s->IsEof(), i + 1 == places.size());
                if (i + 1 < tokens.size()) {
                    EXPECT_EQ(s->PeekToken(), tokens[i + 1]);
                }
            }
        }
    }
}

TEST(InputStream, LeavesACopiedPositionAlone) {
    auto s = Stream("a b c");
    CAbstract_stream_pos first;
    s.GetPosition(first);
    const CAbstract_stream_pos copy = first;
    s.NextToken();
    s.GetPosition(first);
    s.SetPosition(copy);
    EXPECT_TRUE(s.IsText(u"a"));
    s.SetPosition(first);
    EXPECT_TRUE(s.IsText(u"b"));
}

TEST(InputStream, PassesTheOpeningByteOfABinaryText) {
    AString text;
    Parsed("$begin A\nx=1\n$end A").ToBinaryText(text);
    CToken_istring s(text, &DefaultTokenGrammar());
    EXPECT_TRUE(s.IsBinary());
    EXPECT_TRUE(s.IsBlockBegin(u"A"));
    CAbstract_stream_pos start;
    s.MakeState(start);
    s.SetPosition(start);
    EXPECT_TRUE(s.IsBlockBegin(u"A"));
}

TEST(NamedValueManip, ReadsTheValueOrGivesAllBack) {
    const auto read = [](std::string_view text) {
        auto s = Stream(text);
        int value = 7;
        s >> CNamed_value_manip<int>(AString(u"n"), value);
        const bool failed = s.Fail();
        s.ClearFail();
        return std::tuple(failed, value, Tokens(s));
    };
    EXPECT_EQ(read("n = 5 x"), std::tuple(false, 5, "Keyword'x'"));
    EXPECT_EQ(read("N=5"), std::tuple(false, 5, ""));
    EXPECT_EQ(read("n = 'x' y"), std::tuple(true, 7, "Keyword'n' Symbol'=' SingleQuotedText'x' Keyword'y'"));
    EXPECT_EQ(read("n = ("), std::tuple(true, 7, "Keyword'n' Symbol'=' Symbol'('"));
    EXPECT_EQ(read("n 5"), std::tuple(true, 7, "Keyword'n' Int 5'5'"));
    EXPECT_EQ(read("m = 5"), std::tuple(true, 7, "Keyword'm' Symbol'=' Int 5'5'"));
    auto s = Stream("on=true name='x'");
    s >> CNamed_value_manip<bool>(AString(u"on"), true) >>
        CNamed_value_manip<AString>(AString(u"name"), Wide("y"));
    EXPECT_TRUE(s.Fail());
    s.ClearFail();
    EXPECT_TRUE(s.IsText(u"name"));
}

TEST(NamedValueManip, GoesInAndOutOfBlocksAndStreams) {
    CBlock block(AString(u"B"));
    block << CNamed_value_manip<double>(AString(u"f"), 0.5)
          << CNamed_value_manip<unsigned>(AString(u"u"), 3u);
    double f = 0;
    bool wrong = false;
    EXPECT_TRUE((block >> CNamed_value_manip<double>(AString(u"F"), f)).IsGood());
    EXPECT_EQ(f, 0.5);
    EXPECT_FALSE((block >> CNamed_value_manip<bool>(AString(u"u"), wrong)).IsGood());
    EXPECT_EQ(Written([](CToken_ostream& s) { s << CNamed_value_manip<int>(AString(u"n"), 5); }), "n=5");
}

} // namespace
} // namespace io
