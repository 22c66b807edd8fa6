#include "stream_tests.h"

#include <thread>

namespace io {
namespace {

std::string Nested(std::size_t count, std::string_view open, std::string_view inside,
                   std::string_view close) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += open;
    text += inside;
    for (std::size_t i = 0; i < count; ++i)
        text += close;
    return text;
}

TEST(Nesting, OfAThousandLevelsPassesEverywhere) {
    const std::string blocks = Nested(1000, "$begin a\n", "", "$end a\n");
    const std::string funcs = "$begin a\n" + Nested(1000, "f(", "1", ")") + "\n$end a\n";
    for (const std::string& text : {blocks, funcs}) {
        const CBlock block = Parsed(text);
        EXPECT_EQ(Errors(block), "");
        AString binary;
        block.ToBinaryText(binary);
        CBlock back;
        EXPECT_TRUE(back.FromText(binary));
        EXPECT_EQ(Text(back), Text(block));
        CBlock copy(back);
        EXPECT_FALSE(copy.HasErrors(true));
        EXPECT_GE(copy.GetMemoryStats(true).itemBytes, 1000u);
    }
}

TEST(Nesting, OfAMillionLevelsIsAnErrorWithItsLine) {
    const CBlock blocks = Parsed(Nested(1000000, "$begin a\n", "x=1\n", "$end a\n"));
    EXPECT_EQ(Errors(blocks), "a:4097: invalid block item\n");
    const CBlock funcs = Parsed("$begin a\n\n" + Nested(1000000, "f(", "1", ")") + "\ny=1\n$end a\n");
    EXPECT_EQ(Errors(funcs), "a:3: invalid block item\n");
    EXPECT_EQ(funcs.size(), 1u);
    AString binary(u"\0", 1);
    for (int i = 0; i < 1000000; ++i)
        binary += u"\x0C\x06$begin\x0C\x01"
                  u"a\x13";
    CBlock fromBinary;
    EXPECT_FALSE(fromBinary.FromText(binary));
    EXPECT_EQ(Errors(fromBinary), "a:1: invalid block item\n");
}

TEST(Nesting, OfAMillionLevelsBuiltInMemoryCanBeTakenApart) {
    CBlockItemPtr blocks(new CBlock(AString(u"a")));
    CBlockFuncArgPtr funcs(new CBlock_func(AString(u"f")));
    for (int i = 0; i < 1000000; ++i) {
        auto* block = new CBlock(AString(u"a"));
        block->Add(blocks);
        blocks = CBlockItemPtr(block);
        auto* func = new CBlock_func(AString(u"f"));
        func->Add(funcs);
        funcs = CBlockFuncArgPtr(func);
    }
    auto& root = static_cast<CBlock&>(*blocks);
    CBlock copy = root;
    std::list<AString> errors;
    EXPECT_FALSE(copy.CollectErrors(errors, true));
    EXPECT_EQ(copy.GetMemoryStats(true).blocks, 1000001u);
    CToken_ostring measure(&DefaultTokenGrammar());
    EXPECT_GT(copy.GetBinarySize(measure), 1000000u);
    int number = 0;
    EXPECT_FALSE(funcs->GetInt(number));
    AString text;
    EXPECT_THROW(copy.ToText(text), XStreamioError);
    EXPECT_THROW(funcs->ToBinaryText(text), XStreamioError);
}

TEST(Hostile, CountsReserveNoMoreThanCanFollow) {
    CBlock_vec vec;
    vec.FromText(Wide("v[65535:"));
    EXPECT_LT(vec.GetElements().capacity(), 16u);
    std::string many = "$begin a\n";
    for (int i = 0; i < 20000; ++i)
        many += "v[65535:]";
    const CBlock block = Parsed(many);
    EXPECT_EQ(block.size(), 20000u);
    CBlock fourGigabytes;
    EXPECT_FALSE(fourGigabytes.FromText(AString(u"\0\x8C\xFF\xFF\xFF\xFF", 6)));
}

constexpr std::string_view kEveryKind =
    "$begin A\n\tName='it\\'s'\n\tn=1.5e5\n\tf(1, g(x=2, \"q\"), v[2: 1, -2])\n\tv[3: 0x1f, a, true]\n"
    "\t$begin 'B c'\n\t\tc=$begin_cdata$ x $end_cdata$ ! note\n\t$end 'B c'\n$end A\n";

TEST(Hostile, InputCutAnywhereGivesAShorterTree) {
    const AString text = Wide(kEveryKind);
    AString binary;
    Parsed(kEveryKind).ToBinaryText(binary);
    for (const AString& whole : {text, binary}) {
        for (std::size_t length = 0; length < whole.size(); ++length) {
            CBlock block;
            block.FromText(AString(whole.substr(0, length)));
            AString again;
            block.ToText(again);
            EXPECT_LE(block.size(), 5u);
        }
    }
}

TEST(Hostile, DamageAnywhereIsAnErrorOrAnotherTree) {
    const AString text = Wide(kEveryKind);
    AString binary;
    Parsed(kEveryKind).ToBinaryText(binary);
    for (const AString& whole : {text, binary}) {
        for (std::size_t at = 0; at < whole.size(); ++at) {
            for (const int unit :
                 {0, 1, 10, 13, 18, 19, 39, 40, 41, 78, 86, 92, 127, 140, 255, 0xD800, 0xFFFF}) {
                AString damaged = whole;
                damaged[at] = static_cast<wchar16>(unit);
                CBlock block;
                block.FromText(damaged);
                AString again;
                block.ToText(again);
            }
        }
    }
}

TEST(Pool, GivesBlocksBackAcrossThreads) {
    // What one thread reads another one takes apart, again and again: the blocks must find their way back.
    for (int round = 0; round < 50; ++round) {
        auto block = std::make_unique<CBlock>();
        std::thread reader([&] { block->FromText(Wide(kEveryKind)); });
        reader.join();
        EXPECT_EQ(block->size(), 5u);
        std::thread([&] { block.reset(); }).join();
    }
}

} // namespace
} // namespace io
