// An indexed text with damage: whatever the index says, the stream opens, seeks and reads, or refuses.
#include <streamio/block_index.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// Blocks with an index, in either form.
AString Indexed(bool binary) {
    io::CToken_ostring s(0, binary, &io::DefaultTokenGrammar(), io::kUseIndex | io::kAllLevels);
    for (const wchar16* name : {u"First", u"Second one", u"Third"}) {
        s.WriteBlockBegin(name);
        s << u"x" << u'=' << 1;
        s.WriteBlockBegin(u"Nested");
        s.WriteBlockEnd(u"Nested");
        s.WriteBlockEnd(name);
    }
    s.Close();
    return s.TakeText();
}

void Use(const AString& text, std::uint32_t flags) {
    io::CToken_istring s(text, &io::DefaultTokenGrammar(), flags);
    s.ClearFail();
    for (const wchar16* path : {u"First", u"Second one\tNested", u"Third", u"$index$"}) {
        if (!s.SeekToIndexEntry(AString(path)))
            continue;
        io::CBlock block;
        block.Read(s);
    }
    s.ClearFail();
    s.LoadIndex(flags & (io::kAllLevels | io::kFastScan));
    s.SkipToBlock(AString(std::u16string(u"Third")));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const AString kTexts[] = {Indexed(false), Indexed(true)};
    if (size == 0)
        return 0;
    AString text = kTexts[data[0] % 2];
    const std::uint32_t flags = io::kUseIndex | (data[0] & 2 ? io::kCheckIndex | io::kCheckNested : 0u) |
                                (data[0] & 4 ? io::kAllLevels | io::kFastScan : 0u);
    // Three bytes a piece of damage: where, and what stands there instead.
    for (std::size_t i = 1; i + 2 < size; i += 3) {
        const std::size_t at = (data[i] | data[i + 1] << 8) % (text.size() + 1);
        if (at == text.size())
            text.resize(text.size() / 2);
        else if (data[i + 2] == 255)
            text.erase(at, 7);
        else
            text[at] = data[i + 2];
        if (text.empty())
            return 0;
    }
    Use(text, flags);
    return 0;
}
