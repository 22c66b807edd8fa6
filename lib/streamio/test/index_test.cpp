#include "stream_tests.h"

#include <streamio/block_index.h>

namespace io {
namespace {

constexpr std::string_view kBlocks =
    "$begin First\n\tx=1\n\t$begin Nested\n\t\ty=2\n\t$end Nested\n$end First\n"
    "$begin Second\n\tz=3\n$end Second\n";

// The blocks written with an index.
AString Indexed(std::string_view blocks, std::uint32_t flags) {
    CToken_ostring s(&DefaultTokenGrammar(), 0, flags | kUseIndex);
    CToken_istring in(Wide(blocks), &DefaultTokenGrammar());
    while (in.IsBlockBegin()) {
        CBlock block;
        block.Read(in);
        block.Write(s);
    }
    s.Close();
    AString text;
    return s.GetText(text);
}

int ValueIn(CToken_istream& s, const wchar16* name) {
    CBlock block;
    block.Read(s);
    CBlock_named_value value{AString(name)};
    int number = -1;
    block.GetNamedValue(value).IsGood() && value.GetInt(number);
    return number;
}

TEST(BlockIndex, StandsInTheTextInItsForm) {
    const std::string text = Narrow(Indexed(kBlocks, kAllLevels));
    const std::size_t blocks = text.find("$begin First");
    std::string start = text.substr(0, blocks);
    for (char& c : start)
        c = c >= '0' && c <= '9' ? '0' : c;
    EXPECT_EQ(start, "$begin $base_index$\n"
                     "  $begin properties\n"
                     "    all_levels=000000000000\n"
                     "    time(year=000000000000, month=000000000000, day=000000000000, hour=000000000000, "
                     "min=000000000000, sec=000000000000)\n"
                     "    version=000000000000\n"
                     "  $end properties\n"
                     "  $index$(pos=000000000000, lin=000000000000, lvl=000000000000)\n"
                     "$end $base_index$\n");
    EXPECT_EQ(text.substr(blocks, kBlocks.size()), kBlocks);
    const std::string at = std::to_string(blocks);
    const std::string nested = std::to_string(text.find("\t$begin Nested"));
    const std::string second = std::to_string(text.find("$begin Second"));
    EXPECT_EQ(text.substr(blocks + kBlocks.size()),
              "$begin $index$\n\tFirst(pos=" + at + ", lin=9, lvl=0)\n\t'First\\\tNested'(pos=" + nested +
                  ", lin=11, lvl=1)\n\tSecond(pos=" + second + ", lin=15, lvl=0)\n$end $index$\n");
    char pos[80];
    std::snprintf(pos, sizeof pos, "$index$(pos=%012zu, lin=%012d, lvl=", text.find("$begin $index$"), 18);
    EXPECT_NE(text.find(pos), std::string::npos);
}

TEST(BlockIndex, LeadsToItsBlocks) {
    for (const std::uint32_t form : {0u, static_cast<std::uint32_t>(kBinaryForm)}) {
        const AString text = Indexed(kBlocks, form | kAllLevels);
        CToken_istring s(text, &DefaultTokenGrammar(), kUseIndex | kCheckIndex | kCheckNested);
        EXPECT_TRUE(s.Good());
        ASSERT_NE(s.GetIndex(), nullptr);
        EXPECT_TRUE(s.GetIndex()->GetAllLevels());
        EXPECT_TRUE(s.IsBlockBegin(u"$base_index$")); // where it stood
        EXPECT_TRUE(s.SeekToIndexEntry(AString(u"Second")));
        EXPECT_EQ(ValueIn(s, u"z"), 3);
        EXPECT_TRUE(s.SeekToIndexEntry(AString(u"first\tnested")));
        EXPECT_EQ(s.GetIndentLevel(), 1u);
        EXPECT_EQ(ValueIn(s, u"y"), 2);
        EXPECT_TRUE(s.SkipToBlock(AString(u"First")));
        EXPECT_EQ(ValueIn(s, u"x"), 1);
        EXPECT_FALSE(s.SeekToIndexEntry(AString(u"Third")));
    }
}

TEST(BlockIndex, HoldsTopLevelBlocksUnlessAskedForAll) {
    CToken_istring s(Indexed(kBlocks, 0), &DefaultTokenGrammar(), kUseIndex);
    ASSERT_NE(s.GetIndex(), nullptr);
    EXPECT_FALSE(s.SeekToIndexEntry(AString(u"First\tNested")));
    EXPECT_TRUE(s.SkipToBlock(AString(u"Nested"))); // by a scan
    EXPECT_EQ(ValueIn(s, u"y"), 2);
}

TEST(BlockIndex, KeepsTheLaterOfTwoBlocks) {
    const AString text = Indexed("$begin A\nx=1\n$end A\n$begin A\nx=2\n$end A\n", 0);
    CToken_istring s(text, &DefaultTokenGrammar(), kUseIndex);
    EXPECT_TRUE(s.SeekToIndexEntry(AString(u"A")));
    EXPECT_EQ(ValueIn(s, u"x"), 2);
}

TEST(BlockIndex, IsStartedAtTheStartOnly) {
    CToken_ostring s(&DefaultTokenGrammar());
    EXPECT_TRUE(s.StartIndex(0));
    AString once;
    s.GetText(once);
    EXPECT_TRUE(s.StartIndex(0));
    AString twice;
    EXPECT_EQ(s.GetText(twice), once);
    CToken_ostring late(&DefaultTokenGrammar());
    late.Write(1);
    EXPECT_FALSE(late.StartIndex(0));
    EXPECT_EQ(late.GetIndex(), nullptr);
    CToken_ostring binary(0, true, &DefaultTokenGrammar());
    EXPECT_TRUE(binary.StartIndex(0));
    // Open blocks don't change the length of the start.
    s.WriteBlockBegin(u"A");
    s.Close();
    AString text;
    s.GetText(text);
    EXPECT_EQ(text.substr(once.size(), 8), u"$begin A");
    EXPECT_EQ(text.find(u"$begin A"), once.size());
}

TEST(BlockIndex, IsNotUsedWhenDamaged) {
    const AString good = Indexed(kBlocks, kAllLevels);
    const auto open = [](const AString& text, std::uint32_t flags) {
        CToken_istring s(text, &DefaultTokenGrammar(), flags);
        return std::pair(s.Good(), s.GetIndex() != nullptr);
    };
    const auto replaced = [&](std::u16string_view from, std::u16string_view to) {
        AString text = good;
        text.replace(text.rfind(from), from.size(), to);
        return text;
    };
    EXPECT_EQ(open(Wide(kBlocks), kUseIndex), std::pair(true, false));
    EXPECT_EQ(open(replaced(u"First(pos", u"First[pos"), kUseIndex), std::pair(true, false));
    EXPECT_EQ(open(replaced(u"$begin $index$", u"$begin $xndex$"), kUseIndex), std::pair(true, false));
    // An entry that leads to another block is seen by the check alone.
    const AString wrong = replaced(u"Second(", u"Sexond(");
    EXPECT_EQ(open(wrong, kUseIndex), std::pair(true, true));
    EXPECT_EQ(open(wrong, kUseIndex | kCheckIndex), std::pair(false, true));
    // Cut or damaged anywhere: an index or none, never a crash, and the stream is usable.
    for (std::size_t at = 0; at < good.size(); at += 3) {
        AString cut(good.substr(0, at));
        EXPECT_TRUE(open(cut, kUseIndex).first);
        AString damaged = good;
        damaged[at] = damaged[at] == u'9' ? u'0' : u'9';
        EXPECT_TRUE(open(damaged, kUseIndex).first);
        open(damaged, kUseIndex | kCheckIndex | kCheckNested);
    }
}

TEST(BlockIndex, IsMadeByAScan) {
    const std::string text =
        "\n ! note\n" + std::string(kBlocks) + "$begin 'Third one' =bad\n$begin\nDeep\n$end\n$end\n";
    for (const std::uint32_t flags : {0u, static_cast<std::uint32_t>(kFastScan)}) {
        CToken_istring s(Wide(text), &DefaultTokenGrammar());
        EXPECT_EQ(s.LoadIndex(flags | kAllLevels), flags != 0); // the bad item is seen by the thorough form
        EXPECT_TRUE(s.IsBlockBegin(u"First"));
        EXPECT_TRUE(s.SeekToIndexEntry(AString(u"First\tNested")));
        EXPECT_EQ(s.GetLineNumber(), 5);
        EXPECT_EQ(ValueIn(s, u"y"), 2);
        EXPECT_TRUE(s.SeekToIndexEntry(AString(u"Third one\tDeep")));
        EXPECT_TRUE(s.IsBlockBegin(u"Deep"));
        EXPECT_TRUE(s.SeekToIndexEntry(AString(u"First")));
        EXPECT_EQ(ValueIn(s, u"x"), 1);
    }
    CToken_istring top(Wide(kBlocks), &DefaultTokenGrammar());
    EXPECT_TRUE(top.LoadIndex(0));
    EXPECT_FALSE(top.SeekToIndexEntry(AString(u"First\tNested")));
    CToken_istring cut(Wide(kBlocks.substr(0, 30)), &DefaultTokenGrammar());
    EXPECT_FALSE(cut.LoadIndex(0));
}

} // namespace
} // namespace io
