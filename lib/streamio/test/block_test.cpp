#include "stream_tests.h"

#include <streamio/streamio_manip.h>

#include <functional>
#include <limits>
#include <random>

namespace io {
namespace {

constexpr std::string_view kSample = "$begin Sample\n"
                                     "\tName='first'\n"
                                     "\tCount=3\n"
                                     "\tRatio=0.5\n"
                                     "\tOn=true\n"
                                     "\tFreq(1, 2, Unit='Hz')\n"
                                     "\tData[3: 1, 2, 3]\n"
                                     "\tEmpty[0:]\n"
                                     "\t$begin 'Inner Block'\n"
                                     "\t\tx=1\n"
                                     "\t$end 'Inner Block'\n"
                                     "$end Sample\n";

TEST(Block, ComesBackToTheLetterThroughBothForms) {
    EXPECT_EQ(Text(Parsed(kSample)), kSample);
    AString binary;
    Parsed(kSample).ToBinaryText(binary);
    CBlock block;
    EXPECT_TRUE(block.FromText(binary));
    EXPECT_EQ(Text(block), kSample);
}

TEST(Block, ReadsWhatAFreerWriterWrote) {
    struct Case {
        std::string_view lines;
        std::string_view items;
    };
    for (const Case& c : {
             Case{"a = 1 b=2", "a=1\nb=2\n"},
             Case{"f(1,\n 2, ! note\n 3)", "f(1, 2, 3)\n"},
             Case{"\"a b\"='x'", "'a b'='x'\n"},
             Case{"'' = 1", "''=1\n"},
             Case{"x = word y = \"q\" z=$begin_cdata$ c $end_cdata$",
                  "x=word\ny=\"q\"\nz=$begin_cdata$ c $end_cdata$\n"},
             Case{"f(a, b=2, c(3), d[1: 4])", "f(a, b=2, c(3), d[1: 4])\n"},
             Case{"f()", "f()\n"},
             Case{"f(1,)", "f(1)\n"},
             Case{"v[3: 1, 2]", "v[2: 1, 2]\n"},
             Case{"v[2, 3]", "v[2: 2, 3]\n"},
             Case{"v[2]", "v[1: 2]\n"},
             Case{"v[]", "v[0:]\n"},
             Case{"v['a', b, true, 1.50]", "v[4: 'a', b, true, 1.50]\n"},
             Case{"v[0.5: 1]", "v[1: 1]\n"},
             Case{"v[1: 0x1f, 007]", "v[2: 0x1f, 007]\n"},
             Case{"12=1 true=2 1.5=x", "12=1\ntrue=2\n1.5=x\n"},
             Case{"x=007 y=1.50 z=0x1f", "x=7\ny=1.50\nz=0x1f\n"},
             Case{"$begin\n N\n x=1\n $end\n y=2", "$begin N\nx=1\n$end N\ny=2\n"},
             Case{"$BEGIN n $END N", "$begin n\n$end n\n"},
         }) {
        EXPECT_EQ(Items(c.lines), c.items) << c.lines;
        EXPECT_EQ(Errors(Parsed("$begin B\n" + std::string(c.lines) + "\n$end B\n")), "") << c.lines;
    }
}

TEST(Block, RecordsErrorsAndLosesOneItemEach) {
    struct Case {
        std::string_view lines;
        std::string_view errors; // without the block's name
        std::string_view items;
    };
    for (const Case& c : {
             Case{"f(,) y=1\nx=1", "2: identifier expected\n", "x=1\n"},
             Case{"a\nx=1", "3: expected a '(' or a '='\n", "x=1\n"},
             Case{"a b c\nx=1", "2: expected a '(' or a '='\n", "x=1\n"},
             Case{"v[-2, 3]\nx=1", "2: invalid vector size\n", "x=1\n"},
             Case{"v[70000, 1]\nx=1", "2: invalid vector size\n", "x=1\n"},
             Case{"v[65536: 1]\nx=1", "2: invalid vector size\n", "x=1\n"},
             Case{"f(1 2)\nx=1", "2: expected a ')', ']' or a ','\n", "x=1\n"},
             Case{"v[1 2]\nx=1", "2: expected a ')', ']' or a ','\n", "x=1\n"},
             Case{"v[2: 1 2]\nx=1", "2: expected a ')', ']' or a ','\n", "x=1\n"},
             Case{"v[1, =]\nx=1", "2: value is not valid\n", "x=1\n"},
             Case{"v[f(1)]\nx=1", "2: expected a ')', ']' or a ','\n", "x=1\n"},
             Case{"a=(\nx=1", "2: value is not valid\n", "x=1\n"},
             Case{"= 3\nx=1", "2: identifier expected\n", "x=1\n"},
             Case{"f('')\nx=1", "2: identifier expected\n", "x=1\n"},
             Case{"f(g(1, h(2 3)))\nx=1", "2: expected a ')', ']' or a ','\n", "x=1\n"},
             Case{"f(1\nx=1", "3: expected a ')', ']' or a ','\n", "x=1\n"},
         }) {
        const CBlock block = Parsed("$begin B\n" + std::string(c.lines) + "\n$end B\n");
        EXPECT_EQ(Errors(block), "B:" + std::string(c.errors)) << c.lines;
        EXPECT_EQ(Items(c.lines), c.items) << c.lines;
    }
}

TEST(Block, GoesOnBehindAWrongEnd) {
    const CBlock block = Parsed("$begin A\n$begin B\nx=1\n$end C rest of the line\ny=2\n$end A\n");
    EXPECT_EQ(Errors(block), "B:4: begin/end block syntax invalid\n");
    EXPECT_EQ(Text(block), "$begin A\n\t$begin B\n\t\tx=1\n\t$end B\n\ty=2\n$end A\n");
}

TEST(Block, KeepsWhatStandsBeforeTheEndOfTheStream) {
    for (const std::string_view text :
         {"$begin A x=1", "$begin A x=1 $begin B", "$begin A f(1", "$begin A f(1,", "$begin A v[2: 1",
          "$begin A v[2,", "$begin A x=1 $end", "$begin A $begin B f(g(1, 2"})
        EXPECT_EQ(Errors(Parsed(text)), "") << text;
    EXPECT_EQ(Text(Parsed("$begin A x=1 f(1, g(2")), "$begin A\n\tx=1\n\tf(1, g(2))\n$end A\n");
    EXPECT_EQ(Errors(Parsed("x=1")), ":1: begin/end block syntax invalid\n");
    EXPECT_EQ(Errors(Parsed("")), ":1: begin/end block syntax invalid\n");
}

TEST(Block, ReportsExactlyTheWrongLines) {
    std::string text = "$begin A\n";
    std::string expected;
    for (int line = 2; line <= 100001; ++line) {
        const bool wrong = line % 100 == 7;
        text += wrong ? "f(1 2)\n" : "x=1\n";
        if (wrong)
            expected += "A:" + std::to_string(line) + ": expected a ')', ']' or a ','\n";
    }
    const CBlock block = Parsed(text + "$end A\n");
    EXPECT_EQ(Errors(block), expected);
    EXPECT_EQ(block.size(), 99000u);
}

TEST(Block, CollectsErrorsOfItsOwnLevelFirst) {
    const CBlock nested = Parsed("$begin A\n$begin B\n=\n$end B\n$begin C\n=\n$end C\n$end A\n");
    EXPECT_EQ(Errors(nested), "B:3: identifier expected\nC:6: identifier expected\n");
    EXPECT_FALSE(nested.HasErrors(false));
    EXPECT_TRUE(nested.HasErrors(true));
    EXPECT_EQ(Errors(Parsed("$begin A\n$begin B\n=\n$end B\n=\n$end A\n")), "A:5: identifier expected\n");
}

TEST(Block, FindsNamesWithoutCaseTheEarliestFirst) {
    CBlock block = Parsed("$begin B\nb=0\nfreq=1\nFREQ=2\n'\xC3\x84'=3\nf(5)\n$begin N\ny=1\n$end N\n$end B");
    CBlock_named_value value(AString(u"Freq"));
    int number = 0;
    EXPECT_TRUE(block.GetNamedValue(value).IsGood());
    EXPECT_TRUE(value.GetInt(number));
    EXPECT_EQ(number, 1);
    auto found = block.Find(u"freq");
    EXPECT_EQ((++found)->second->GetNameToken().GetText(), u"FREQ");
    value.SetName(Wide("\xC3\xA4"));
    EXPECT_TRUE(block.GetNamedValue(value).IsGood());
    value.SetName(AString(u"f"));
    EXPECT_FALSE(block.GetNamedValue(value).IsGood());
    EXPECT_TRUE(value.GetInt(number));
    EXPECT_EQ(number, 3);
    CBlock_func func(AString(u"F"));
    EXPECT_TRUE(block.GetFunc(func).IsGood());
    EXPECT_EQ(func.GetSize(), 1u);
    CBlock inner(AString(u"n"));
    EXPECT_TRUE(block.GetBlock(inner).IsGood());
    EXPECT_EQ(inner.size(), 1u);
    CBlockFuncArgPtr arg(new CBlock_value);
    EXPECT_FALSE(block.GetFuncArg(arg).IsGood());
    arg = CBlockFuncArgPtr(new CBlock_named_value(AString(u"b")));
    EXPECT_TRUE(block.GetFuncArg(arg).IsGood());
    EXPECT_TRUE(arg->GetInt(number));
    EXPECT_EQ(number, 0);
    // Additions are found after the first lookup too; what is erased is not.
    block << CBlock_named_value(AString(u"late"), CToken(TokenType::Int, 9.0));
    EXPECT_NE(block.Find(u"LATE"), block.NamesEnd());
    block.Erase(block.Find(u"freq"));
    value.SetName(AString(u"freq"));
    EXPECT_TRUE(block.GetNamedValue(value).GetNamedValue(value).IsGood());
    EXPECT_TRUE(value.GetInt(number));
    EXPECT_EQ(number, 2);
    EXPECT_EQ(block.size(), 6u);
    EXPECT_EQ(block.Erase(block.NamesEnd()), block.NamesEnd());
}

TEST(Block, FindsTheSameItemsWithAnIndexAndWithout) {
    for (std::size_t more : {0, 50}) {
        for (const char* lines :
             {"a=1\nA=2\nb(3)\n", "''=1\na=2\n", "12=1\n''=2\n", "$begin a\n$end a\na=1\n", ""}) {
            CBlock plain = Parsed("$begin B\n" + std::string(lines) + "$end B\n");
            for (std::size_t i = 0; i < more; ++i)
                plain << CBlock_named_value(AString(u"more"), CToken(TokenType::Int, 1.0));
            CBlock indexed(plain);
            for (const char16_t* name : {u"a", u"A", u"b", u"", u"12", u"c"}) {
                const auto found = indexed.Find(name);
                const CBlock_item* item = plain.FindItem(name);
                EXPECT_EQ(item, indexed.IsGood() ? found->second.Get() : nullptr) << lines;
                EXPECT_EQ(plain.IsGood(), indexed.IsGood()) << lines;
            }
        }
    }
}

TEST(Block, SharesItemsWithItsCopies) {
    CBlock block = Parsed("$begin B\nx=1\n$end B");
    CBlock copy;
    copy = block;
    EXPECT_EQ(copy.begin()->Get(), block.begin()->Get());
    CBlock outer(AString(u"O"));
    outer << block << CBlock_func(AString(u"f"));
    EXPECT_EQ(Text(outer), "$begin O\n\t$begin B\n\t\tx=1\n\t$end B\n\tf()\n$end O\n");
    // A block may take the place of the one that holds it.
    CBlock nested = Parsed("$begin A\n$begin A\n$begin A\nx=1\n$end A\n$end A\n$end A");
    EXPECT_TRUE(nested.GetBlock(nested).IsGood());
    EXPECT_EQ(Text(nested), "$begin A\n\t$begin A\n\t\tx=1\n\t$end A\n$end A\n");
}

TEST(Block, OfPairsOfNumbersIsOneOfFunctions) {
    const double numbers[] = {1, 2, 3, 4, 5, 6};
    const CToken name(TokenType::SingleQuotedText, u"c");
    struct Case {
        const char* what;
        std::function<void(CBlock&)> change;
    };
    for (const Case& c : {
             Case{"nothing", [](CBlock&) {}},
             Case{"more pairs", [&](CBlock& b) { b.AddPairs(name, numbers, 2); }},
             Case{"no more pairs", [&](CBlock& b) { b.AddPairs(name, numbers, 0); }},
             Case{"pairs of another name",
                  [&](CBlock& b) { b.AddPairs(CToken(TokenType::SingleQuotedText, u"d"), numbers, 2); }},
             Case{"an item", [](CBlock& b) { b << CBlock_named_value(AString(u"x")); }},
             Case{"an item for which there is room",
                  [](CBlock& b) {
                      b.Reserve(8);
                      b << CBlock_named_value(AString(u"x"));
                  }},
             Case{"pairs behind a lookup",
                  [&](CBlock& b) {
                      EXPECT_NE(b.Find(u"C"), b.NamesEnd());
                      b.AddPairs(name, numbers, 2);
                  }},
             Case{"an erasure", [](CBlock& b) { b.Erase(b.Find(u"c")); }},
             Case{"a lookup", [](CBlock& b) { EXPECT_EQ(b.FindItem(u"c"), b.begin()->Get()); }},
             Case{"another's items", [](CBlock& b) { b = Parsed("$begin B\nx=1\n$end B"); }},
             Case{"its items to another",
                  [](CBlock& b) {
                      const CBlock copy(b);
                      EXPECT_EQ(copy.begin()->Get(), b.begin()->Get());
                  }},
             Case{"an item's value", [](CBlock& b) { static_cast<CBlock_func&>(**b.begin()) << 7.0; }},
             Case{"emptied", [](CBlock& b) { b.Clear(); }},
         }) {
        CBlock pairs(AString(u"r0"));
        pairs.AddPairs(name, numbers, 3);
        CBlock items(AString(u"r0"));
        for (std::size_t i = 0; i < 3; ++i) {
            CBlock_func func(name);
            items << (func << numbers[2 * i] << numbers[2 * i + 1]);
        }
        ASSERT_NE(pairs.GetPairs(), nullptr);
        ASSERT_EQ(items.GetPairs(), nullptr);
        c.change(pairs);
        c.change(items);
        EXPECT_EQ(pairs.GetSize(), items.GetSize()) << c.what;
        AString binary, other;
        EXPECT_EQ(Bytes(pairs.ToBinaryText(binary)), Bytes(items.ToBinaryText(other))) << c.what;
        CToken_ostring s(&DefaultTokenGrammar());
        EXPECT_EQ(pairs.GetBinarySize(s), items.GetBinarySize(s)) << c.what;
        EXPECT_EQ(Text(pairs), Text(items)) << c.what;
        EXPECT_EQ(pairs.GetMemoryStats(true).funcs, items.GetMemoryStats(true).funcs) << c.what;
    }
}

TEST(BlockValue, ConvertsWithinRange) {
    const auto value = [](double number) { return CBlock_value(CToken(TokenType::Double, number)); };
    short s = 9;
    unsigned short us = 9;
    int i = 9;
    unsigned u = 9;
    long l = 9;
    unsigned long ul = 9;
    bool b = true;
    float f = 0;
    EXPECT_FALSE(value(70000).GetShort(s));
    EXPECT_FALSE(value(70000).GetUnsignedShort(us));
    EXPECT_TRUE(value(70000).GetLong(l));
    EXPECT_EQ(l, 70000);
    EXPECT_TRUE(value(-0.5).GetInt(i));
    EXPECT_EQ(i, 0);
    EXPECT_FALSE(value(-0.5).GetUnsignedInt(u));
    EXPECT_FALSE(value(std::numeric_limits<double>::quiet_NaN()).GetInt(i));
    EXPECT_TRUE(value(4294967295.0).GetUnsignedLong(ul));
    EXPECT_EQ(ul, 4294967295u);
    EXPECT_FALSE(value(1).GetBool(b));
    EXPECT_TRUE(value(1e300).GetFloat(f));
    EXPECT_TRUE(CBlock_value(CToken(TokenType::False)).GetBool(b));
    EXPECT_FALSE(b);
    wchar16 text[8];
    EXPECT_TRUE(CBlock_value(CToken(TokenType::Keyword, u"abc")).GetWideChars(text));
    EXPECT_EQ(std::u16string_view(text), u"abc");
    EXPECT_FALSE(value(1).GetWideChars(text));
    EXPECT_EQ(std::tuple(s, us, u), std::tuple(9, 9, 9u));
    EXPECT_EQ(value(1).GetNameToken().GetType(), TokenType::Null);
    EXPECT_TRUE(CBlock_value().IsEmpty());
}

TEST(BlockFunc, ConvertsByItsInnermostFirstArgument) {
    const CBlock block = Parsed("$begin B\nf(g(h(5), 1), 2)\ne(x())\nv[1: 7]\nw[]\n$end B");
    int number = 0;
    const auto get = [&](std::size_t index) {
        return dynamic_cast<const CBlock_func_arg&>(
                   *(block.begin() + static_cast<std::ptrdiff_t>(index))->Get())
            .GetInt(number);
    };
    EXPECT_TRUE(get(0));
    EXPECT_EQ(number, 5);
    EXPECT_FALSE(get(1));
    EXPECT_TRUE(get(2));
    EXPECT_EQ(number, 7);
    EXPECT_FALSE(get(3));
}

TEST(BlockFunc, GivesItsArgumentsInOrderAndByName) {
    CBlock_func func(AString(u"f"));
    func << AString(u"text") << 0.5 << 3 << true
         << CBlock_named_value(AString(u"n"), CToken(TokenType::Int, 4.0)) << u"z";
    EXPECT_EQ(Text(func), "f('text', 0.5, 3, true, n=4, 'z')");
    AString text;
    double real = 0;
    int number = 0;
    bool on = false;
    func >> text >> real >> number >> on;
    EXPECT_TRUE(func.IsGood());
    EXPECT_EQ(std::tuple(Narrow(text), real, number, on), std::tuple("text", 0.5, 3, true));
    EXPECT_FALSE((func >> number).IsGood()); // a named value is no plain one
    EXPECT_FALSE((func >> text).IsGood());
    CBlockFuncArgPtr found;
    EXPECT_TRUE(func.FindNamed(found, u"N"));
    EXPECT_TRUE(found->GetInt(number));
    EXPECT_EQ(number, 4);
    EXPECT_TRUE(func.FindNamed(found, u""));
    EXPECT_FALSE(func.FindNamed(found, u"m"));
    EXPECT_FALSE(found);
}

TEST(BlockFunc, HoldsATime) {
    const CBlock_time_func time(AString(u"time"), 1108719000);
    CBlock_time_func copy(AString(u"time"));
    EXPECT_TRUE(copy.FromText(Wide(Text(time))));
    EXPECT_EQ(copy.GetTime(), 1108719000);
    EXPECT_EQ(CBlock_time_func(AString(u"time"), -1).GetSize(), 0u);
}

TEST(BlockItem, ReadsItselfFromText) {
    CBlock_vec vec;
    EXPECT_TRUE(vec.FromText(Wide("v[2: 1, 2]")));
    EXPECT_EQ(Text(vec), "v[2: 1, 2]");
    EXPECT_THROW(vec.FromText(Wide("v=1")), XStreamioError);
    EXPECT_THROW(vec.FromText(Wide("v[1 2]")), XStreamioError);
    EXPECT_EQ(Narrow(XStreamioError(static_cast<ReadError>(13), 1).GetText()), "");
    EXPECT_EQ(Narrow(XStreamioError(ReadError::VectorSize, 1).GetText()), "invalid vector size");
}

// A stored object with one number, by TransferBlock.
class Thing : public CStreamio_block_object {
public:
    explicit Thing(std::string_view name = "Thing") : m_Name(Wide(name)) {}
    AString GetBlockName() const override { return m_Name; }
    std::int32_t TransferBlock(CBlock& block, bool read) override {
        wasInBlock = mInBlock;
        if (!read) {
            block << CNamed_value_manip<int>(AString(u"n"), n);
            return 0;
        }
        if (throws)
            throw ReadError::Value;
        return (block >> CNamed_value_manip<int>(AString(u"n"), n)).IsGood() ? 0 : 2;
    }

