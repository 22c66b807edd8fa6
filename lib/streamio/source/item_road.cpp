#include "item_road.h"
#include "binary_number.h"
#include "name_compare.h"
#include "number_text.h"
#include "plain_text.h"

#include <algorithm>

namespace io {

namespace {

constexpr double kMostElements = 65535;

// States of the scanner, by what they stand for.
enum ScanState {
    kComment = 1,
    kBlank = 2,
    kLineEnd = 4,
    kWord = 5,
    kSingleQuote = 6,
    kDoubleQuote = 7,
    kFirstOfNumber = 8,
    kLastOfNumber = 11,
    kCarriageReturn = 12,
    kInsideQuote = 7, // more than the quote's own state
    kClosed = 15      // likewise
};

bool IsNumberState(int state) {
    return state >= kFirstOfNumber && state <= kLastOfNumber;
}

} // namespace

void CTextRoad::PassRun(int state) {
    const std::uint8_t* const row = m_Tables.next[state];
    const wchar16* at = m_Place.at;
    while (at < m_End && (*at < 256 ? row[*at] == state : m_Tables.Next(state, *at) == state))
        ++at;
    m_Place.at = at;
}

void CTextRoad::PassWord() {
    m_Place.at = PassAlphanumerics(m_Place.at, m_End);
    PassRun(kWord);
}

void CTextRoad::PassSpace() {
    RoadPlace place = m_Place;
    for (; place.at < m_End; ++place.at) {
        const int state = m_Tables.Next(0, *place.at);
        if (state == kBlank)
            continue;
        if (state == kComment) {
            while (m_End - place.at > 1 && m_Tables.Next(kComment, place.at[1]) == kComment)
                ++place.at;
            continue;
        }
        if (state != kLineEnd && state != kCarriageReturn)
            break;
        if (state == kCarriageReturn && m_End - place.at > 1 &&
            m_Tables.Next(kCarriageReturn, place.at[1]) == kLineEnd)
            ++place.at;
        ++place.line;
        place.atLineStart = true;
    }
    m_Place = place;
}

BlockEdge CTextRoad::TakeEdge() {
    if (m_Place.at == m_End || *m_Place.at != u'$')
        return BlockEdge::None;
    const wchar16* const first = m_Place.at++;
    PassWord();
    return m_Keywords.EdgeOf(From(first));
}

bool CTextRoad::TakeWord(CToken& out) {
    const wchar16* const first = m_Place.at++;
    PassWord();
    const std::u16string_view word = From(first);
    if (*first == u'$') // a keyword of blocks, or CData
        return false;
    if (m_Tables.delimiterShape && word.size() == 1 && !IsAlphanumeric(*first)) // a symbol
        return false;
    const bool isTrue = MatchesWord(word, m_Tables.grammar->GetTrueWord());
    if (isTrue || MatchesWord(word, m_Tables.grammar->GetFalseWord())) {
        const TokenType kind = isTrue ? TokenType::True : TokenType::False;
        out = m_KeepSource ? CToken(kind, word) : CToken(kind);
    } else {
        out = CToken(TokenType::Keyword, word);
    }
    return true;
}

bool CTextRoad::TakeQuoted(CToken& out, int state) {
    const int inside = state + kInsideQuote;
    const int closed = state + kClosed;
    const wchar16* const first = ++m_Place.at;
    if (m_Place.at == m_End)
        return false;
    int next = State(state);
    if (next == inside) {
        m_Place.at = PassPrintables(m_Place.at, m_End);
        PassRun(inside);
        next = m_Place.at < m_End ? State(inside) : 0;
    }
    if (next != closed) // escapes, or a line end
        return false;
    out = CToken(state == kSingleQuote ? TokenType::SingleQuotedText : TokenType::DoubleQuotedText,
                 From(first));
    ++m_Place.at;
    return true;
}

bool CTextRoad::TakeElement(CToken& out) {
    PassBlanks();
    if (m_Place.at == m_End)
        return false;
    const int state = State(0);
    if (IsNumberState(state)) {
        const wchar16* const behind = ScanNumber(m_Place.at, m_End, m_KeepSource, out);
        if (!behind || (m_Tables.delimiterShape && behind < m_End && m_Tables.Next(kWord, *behind) == kWord))
            return false;
        m_Place.at = behind;
    } else if (state == kWord) {
        if (!TakeWord(out))
            return false;
    } else if (state != kSingleQuote && state != kDoubleQuote) {
        return false;
    } else if (!TakeQuoted(out, state)) {
        return false;
    }
    m_Place.atLineStart = false;
    return true;
}

bool CTextRoad::TakeSame(const CToken& token) {
    CToken other;
    return TakeElement(other) && other == token;
}

bool CTextRoad::TakeElements(CTokenArray& elements) {
    CToken count;
    if (!TakeElement(count) || !count.IsNumber() || !TakeSymbol(u':'))
        return false;
    const double size = count.GetDouble();
    if (!(size >= 0 && size <= kMostElements))
        return false;
    // A count is believed only as far as elements can follow.
    elements.reserve(
        std::min(static_cast<std::size_t>(size), static_cast<std::size_t>(m_End - m_Place.at) / 2 + 1));
    if (TakeSymbol(u']'))
        return true;
    do {
        PassBlanks();
        CToken& element = elements.emplace_back();
        const wchar16* behind = m_Place.at < m_End && IsNumberState(State(0))
                                    ? ScanNumber(m_Place.at, m_End, m_KeepSource, element)
                                    : nullptr;
        if (behind)
            m_Place.at = behind;
        else if (!TakeElement(element))
            return false;
    } while (TakeSymbol(u','));
    return TakeSymbol(u']');
}

void CBinaryRoad::PassSpace() {
    while (m_Place.at < m_End && *m_Place.at == Tag(TokenType::Eol)) {
        ++m_Place.at;
        m_Place.atLineStart = true;
    }
}

// Behind a tag: a text in the short form that holds no character above 127.
bool CBinaryRoad::TakePlainText(std::u16string_view& text) {
    if (m_End - m_Place.at < 2)
        return false;
    const std::size_t length = m_Place.at[1];
    if (length > kMostShortText || static_cast<std::size_t>(m_End - m_Place.at) - 2 < length)
        return false;
    text = {m_Place.at + 2, length};
    m_Place.at += 2 + length;
    return IsPlain(text);
}

BlockEdge CBinaryRoad::TakeEdge() {
    if (m_End - m_Place.at < 3 || *m_Place.at != Tag(TokenType::Keyword) || m_Place.at[2] != u'$')
        return BlockEdge::None;
    std::u16string_view word;
    return TakePlainText(word) ? m_Keywords.EdgeOf(word) : BlockEdge::Unusual;
}

bool CBinaryRoad::TakeWord(CToken& out) {
    std::u16string_view text;
    if (!TakePlainText(text) || text.empty() || text.front() == u'$')
        return false;
    out = CToken(TokenType::Keyword, text);
    return true;
}

bool CBinaryRoad::TakeElement(CToken& out) {
    if (m_Place.at == m_End)
        return false;
    const wchar16 tag = *m_Place.at;
    m_Place.atLineStart = false;
    std::u16string_view text;
    switch (tag) {
    case Tag(TokenType::True):
    case Tag(TokenType::False):
        out = CToken(static_cast<TokenType>(tag));
        ++m_Place.at;
        return true;
    case Tag(TokenType::Keyword):
        return TakeWord(out);
    case Tag(TokenType::SingleQuotedText):
    case Tag(TokenType::DoubleQuotedText):
        if (!TakePlainText(text))
            return false;
        out = CToken(static_cast<TokenType>(tag), text);
        return true;
    default: {
        const wchar16* const behind = TakeBinaryNumber(m_Place.at, m_End, out);
        if (!behind)
            return false;
        m_Place.at = behind;
        return true;
    }
    }
}

bool CBinaryRoad::TakeSame(const CToken& token) {
    CToken other;
    return TakeElement(other) && other == token;
}

bool CBinaryRoad::TakeElements(CTokenArray& elements) {
    CToken count;
    if (!TakeElement(count) || !count.IsNumber() || !TakeSymbol(u':'))
        return false;
    const double size = count.GetDouble();
    if (!(size >= 0 && size <= kMostElements))
        return false;
    elements.reserve(
        std::min(static_cast<std::size_t>(size), static_cast<std::size_t>(m_End - m_Place.at) / 2 + 1));
    while (!TakeSymbol(u']')) {
        m_Place.at = TakeDoubles(m_Place.at, m_End, elements);
        if (TakeSymbol(u']'))
            return true;
        if (!TakeElement(elements.emplace_back()))
            return false;
        TakeSeparator();
    }
    return true;
}

} // namespace io
