// Items read straight from a text in memory, without tokens in between, as long as they are spelled in the usual
// way. Whatever is unusual, and every error, is left to the tokens: the road is then led back to where such an item
// begins. One class for each form of the text, with the same operations; each operation that is false may have moved.
#pragma once

#include "plain_text.h"
#include "scan_tables.h"

#include <streamio/token.h>

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
        return SameUnits(word, begin) ? BlockEdge::Begin
               : SameUnits(word, end) ? BlockEdge::End
                                      : BlockEdge::Unusual;
    }
};

class CTextRoad {
public:
    // From `place` on, where the first thing to be read stands.
    CTextRoad(const ScanTables& tables, const BlockKeywords& keywords, bool keepSource, RoadPlace place,
              const wchar16* end)
        : m_Tables(tables), m_Keywords(keywords), m_KeepSource(keepSource), m_Place(place), m_End(end) {}

    RoadPlace GetPlace() const { return m_Place; }
    void SetPlace(const RoadPlace& place) { m_Place = place; }

    // Over blanks, comments and line ends.
    void PassSpace();
    BlockEdge TakeEdge();
    // A number, boolean, word or plainly quoted text.
    bool TakeElement(CToken& out);
    // That very word or text.
    bool TakeSame(const CToken& token);
    // The character that stands behind blanks, 0 for none.
    wchar16 PeekSymbol() {
        PassBlanks();
        return m_Place.at < m_End ? *m_Place.at : u'\0';
    }
    void PassSymbol() { ++m_Place.at; }
    bool TakeSymbol(wchar16 symbol) {
        const bool found = PeekSymbol() == symbol;
        m_Place.at += found ? 1 : 0;
        return found;
    }
    // What stands between two elements or arguments.
    bool TakeSeparator() { return TakeSymbol(u','); }
    // Where vectors are known.
    bool TakeVecBegin() { return !m_Tables.delimiterShape && TakeSymbol(u'['); }
    // The numbers and other elements from the bracket on.
    bool TakeElements(CTokenArray& elements);

private:
    int State(int from) const { return m_Tables.Next(from, *m_Place.at); }
    bool IsBlank(wchar16 unit) const { return unit < 256 && m_Tables.next[0][unit] == 2; }
    void PassRun(int state);
    void PassWord();
    void PassBlanks() {
        while (m_Place.at < m_End && IsBlank(*m_Place.at))
            ++m_Place.at;
    }
    std::u16string_view From(const wchar16* begin) const {
        return {begin, static_cast<std::size_t>(m_Place.at - begin)};
    }
    bool TakeWord(CToken& out);
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
    void SetPlace(const RoadPlace& place) { m_Place = place; }

    void PassSpace();
    BlockEdge TakeEdge();
    bool TakeElement(CToken& out);
    bool TakeSame(const CToken& token);
    // The symbol that comes next, 0 for none.
    wchar16 PeekSymbol() const {
        return m_End - m_Place.at >= 2 && *m_Place.at == static_cast<wchar16>(TokenType::Symbol)
                   ? m_Place.at[1]
                   : u'\0';
    }
    void PassSymbol() { m_Place.at += 2; }
    bool TakeSymbol(wchar16 symbol) {
        const bool found = PeekSymbol() == symbol;
        m_Place.at += found ? 2 : 0;
        return found;
    }
    bool TakeSeparator() {
        TakeSymbol(u',');
        return true;
    }
    bool TakeVecBegin() { return TakeSymbol(u'['); }
    bool TakeElements(CTokenArray& elements);

private:
    bool TakeWord(CToken& out);
    bool TakePlainText(std::u16string_view& text);

    BlockKeywords m_Keywords;
    RoadPlace m_Place;
    const wchar16* m_End;
};

} // namespace io