    int n = 1;
    bool throws = false;
    bool wasInBlock = false;

private:
    AString m_Name;
};

TEST(BlockObject, StoresItselfAsOneBlock) {
    Thing thing;
    thing.n = 5;
    EXPECT_EQ(Text(thing), "$begin Thing\n\tn=5\n$end Thing\n");
    Thing back;
    EXPECT_TRUE(back.FromText(Wide("$begin Thing\nother=1\n=bad\nn=7\n$end Thing\n")));
    EXPECT_EQ(back.n, 7);
    AString binary;
    thing.ToBinaryText(binary);
    EXPECT_TRUE(back.FromText(binary));
    EXPECT_EQ(back.n, 5);
    EXPECT_EQ(back.GetReadStatus(), 0);
    back.throws = true;
    CBlock block;
    EXPECT_EQ(back.ReadFromBlock(block), 5);
    back.throws = false;
    EXPECT_EQ(back.ReadFromBlock(block), 2);
    EXPECT_TRUE(back.ReadAsPart(block)); // a remark is no failure
    EXPECT_TRUE(back.wasInBlock);
    EXPECT_EQ(thing.WriteAsPart(block), 1);
    EXPECT_EQ(Text(block), Text(thing));
    CBlockItemPtr item;
    EXPECT_TRUE(back.SetItem(thing.GetItem(item)));
    EXPECT_FALSE(back.SetItem(CBlockItemPtr(new CBlock_value)));
    Thing any("");
    EXPECT_THROW(any.FromText(Wide("$begin X\n$end X\n")), XStreamioError);
    EXPECT_TRUE(any.FromText(Wide("$begin X\nn=3\n$end X\n")));
    EXPECT_EQ(any.n, 3);
}

// A tree of anything that can be stored, for comparing the two forms.
CBlockItemPtr RandomItem(std::mt19937& random, int depth) {
    // The last ones are no names: they would be written bare and read as something else.
    static constexpr std::string_view kTexts[] = {
        "a",          "name", "two words", "it's", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
        "with\nline", "12",   "true",      "a\\b", "a much longer text than others",
        "\\",         "'q'",  ""};
    const auto name = [&] { return Wide(kTexts[random() % (std::size(kTexts) - 3)]); };
    const auto text = [&] { return Wide(kTexts[random() % std::size(kTexts)]); };
    const auto token = [&]() -> CToken {
        switch (random() % 8) {
        case 0:
            return {TokenType::SingleQuotedText, text()};
        case 1:
            return {TokenType::DoubleQuotedText, text()};
        case 2:
            return CToken(random() % 2 ? TokenType::True : TokenType::False);
        case 3:
            return {TokenType::Int, static_cast<double>(static_cast<int>(random()) >> (random() % 32))};
        case 4:
            return {TokenType::UnsignedInt, static_cast<double>(random() >> (random() % 32))};
        case 5:
            return {TokenType::Keyword, u"word"};
        default:
            return {TokenType::Double, std::ldexp(static_cast<double>(static_cast<int>(random())), -20)};
        }
    };
    switch (random() % (depth > 0 ? 4 : 2)) {
    case 0:
        return CBlockItemPtr(new CBlock_named_value(name(), token()));
    case 1: {
        auto* vec = new CBlock_vec(name());
        for (std::size_t count = random() % 6; count > 0; --count)
            vec->Add(token());
        return CBlockItemPtr(vec);
    }
    case 2: {
        auto* func = new CBlock_func(name());
        CBlockItemPtr item(func);
        for (std::size_t count = random() % 4; count > 0; --count) {
            CBlockItemPtr arg = RandomItem(random, depth - 1);
            func->Add(arg->IsBlock() ? CBlockFuncArgPtr(new CBlock_value(CToken(TokenType::Int, 1.0)))
                                     : CBlockFuncArgPtr(arg));
        }
        return item;
    }
    default: {
        auto* block = new CBlock(name());
        for (std::size_t count = random() % 5; count > 0; --count)
            block->Add(RandomItem(random, depth - 1));
        return CBlockItemPtr(block);
    }
    }
}

TEST(Block, SaysTheSameInTextAndInBinary) {
    std::mt19937 random(11);
    for (int round = 0; round < 3000; ++round) {
        CBlock block(AString(u"Root"));
        for (int i = 0; i < 4; ++i)
            block.Add(RandomItem(random, 3));
        const std::string text = Text17(block);
        CBlock read;
        ASSERT_TRUE(read.FromText(Wide(text))) << text << Errors(read);
        ASSERT_EQ(Text17(read), text);
        AString binary;
        read.ToBinaryText(binary);
        CBlock back;
        ASSERT_TRUE(back.FromText(binary)) << text << Errors(back);
        ASSERT_EQ(Text17(back), text);
        CToken_ostring measure(&DefaultTokenGrammar());
        ASSERT_NEAR(static_cast<double>(read.GetBinarySize(measure)), static_cast<double>(binary.size()), 8)
            << text;
    }
}

} // namespace
} // namespace io
