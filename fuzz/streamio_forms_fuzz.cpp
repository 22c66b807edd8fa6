// A tree says the same through text and through binary.
#include <streamio/block.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// Takes bytes as choices.
class Choices {
public:
    Choices(const std::uint8_t* data, std::size_t size) : m_Data(data), m_End(data + size) {}

    bool AtEnd() const { return m_Data == m_End; }
    unsigned Next() { return m_Data == m_End ? 0 : *m_Data++; }

private:
    const std::uint8_t* m_Data;
    const std::uint8_t* m_End;
};

// Names begin with a letter, so that both forms say them in the same way.
AString MakeText(Choices& choices, bool name) {
    AString text(std::u16string(name ? u"n" : u""));
    for (unsigned count = choices.Next() % 12; count > 0; --count) {
        const unsigned choice = choices.Next();
        text += choice < 200 ? static_cast<wchar16>(choice % 95 + 32)
                             : static_cast<wchar16>(choice << 7 | choices.Next());
        // What no text form holds: the end of the stream, a lone CR, halves of a pair.
        const wchar16 last = text.back();
        if (last == 0xFFFF || (last & 0xF800) == 0xD800)
            text.back() = u'x';
    }
    return text;
}

io::CToken MakeToken(Choices& choices) {
    switch (choices.Next() % 7) {
    case 0:
        return {io::TokenType::SingleQuotedText, MakeText(choices, false)};
    case 1:
        return {io::TokenType::DoubleQuotedText, MakeText(choices, false)};
    case 2:
        return io::CToken(choices.Next() % 2 ? io::TokenType::True : io::TokenType::False);
    case 3:
        return {io::TokenType::Int, static_cast<double>(static_cast<std::int8_t>(choices.Next()) * 1000003)};
    case 4:
        return {io::TokenType::UnsignedInt,
                static_cast<double>(choices.Next()) * 16777216.0 + choices.Next()};
    default:
        return {io::TokenType::Double,
                static_cast<double>(static_cast<std::int8_t>(choices.Next())) / (choices.Next() + 1)};
    }
}

io::CBlockItemPtr MakeItem(Choices& choices, int depth) {
    switch (choices.Next() % (depth > 0 ? 4 : 2)) {
    case 0:
        return io::CBlockItemPtr(new io::CBlock_named_value(MakeText(choices, true), MakeToken(choices)));
    case 1: {
        auto* vec = new io::CBlock_vec(MakeText(choices, true));
        for (unsigned count = choices.Next() % 8; count > 0; --count)
            vec->Add(MakeToken(choices));
        return io::CBlockItemPtr(vec);
    }
    case 2: {
        auto* func = new io::CBlock_func(MakeText(choices, true));
        io::CBlockItemPtr item(func);
        for (unsigned count = choices.Next() % 5; count > 0; --count) {
            const io::CBlockItemPtr argument = MakeItem(choices, depth - 1);
            if (!argument->IsBlock())
                func->Add(io::CBlockFuncArgPtr(argument));
        }
        return item;
    }
    default: {
        auto* block = new io::CBlock(MakeText(choices, true));
        for (unsigned count = choices.Next() % 6; count > 0; --count)
            block->Add(MakeItem(choices, depth - 1));
        return io::CBlockItemPtr(block);
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices(data, size);
    io::CBlock block(AString(std::u16string(u"Root")));
    while (!choices.AtEnd())
        block.Add(MakeItem(choices, 4));
    AString text;
    block.ToText(text, 0, 17);
    io::CBlock fromText;
    if (!fromText.FromText(text))
        std::abort();
    AString binary;
    fromText.ToBinaryText(binary);
    io::CBlock fromBinary;
    if (!fromBinary.FromText(binary))
        std::abort();
    AString back;
    fromBinary.ToText(back, 0, 17);
    AString again;
    fromText.ToText(again, 0, 17);
    if (back != again || again != text)
        std::abort();
    return 0;
}
