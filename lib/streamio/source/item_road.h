// Items read straight from a text in memory, without tokens in between, as long as they are spelled in the usual
// way. Whatever is unusual, and every error, is left to the tokens: the road is then led back to where such an item
// begins. One class for each form of the text, with the same operations; each operation that is false may have moved.
#pragma once

#include "scan_tables.h"

#include <streamio/token.h>

#include <cstring>
#include <string_view>

namespace io {

enum class BlockEdge { None, Begin, End, Unusual };

// Where a road stands.
struct RoadPlace {
    const wchar16* at = nullptr;
    std::int32_t line = 0;
    bool atLineStart = false; // no token stands in front on the line
};

// The keywords of blocks, spelled as they are stored.
struct BlockKeywords {
    std::u16string_view begin;
    std::u16string_view end;

    BlockEdge EdgeOf(std::u16string_view word) const {
        return word == begin ? BlockEdge::Begin : word == end ? BlockEdge::End : BlockEdge::Unusual;
    }
};

// Words that come again and again in a text share their characters.
class CWordCache {
public:
    // The word of the cache that `text` begins with, or null; `length` is how long it is.
    const CToken* Find(const wchar16* text, const wchar16* end, std::size_t& length) {
        Slot* slot = SlotOf(text, end);
        if (!slot || slot->text.empty() || static_cast<std::size_t>(end - text) < slot->text.size() ||
            std::memcmp(text, slot->text.data(), slot->text.size() * sizeof(wchar16)) != 0)
            return nullptr;
        // A text's copies are counted in a byte; then a new one serves the next.
        if (++slot->uses > kMostUses)
            Renew(*slot, slot->text);
        length = slot->text.size();
        return &slot->token;
    }
    CToken Get(std::u16string_view word) {
        std::size_t length = 0;
        const CToken* known = Find(word.data(), word.data() + word.size(), length);
        return known && length == word.size() ? *known : Add(word);
    }
    CToken Add(std::u16string_view text) {
        Slot* slot = SlotOf(text.data(), text.data() + text.size());
        if (!slot)
            return CToken(TokenType::Keyword, text);
        Renew(*slot, text);
        return slot->token;
    }

private:
    struct Slot {
        CToken token;
        std::u16string_view text; // the token's
        int uses = 0;
    };
    static constexpr std::ptrdiff_t kLeastLength = 4; // shorter ones stand in the token itself
    static constexpr unsigned kSlots = 16;
    static constexpr int kMostUses = 240;

    Slot* SlotOf(const wchar16* text, const wchar16* end) {
        if (end - text < kLeastLength)
            return nullptr;
        return &m_Slots[(text[0] * 5u + text[1] * 3u + text[3]) % kSlots];
    }
    void Renew(Slot& slot, std::u16string_view text);

    Slot m_Slots[kSlots];
};

class CTextRoad {
public:
    // From `place` on, where the first thing to be read stands.
    CTextRoad(const ScanTables& tables, const BlockKeywords& keywords, bool keepSource, RoadPlace place,
              const wchar16* end)
        : m_Tables(tables), m_Keywords(keywords), m_KeepSource(keepSource), m_Place(place), m_End(end) {}

    RoadPlace GetPlace() const { return m_Place; }

    // Over blanks, comments and line ends.
    void PassSpace();
    BlockEdge TakeEdge();
    // A number, boolean, word or plainly quoted text.
    bool TakeElement(CToken& out, CWordCache& words);
    // That very word or text.
    bool TakeSame(const CToken& token, CWordCache& words);
    bool TakeSymbol(wchar16 symbol) {
        const wchar16* at = m_Place.at;
        while (at < m_End && *at != symbol && IsBlank(*at))
            ++at;
        const bool found = at < m_End && *at == symbol;
        m_Place.at = found ? at + 1 : at;
        return found;
    }
    // What stands between two elements or arguments.
    bool TakeSeparator() { return TakeSymbol(u','); }
    // Where vectors are known.
    bool TakeVecBegin() { return !m_Tables.delimiterShape && TakeSymbol(u'['); }
    // The numbers and other elements from the bracket on.
    bool TakeElements(CTokenArray& elements, CWordCache& words);

private:
    int State(int from) const { return m_Tables.Next(from, *m_Place.at); }
    bool IsBlank(wchar16 unit) const { return unit < 256 && m_Tables.next[0][unit] == 2; }
    void PassRun(int state);
    void PassBlanks() {
        while (m_Place.at < m_End && IsBlank(*m_Place.at))
            ++m_Place.at;
    }
    std::u16string_view From(const wchar16* begin) const {
        return {begin, static_cast<std::size_t>(m_Place.at - begin)};
    }
    bool TakeWord(CToken& out, CWordCache& words);
    bool TakeQuoted(CToken& out, int state);

    const ScanTables& m_Tables;
    BlockKeywords m_Keywords;
    bool m_KeepSource;
    RoadPlace m_Place;
    const wchar16* m_End;
};

class CBinaryRoad {
public:
    CBinaryRoad(const BlockKeywords& keywords, RoadPlace place, const wchar16* end)
        : m_Keywords(keywords), m_Place(place), m_End(end) {}

    RoadPlace GetPlace() const { return m_Place; }

    void PassSpace();
    BlockEdge TakeEdge();
    bool TakeElement(CToken& out, CWordCache& words);
    bool TakeSame(const CToken& token, CWordCache& words);
    bool TakeSymbol(wchar16 symbol);
    bool TakeSeparator() {
        TakeSymbol(u',');
        return true;
    }
    bool TakeVecBegin() { return TakeSymbol(u'['); }
    bool TakeElements(CTokenArray& elements, CWordCache& words);

private:
    bool TakePlainText(std::u16string_view& text);

    BlockKeywords m_Keywords;
    RoadPlace m_Place;
    const wchar16* m_End;
};

} // namespace io
