// Any text is read into a tree, and what is written of it is read and written again as it is; runs of characters and
// single states make the same tokens, with every grammar.
#include <streamio/block.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_textstreambuf.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

void Require(bool holds) {
    if (!holds)
        std::abort();
}

// Characters that a grammar of its own makes letters of.
const io::CToken_grammar& OwnGrammar() {
    static const auto* grammar = [] {
        auto* own = new io::CToken_grammar;
        own->AddIdentStartChars(u"#\u00B0");
        own->AddIdentChars(u"#-.");
        own->AddCommentChars(u"%");
        return own;
    }();
    return *grammar;
}

void CompareRoads(const AString& text, const io::CBase_grammar& grammar, std::uint32_t flags) {
    io::CToken_istring runs(text, &grammar, flags);
    io::CToken_istring states(text, &grammar, flags);
    auto* buffer = dynamic_cast<io::CToken_textstreambuf*>(states.GetBuffer());
    if (!buffer)
        return; // binary
    io::CAbstract_stream_pos start;
    states.MakeState(start);
    buffer->SetRuns(false);
    Require(runs.SetPosition(start) && states.SetPosition(start));
    do {
        runs.GetBuffer()->NextToken();
        buffer->NextToken();
        const io::CToken& a = runs.GetBuffer()->PeekToken();
        const io::CToken& b = buffer->PeekToken();
        Require(a.GetType() == b.GetType() && a.GetText() == b.GetText());
        Require(a == b || a.GetDouble() != a.GetDouble());
        Require(runs.GetLineNumber() == states.GetLineNumber());
    } while (!states.Eof());
}

// A tree read item by item and one read token by token, with their errors.
void CompareTrees(const AString& text, const io::CBase_grammar& grammar, std::uint32_t flags) {
    AString texts[2];
    std::list<AString> errors[2];
    std::int32_t lines[2];
    for (bool runs : {false, true}) {
        io::CToken_istring stream(text, &grammar, flags);
        auto* buffer = dynamic_cast<io::CToken_textstreambuf*>(stream.GetBuffer());
        if (!buffer)
            return; // binary
        io::CAbstract_stream_pos start;
        stream.MakeState(start);
        buffer->SetRuns(runs);
        Require(stream.SetPosition(start));
        io::CBlock block;
        block.Read(stream);
        block.ToText(texts[runs], 0, 17);
        block.CollectErrors(errors[runs], true);
        lines[runs] = stream.GetLineNumber();
    }
    Require(texts[0] == texts[1]);
    Require(errors[0] == errors[1]);
    Require(lines[0] == lines[1]);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // The first byte says whether the rest is in units of one byte or of two.
    if (size == 0)
        return 0;
    AString text;
    for (std::size_t i = 1; i + 1 < size; i += data[0] % 2 + 1u)
        text += static_cast<wchar16>(data[0] % 2 == 0 ? data[i] : data[i] | data[i + 1] << 8);
    CompareRoads(text, io::DefaultTokenGrammar(), 0);
    CompareRoads(text, io::DefaultTokenGrammar(), io::kDropSourceText);
    CompareRoads(text, io::DefaultDelimiterGrammar(), 0);
    CompareRoads(text, OwnGrammar(), 0);
    CompareTrees(text, io::DefaultTokenGrammar(), 0);
    CompareTrees(text, io::DefaultTokenGrammar(), io::kDropSourceText);
    CompareTrees(text, io::DefaultDelimiterGrammar(), 0);
    CompareTrees(text, OwnGrammar(), 0);

    io::CBlock block;
    block.FromText(text);
    AString first;
    block.ToText(first, 0, 17);
    io::CBlock again;
    if (!again.FromText(first))
        return 0; // a name that can't stand bare
    AString second;
    again.ToText(second, 0, 17);
    io::CBlock third;
    if (!third.FromText(second))
        return 0; // the same of a name that was quoted before
    AString last;
    third.ToText(last, 0, 17);
    io::CBlock fourth;
    fourth.FromText(last);
    AString fixed;
    fourth.ToText(fixed, 0, 17);
    Require(fixed == last);
    return 0;
}
