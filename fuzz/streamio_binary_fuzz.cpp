// Any bytes are read as a binary text, by items and by tokens with one result; the tree is written in both forms and
// comes back from its binary form as it is.
#include <streamio/block.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Require(bool condition) {
    if (!condition)
        std::abort();
}

void CompareTrees(const AString& bytes) {
    AString texts[2];
    std::list<AString> errors[2];
    for (bool runs : {false, true}) {
        io::CToken_istring stream(bytes, &io::DefaultTokenGrammar());
        stream.GetBuffer()->SetRuns(runs);
        io::CBlock block;
        block.Read(stream);
        block.ToText(texts[runs], 0, 17);
        block.CollectErrors(errors[runs], true);
    }
    Require(texts[0] == texts[1]);
    Require(errors[0] == errors[1]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AString bytes(std::u16string(1, u'\0'));
    for (std::size_t i = 0; i < size; ++i)
        bytes += static_cast<wchar16>(data[i]);
    CompareTrees(bytes);
    io::CBlock block;
    block.FromText(bytes);
    AString text;
    block.ToText(text, 0, 17);

    // From the first writing on the bytes stand still.
    AString first;
    block.ToBinaryText(first);
    io::CBlock again;
    if (!again.FromText(first))
        return 0; // an item whose name the form can't say
    AString second;
    again.ToBinaryText(second);
    io::CBlock third;
    if (!third.FromText(second))
        return 0;
    AString last;
    third.ToBinaryText(last);
    Require(last == second);
    return 0;
}
