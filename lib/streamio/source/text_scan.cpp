// The reading half of the text buffer.
#include "item_road.h"
#include "memory_streambuf.h"
#include "name_compare.h"
#include "number_text.h"
#include "scan_tables.h"

#include <streamio/token_textstreambuf.h>

namespace io {

namespace {

// A locale that is the global one as long as this lives.
class GlobalLocale {
public:
    explicit GlobalLocale(const std::locale& locale) : m_Former(std::locale::global(locale)) {}
    ~GlobalLocale() { std::locale::global(m_Former); }
    GlobalLocale(const GlobalLocale&) = delete;
    GlobalLocale& operator=(const GlobalLocale&) = delete;

private:
    std::locale m_Former;
};

wchar16 Unescape(wchar16 ch) {
    switch (ch) {
    case u'a':
        return 7;
    case u'b':
        return 8;
    case u'f':
        return 12;
    case u'n':
        return 10;
    case u'r':
        return 13;
    case u't':
        return 9;
    case u'v':
        return 11;
    case u'0':
        return 0;
    default:
        return ch;
    }
}

// Continuation bytes that belong to one sequence at most; a longer run is read as characters of its own.
constexpr std::size_t kMostContinuations = 5;

// The one unit that a UTF-8 sequence stands for, 0 for anything else. A surrogate's own sequence stands for
// it.
wchar16 DecodeSequence(const wchar16* bytes, std::size_t count) {
    const auto tail = [&](std::size_t i) { return static_cast<std::uint32_t>(bytes[i] & 0x3F); };
    std::uint32_t unit = 0;
    if (count == 2 && bytes[0] < 0xE0) {
        unit = (static_cast<std::uint32_t>(bytes[0] & 0x1F) << 6) | tail(1);
        return unit >= 0x80 ? static_cast<wchar16>(unit) : u'\0';
    }
    if (count == 3 && bytes[0] >= 0xE0 && bytes[0] < 0xF0) {
        unit = (static_cast<std::uint32_t>(bytes[0] & 0x0F) << 12) | (tail(1) << 6) | tail(2);
        return unit >= 0x800 ? static_cast<wchar16>(unit) : u'\0';
    }
    return 0;
}

} // namespace

void CToken_textstreambuf::AddCommentChars(const wchar16* characters) {
    // A grammar that is shared refuses.
    const_cast<CBase_grammar*>(m_Grammar)->AddCommentChars(characters);
}

void CToken_textstreambuf::RemoveCommentChars(const wchar16* characters) {
    const_cast<CBase_grammar*>(m_Grammar)->RemoveCommentChars(characters);
}

int CToken_textstreambuf::PeekChar() {
    if (m_PushBackCount > 0)
        return m_PushBack[static_cast<std::size_t>(m_PushBackCount - 1)];
    const int unit = PeekUnit();
    if (m_Mode == kBytesMode && unit >= 0xC0 && unit < 0xFF)
        return PeekByteSequence();
    return unit;
}

int CToken_textstreambuf::PeekByteSequence() {
    wchar16 bytes[1 + kMostContinuations] = {static_cast<wchar16>(PeekUnit())};
    std::size_t count = 1;
    TakeUnit();
    while (count < std::size(bytes) && (PeekUnit() & 0xFFC0) == 0x80) {
        bytes[count++] = static_cast<wchar16>(PeekUnit());
        TakeUnit();
    }
    const wchar16 decoded = DecodeSequence(bytes, count);
    PushBackChar(decoded == kEndOfStream ? u'\0' : decoded);
    return PeekChar();
}

void CToken_textstreambuf::TakeChar() {
    if (m_PushBackCount > 0)
        --m_PushBackCount;
    else
        TakeUnit();
}

void CToken_textstreambuf::PushBackChar(wchar16 ch) {
    TARVOK_ASSERT_TEXT(m_PushBackCount < kMaxPushBack, "mPushBackCount < kMaxPushBack");
    if (m_PushBackCount < kMaxPushBack)
        m_PushBack[static_cast<std::size_t>(m_PushBackCount++)] = ch;
}

void CToken_textstreambuf::ReadToken() {
    if (ReadRun()) [[likely]]
        return;
    std::optional<GlobalLocale> global;
    if (m_Mode == kLocaleMode && m_Locale)
        global.emplace(*m_Locale);
    m_TokenText.clear();
    m_Current.Clear();
    ReadByStates(0);
}

// Whether runs may be taken straight from memory.
bool CToken_textstreambuf::IsPlain() const {
    return m_MemoryIn && m_Mode == kMemoryMode && m_Runs && m_PushBackCount == 0 &&
           m_CaseMode >= kExactMode && !m_KeepComments && !m_KeepWhiteSpace;
}

std::optional<CTextRoad> CToken_textstreambuf::OpenRoad(const BlockKeywords& keywords) const {
    const ScanTables& tables = m_Grammar->GetScanTables();
    const std::u16string_view cdata = m_Grammar->GetCDataBeginWord();
    const auto isCData = [cdata](std::u16string_view keyword) {
        return !cdata.empty() && keyword.starts_with(cdata);
    };
    if (!IsPlain() || !tables.usualItems || m_TokenPushBackCount > 0 || isCData(keywords.begin) ||
        isCData(keywords.end))
        return {};
    const wchar16* const begin = m_MemoryIn->Cur() - m_MemoryIn->Offset(m_MemoryIn->Cur());
    return CTextRoad(tables, keywords, m_KeepSourceText, {begin + m_TokenStart, m_LineNumber, m_AtLineStart},
                     m_MemoryIn->End());
}

void CToken_textstreambuf::CloseRoad(const RoadPlace& place) {
    m_MemoryIn->SetCur(place.at);
    m_LineNumber = place.line;
    m_AtLineStart = place.atLineStart;
    ReadToken();
}

bool CToken_textstreambuf::ReadRun() {
    const ScanTables& tables = m_Grammar->GetScanTables();
    if (!IsPlain() || !tables.tokenShape)
        return false;
    const wchar16* p = m_MemoryIn->Cur();
    const wchar16* const end = m_MemoryIn->End();
    const auto runWhile = [&](int state) {
        while (p < end && tables.Next(state, *p) == state)
            ++p;
    };
    // Blanks and comments don't count.
    int state = 0;
    for (;;) {
        if (p == end || *p == kEndOfStream) {
            m_MemoryIn->SetCur(p);
            m_TokenStart = m_MemoryIn->Offset(p);
            m_Current = CToken(TokenType::Eof);
            return true;
        }
        state = tables.Next(0, *p);
        if (state != 1 && state != 2)
            break;
        ++p;
        runWhile(state);
    }
    const wchar16* const begin = p;
    m_TokenStart = m_MemoryIn->Offset(begin);
    switch (state) {
    case 3:
        m_Current = CToken(TokenType::Symbol, std::u16string_view(p, 1));
        m_MemoryIn->SetCur(p + 1);
        return true;
    case 12:
    case 4:
        ++p;
        if (state == 12 && p < end && tables.Next(12, *p) == 4)
            ++p;
        m_MemoryIn->SetCur(p);
        m_Current = CToken(TokenType::Eol);
        ++m_LineNumber;
        return true;
    case 5: {
        const std::u16string_view word = m_Grammar->GetCDataBeginWord();
        ++p;
        runWhile(5);
        const std::u16string_view text(begin, static_cast<std::size_t>(p - begin));
        if (!word.empty() && text.size() >= word.size() && MatchesWord(text.substr(0, word.size()), word)) {
            m_MemoryIn->SetCur(begin + word.size());
            m_TokenText.clear();
            m_CDataMatch = 0;
            m_Current.Clear();
            ReadByStates(23);
            return true;
        }
        m_MemoryIn->SetCur(p);
        if (MatchesWord(text, m_Grammar->GetTrueWord()))
            m_Current = m_KeepSourceText ? CToken(TokenType::True, text) : CToken(TokenType::True);
        else if (MatchesWord(text, m_Grammar->GetFalseWord()))
            m_Current = m_KeepSourceText ? CToken(TokenType::False, text) : CToken(TokenType::False);
        else
            m_Current = CToken(TokenType::Keyword, text);
        return true;
    }
    case 6:
    case 7: {
        const int inside = state + 7;
        const wchar16* const first = ++p;
        int next = p < end ? tables.Next(state, *p) : 39;
        if (next == inside) {
            runWhile(inside);
            next = p < end ? tables.Next(inside, *p) : 39;
        }
        if (next == 15 || next == 16)
            break; // escapes
        m_Current = CToken(state == 6 ? TokenType::SingleQuotedText : TokenType::DoubleQuotedText,
                           std::u16string_view(first, static_cast<std::size_t>(p - first)));
        m_MemoryIn->SetCur(p + (next == 21 || next == 22 ? 1 : 0));
        return true;
    }
    case 8:
    case 9:
    case 10:
    case 11:
        if (tables.usualNumbers) {
            if (const wchar16* behind = ScanNumber(p, end, m_KeepSourceText, m_Current)) {
                m_MemoryIn->SetCur(behind);
                return true;
            }
        }
        break;
    default:
        break;
    }
    m_MemoryIn->SetCur(begin);
    m_TokenText.clear();
    m_Current.Clear();
    ReadByStates(0);
    return true;
}

void CToken_textstreambuf::ReadNumbers(CTokenArray& out) {
    const ScanTables& tables = m_Grammar->GetScanTables();
    const bool direct = IsPlain() && tables.tokenShape && tables.usualNumbers && m_TokenPushBackCount == 0 &&
                        tables.Next(0, u',') == 3;
    out.push_back(std::move(m_Current));
    m_Current.Clear();
    if (direct) {
        const wchar16* p = m_MemoryIn->Cur();
        const wchar16* const end = m_MemoryIn->End();
        for (;;) {
            const auto blanks = [&](const wchar16* at) {
                while (at < end && tables.Next(0, *at) == 2)
                    ++at;
                return at;
            };
            const wchar16* at = blanks(p);
            if (at == end || *at != u',')
                break;
            at = blanks(at + 1);
            if (at == end)
                break;
            const int state = tables.Next(0, *at);
            if (state < 8 || state > 11)
                break;
            const wchar16* behind = ScanNumber(at, end, m_KeepSourceText, m_Current);
            if (!behind)
                break;
            out.push_back(std::move(m_Current));
            m_Current.Clear();
            p = behind;
        }
        m_MemoryIn->SetCur(p);
    }
    // The number that was current ended no line, so this token begins none.
    m_AtLineStart = false;
    ReadToken();
}

void CToken_textstreambuf::ReadByStates(int state) {
    const TransitionTable& transitions = m_Grammar->GetTransitions();
    const ActionTable& actions = m_Grammar->GetActions();
    for (;;) {
        if (state == 0)
            m_TokenStart =
                (m_MemoryIn ? m_MemoryIn->Offset(m_MemoryIn->Cur()) : m_UnitsRead) - m_PushBackCount;
        const int ch = PeekChar();
        const int charClass = m_Grammar->Classify(ch, state);
        int next = transitions[static_cast<std::size_t>(state)][static_cast<std::size_t>(charClass)];
        if (Act(actions[static_cast<std::size_t>(next)], ch, next))
            return;
        state = next;
    }
}

bool CToken_textstreambuf::Act(ScanAction action, int ch, int& next) {
    const auto unit = static_cast<wchar16>(ch);
    const auto cased = [this](wchar16 c) {
        return m_CaseMode == kUpperMode ? UpperUnit(c) : m_CaseMode == kLowerMode ? LowerUnit(c) : c;
    };
    switch (action) {
    case ScanAction::None:
        return false;
    case ScanAction::AppendIfComments:
        if (m_KeepComments)
            m_TokenText += unit;
        TakeChar();
        return false;
    case ScanAction::AppendIfSpace:
        if (m_KeepWhiteSpace)
            m_TokenText += unit;
        TakeChar();
        return false;
    case ScanAction::Append:
        m_TokenText += unit;
        TakeChar();
        return false;
    case ScanAction::Consume:
        TakeChar();
        return false;
    case ScanAction::AppendLineEnd:
        m_TokenText += u'\n';
        TakeChar();
        return false;
    case ScanAction::AppendEscaped:
        m_TokenText += Unescape(unit);
        TakeChar();
        return false;
    case ScanAction::AppendCased:
        m_TokenText += cased(unit);
        TakeChar();
        return false;
    case ScanAction::Identifier:
        m_TokenText += cased(unit);
        TakeChar();
        // The begin word counts as soon as it is complete, whatever follows.
        if (MatchesWord(m_TokenText, m_Grammar->GetCDataBeginWord())) {
            m_TokenText.clear();
            m_CDataMatch = 0;
            next = 23;
        }
        return false;
    case ScanAction::CDataEnd: {
        const std::u16string_view word = m_Grammar->GetCDataEndWord();
        m_TokenText += unit;
        TakeChar();
        if (m_CDataMatch < word.size() && LowerUnit(unit) == word[m_CDataMatch]) {
            ++m_CDataMatch;
        } else {
            m_CDataMatch = 0;
            next = 23;
        }
        return false;
    }
    case ScanAction::CData: {
        const std::size_t length = m_Grammar->GetCDataEndWord().size();
        if (m_CDataMatch == length && length > 0) {
            m_TokenText.resize(m_TokenText.size() - length);
        } else if (ch != kEndOfStream) {
            m_TokenText += unit;
            TakeChar();
            m_CDataMatch = 0;
            next = 23;
            return false;
        }
        m_Current = CToken(TokenType::CData, m_TokenText);
        return true;
    }
    case ScanAction::Invalid:
        TARVOK_ASSERT_TEXT(false, "Transition to an invalid state");
        // Past the character, so that a reader gets on.
        if (ch != kEndOfStream)
            TakeChar();
        m_Current = CToken(TokenType::Error);
        return true;
    case ScanAction::Eol:
        m_Current = CToken(TokenType::Eol);
        ++m_LineNumber;
        return true;
    case ScanAction::Eof:
        m_Current = CToken(TokenType::Eof);
        return true;
    case ScanAction::Symbol:
        m_Current = CToken(TokenType::Symbol, m_TokenText);
        return true;
    case ScanAction::WordOrSymbol:
        if (m_TokenText.size() == 1 && !IsAlphanumeric(m_TokenText[0])) {
            m_Current = CToken(TokenType::Symbol, m_TokenText);
            return true;
        }
        FinishWord();
        return true;
    case ScanAction::Keyword:
        FinishWord();
        return true;
    case ScanAction::Double:
        FinishNumber(TokenType::Double);
        return true;
    case ScanAction::Int:
        FinishNumber(TokenType::Int);
        return true;
    case ScanAction::Hex:
        FinishNumber(TokenType::Hex);
        return true;
    case ScanAction::SingleQuoted:
        m_Current = CToken(TokenType::SingleQuotedText, m_TokenText);
        return true;
    case ScanAction::DoubleQuoted:
        m_Current = CToken(TokenType::DoubleQuotedText, m_TokenText);
        return true;
    case ScanAction::Comment:
        if (m_KeepComments) {
            m_Current = CToken(TokenType::Comment, m_TokenText);
            return true;
        }
        m_TokenText.clear();
        next = 0;
        return false;
    case ScanAction::Space:
        if (m_KeepWhiteSpace) {
            m_Current = CToken(TokenType::WhiteSpace, m_TokenText);
            return true;
        }
        m_TokenText.clear();
        next = 0;
        return false;
    case ScanAction::SymbolBackOne:
        BackAndFinish(1, TokenType::Symbol);
        return true;
    case ScanAction::DoubleBackOne:
        BackAndFinish(1, TokenType::Double);
        return true;
    case ScanAction::DoubleBackTwo:
        BackAndFinish(2, TokenType::Double);
        return true;
    case ScanAction::ShortBackOne:
        BackAndFinish(1, TokenType::Short);
        return true;
    }
    return true;
}

void CToken_textstreambuf::FinishWord() {
    TokenType kind = TokenType::Keyword;
    if (MatchesWord(m_TokenText, m_Grammar->GetTrueWord()))
        kind = TokenType::True;
    else if (MatchesWord(m_TokenText, m_Grammar->GetFalseWord()))
        kind = TokenType::False;
    m_Current = kind == TokenType::Keyword || m_KeepSourceText ? CToken(kind, m_TokenText) : CToken(kind);
}

void CToken_textstreambuf::FinishNumber(TokenType kind) {
    double value = 0;
    const bool good = kind == TokenType::Hex ? ParseHex(m_TokenText, value) : ParseDouble(m_TokenText, value);
    if (!good)
        m_Current = CToken(TokenType::SingleQuotedText, m_TokenText);
    else if (m_KeepSourceText)
        m_Current = CToken(kind, value, m_TokenText);
    else
        m_Current = CToken(kind, value);
}

void CToken_textstreambuf::BackAndFinish(int count, TokenType kind) {
    for (; count > 0 && !m_TokenText.empty(); --count) {
        PushBackChar(m_TokenText.back());
        m_TokenText.pop_back();
    }
    if (kind == TokenType::Symbol)
        m_Current = CToken(TokenType::Symbol, m_TokenText);
    else
        FinishNumber(kind);
}

void CToken_textstreambuf::NewLine() {
    AString skipped;
    NewLine(skipped);
}

void CToken_textstreambuf::NewLine(AString& line) {
    // Tokens that were given back stand on the line that is skipped; it may have been read to its end.
    const bool lineRead = m_TokenPushBackCount > 0 && m_Current.GetType() == TokenType::Eol;
    for (; m_TokenPushBackCount > 0; --m_TokenPushBackCount)
        m_TokenPushBack[static_cast<std::size_t>(m_TokenPushBackCount - 1)].Clear();
    while (!lineRead) {
        const int ch = PeekChar();
        const int charClass = m_Grammar->Classify(ch, 0);
        if (charClass == kEndOfStreamClass)
            break;
        TakeChar();
        if (charClass == kLineEndClass) {
            ++m_LineNumber;
            m_Current.Clear(); // what follows begins a line
            break;
        }
        line += static_cast<wchar16>(ch);
    }
    NextToken();
}

} // namespace io
