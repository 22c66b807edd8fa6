#include "memory_streambuf.h"
#include "scan_tables.h"
#include "view_of.h"

#include <streamio/block_index.h>
#include <streamio/token_binarystreambuf.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istream.h>
#include <streamio/token_istring.h>

namespace io {

namespace {

constexpr double kLargestFloat = 3.4028234663852886e+38;

} // namespace

CToken_istream::CToken_istream(CInStream* stream, bool ownStream, std::uint32_t flags,
                               const CBase_grammar* grammar, bool ownGrammar, const std::locale* locale)
    : m_Buffer(CToken_streambuf::Make(stream->rdbuf(), true, locale,
                                      grammar ? grammar : &DefaultTokenGrammar(), flags)),
      m_Stream(stream), m_OwnStream(ownStream), m_Grammar(grammar ? grammar : &DefaultTokenGrammar()),
      m_OwnGrammar(ownGrammar) {
    m_LocaleGiven = locale != nullptr;
    Start(flags);
}

CToken_istream::CToken_istream(CToken_streambuf::CharBuf* characters, std::uint32_t flags,
                               const CBase_grammar* grammar)
    : m_Buffer(CToken_streambuf::Make(characters, true, nullptr, grammar ? grammar : &DefaultTokenGrammar(),
                                      flags)),
      m_Grammar(grammar ? grammar : &DefaultTokenGrammar()) {
    m_Buffer->SetMode(m_Buffer->GetMode() == kBinaryBytesMode ? kBinaryMemoryMode : kMemoryMode);
    Start(flags);
}

void CToken_istream::Start(std::uint32_t flags) {
    if (!m_Grammar->GetScanTables().usualKeywords) {
        SetBeginKeyword(m_BeginKeyword);
        SetEndKeyword(m_EndKeyword);
    }
    if ((flags & kKeepCase) != 0)
        m_Buffer->SetCaseMode(kExactMode);
    else if ((flags & kUpperCase) != 0)
        m_Buffer->SetCaseMode(kUpperMode);
    if (m_Stream && !m_Stream->good()) {
        m_Good = false;
        return;
    }
    // In the binary form this is the opening zero byte.
    m_Buffer->NextToken();
    if ((flags & kUseIndex) != 0 && OpenIndex() && (flags & kCheckIndex) != 0)
        m_Good = CheckIndex((flags & kCheckNested) != 0);
}

CToken_istream::~CToken_istream() {
    CToken_istream::Close();
}

void CToken_istream::Close() {
    m_Buffer.reset();
    if (m_OwnGrammar)
        delete m_Grammar;
    m_OwnGrammar = false;
    m_Grammar = nullptr;
    if (m_OwnStream)
        delete m_Stream;
    m_OwnStream = false;
    m_Stream = nullptr;
    m_Good = false;
    CAbstract_istream::Close();
}

bool CToken_istream::IsBinary() const {
    return m_Buffer && m_Buffer->IsBinaryMode();
}

bool CToken_istream::SeekToIndexEntry(const AString& path) {
    return m_Index && m_Index->SeekToEntry(path, *this);
}

void CToken_istream::ReadLine(AString& line) {
    if (m_StopOnFail && !m_Good)
        return;
    m_Good = true;
    const CToken& token = m_Buffer->PeekToken();
    token.GetText(line);
    if (token.GetType() != TokenType::Eol)
        m_Buffer->NewLine(line);
    else
        m_Buffer->NextToken();
}

void CToken_istream::SkipLine() {
    if (m_StopOnFail && !m_Good)
        return;
    m_Good = true;
    if (m_Buffer->PeekToken().GetType() != TokenType::Eol)
        m_Buffer->NewLine();
    else
        m_Buffer->NextToken();
}

void CToken_istream::ExpectEol() {
    if (m_StopOnFail && !m_Good)
        return;
    m_Good = true;
    if (m_Buffer->PeekToken().GetType() != TokenType::Eol)
        Refuse();
    else if (!m_SkipLineEnds)
        m_Buffer->NextToken();
}

void CToken_istream::NextToken() {
    if (Prepare())
        m_Buffer->NextToken();
}

void CToken_istream::DecIndent() {
    if (m_IndentLevel > 0)
        --m_IndentLevel;
    else
        m_Good = false;
}

void CToken_istream::Refuse() {
    if (m_SkipOnError)
        m_Buffer->NextToken();
    m_Good = false;
}

bool CToken_istream::IsCurrentText() const {
    const CToken& token = m_Buffer->PeekToken();
    switch (token.GetType()) {
    case TokenType::SingleQuotedText:
    case TokenType::DoubleQuotedText:
    case TokenType::CData:
        return true;
    case TokenType::Null:
    case TokenType::Eol:
    case TokenType::Eof:
    case TokenType::Error:
        return false;
    default:
        return !token.IsText() || token.HasText();
    }
}

bool CToken_istream::IsCurrentText(std::u16string_view text) const {
    return IsCurrentText() && m_Buffer->TextMatches(m_Buffer->PeekToken(), text);
}

bool CToken_istream::IsKeywordToken(const AString& keyword, TokenType kind) {
    if (!Prepare())
        return false;
    if (kind == TokenType::Eol)
        return true;
    const CToken& token = m_Buffer->PeekToken();
    return token.GetType() == kind && m_Buffer->TextMatches(token, keyword);
}

bool CToken_istream::IsBlockBegin() {
    return IsKeywordToken(m_BeginKeyword, m_BeginKind);
}
bool CToken_istream::IsBlockEnd() {
    return IsKeywordToken(m_EndKeyword, m_EndKind);
}

bool CToken_istream::IsBlockEdge(bool begin, const std::u16string_view* name) {
    const auto isName = [&] { return Prepare() && (name ? IsCurrentText(*name) : IsCurrentText()); };
    if ((begin ? m_BeginKeyword : m_EndKeyword).empty())
        return isName();
    if (!(begin ? IsBlockBegin() : IsBlockEnd()))
        return false;
    const CToken keyword = m_Buffer->PeekToken();
    m_Buffer->NextToken();
    const bool result = isName();
    m_Buffer->PushBackToken(keyword);
    return result;
}

bool CToken_istream::IsBlockBegin(const AString& name) {
    const std::u16string_view text = name;
    return IsBlockEdge(true, &text);
}
bool CToken_istream::IsBlockBegin(const wchar16* name) {
    const std::u16string_view text = ViewOf(name);
    return IsBlockEdge(true, &text);
}
bool CToken_istream::IsBlockEnd(const AString& name) {
    const std::u16string_view text = name;
    return IsBlockEdge(false, &text);
}
bool CToken_istream::IsBlockEnd(const wchar16* name) {
    const std::u16string_view text = ViewOf(name);
    return IsBlockEdge(false, &text);
}

void CToken_istream::ReadBlockEdge(bool begin, const std::u16string_view* name, CToken* token,
                                   AString* text) {
    const bool named = name || token || text;
    const bool found = named ? IsBlockEdge(begin, name) : begin ? IsBlockBegin() : IsBlockEnd();
    if (found) {
        if (begin)
            IncIndent(m_IndentCount);
        else
            DecIndent();
        if (!(begin ? m_BeginKeyword : m_EndKeyword).empty())
            m_Buffer->NextToken();
        if (token)
            ReadText(*token);
        else if (text)
            ReadText(*text);
        else if (name)
            NextToken();
        return;
    }
    m_Good = false;
    if (m_StopOnFail)
        return;
    for (int i = 0; i < 2; ++i) {
        if (Prepare() && m_SkipOnError)
            m_Buffer->NextToken();
    }
    m_Good = false;
}

void CToken_istream::ReadBlockBegin(CToken& name) {
    ReadBlockEdge(true, nullptr, &name, nullptr);
}
void CToken_istream::ReadBlockBegin(AString& name) {
    ReadBlockEdge(true, nullptr, nullptr, &name);
}
void CToken_istream::ReadBlockBegin(const wchar16* name) {
    const std::u16string_view text = ViewOf(name);
    ReadBlockEdge(true, &text, nullptr, nullptr);
}
void CToken_istream::ReadBlockBegin() {
    ReadBlockEdge(true, nullptr, nullptr, nullptr);
}
void CToken_istream::ReadBlockEnd(CToken& name) {
    ReadBlockEdge(false, nullptr, &name, nullptr);
}
void CToken_istream::ReadBlockEnd(AString& name) {
    ReadBlockEdge(false, nullptr, nullptr, &name);
}
void CToken_istream::ReadBlockEnd(const wchar16* name) {
    const std::u16string_view text = ViewOf(name);
    ReadBlockEdge(false, &text, nullptr, nullptr);
}
void CToken_istream::ReadBlockEnd() {
    ReadBlockEdge(false, nullptr, nullptr, nullptr);
}

void CToken_istream::ReadKeyword(AString& text) {
    if (!Prepare())
        return;
    if (m_Buffer->PeekToken().GetType() != TokenType::Keyword)
        return Refuse();
    m_Buffer->PeekToken().GetText(text);
    m_Buffer->NextToken();
}

void CToken_istream::ExpectKeyword(const wchar16* text) {
    if (!Prepare())
        return;
    if (!IsWord(ViewOf(text), TokenType::Keyword))
        return Refuse();
    m_Buffer->NextToken();
}

void CToken_istream::ReadText(CToken& text) {
    if (!Prepare())
        return;
    if (!IsCurrentText())
        return Refuse();
    text = m_Buffer->PeekToken();
    m_Buffer->NextToken();
}

void CToken_istream::ReadText(AString& text) {
    if (!Prepare())
        return;
    if (!IsCurrentText())
        return Refuse();
    m_Buffer->PeekToken().GetText(text);
    m_Buffer->NextToken();
}

void CToken_istream::ExpectText(const wchar16* text) {
    if (!Prepare())
        return;
    if (!IsCurrentText(ViewOf(text)))
        return Refuse();
    m_Buffer->NextToken();
}

void CToken_istream::ReadComment(AString& text) {
    if (!Prepare())
        return;
    if (m_Buffer->PeekToken().GetType() != TokenType::Comment)
        return Refuse();
    m_Buffer->PeekToken().GetText(text);
    m_Buffer->NextToken();
}

void CToken_istream::ExpectComment(const wchar16* text) {
    if (!Prepare())
        return;
    if (!IsWord(ViewOf(text), TokenType::Comment))
        return Refuse();
    m_Buffer->NextToken();
}

void CToken_istream::ExpectSymbol(wchar16 ch) {
    if (!Prepare())
        return;
    if (!m_Buffer->PeekToken().IsSymbol(ch))
        return Refuse();
    m_Buffer->NextToken();
}

void CToken_istream::SetKeyword(const AString& keyword, bool begin) {
    std::size_t length = 0;
    const CBase_grammar& grammar = m_Grammar ? *m_Grammar : DefaultTokenGrammar();
    const TokenType kind = grammar.ScanToken(keyword, length);
    if (length != keyword.size() ||
        (kind != TokenType::Keyword && kind != TokenType::Symbol && kind != TokenType::Eol))
        return;
    if (begin) {
        m_BeginKind = kind;
        CAbstract_istream::SetBeginKeyword(keyword);
    } else {
        m_EndKind = kind;
        CAbstract_istream::SetEndKeyword(keyword);
    }
}

void CToken_istream::SetBeginKeyword(const AString& keyword) {
    SetKeyword(AString(keyword), true);
}
void CToken_istream::SetEndKeyword(const AString& keyword) {
    SetKeyword(AString(keyword), false);
}

void CToken_istream::MakeState(CAbstract_stream_pos& pos) {
    m_Buffer->MakeState(pos);
    CAbstract_istream::MakeState(pos);
}

void CToken_istream::SaveState(CAbstract_stream_pos& pos) {
    m_Buffer->SaveState(pos); // makes the state of the buffer's class
    CAbstract_istream::SaveState(pos);
}

void CToken_istream::RestoreState(const CAbstract_stream_pos& pos) {
    CAbstract_istream::RestoreState(pos);
    m_Buffer->RestoreState(pos);
    if (IsBinary() && pos.mPos == 0 && (!pos.mState || pos.mState->IsInitial()))
        static_cast<CToken_binarystreambuf&>(*m_Buffer).PassStart();
}

void CToken_istream::GetTokenPosition(CAbstract_stream_pos& pos) {
    GetPosition(pos);
    const TokenType kind = m_Buffer->PeekToken().GetType();
    if (kind == TokenType::Eol || kind == TokenType::Null || !pos.mState || !pos.mState->IsReady())
        return;
    const std::int32_t line = GetLineNumber();
    pos.mPos = m_Buffer->GetTokenStart();
    MakeState(pos);
    auto& state = pos.OwnState<CToken_stream_state>();
    state.lineNumber = line;
    state.indentLevel = m_IndentLevel;
}

bool CToken_istream::Eof() const {
    return m_Buffer && m_Buffer->PeekToken().GetType() == TokenType::Eof;
}
bool CToken_istream::Bad() const {
    return m_Stream && m_Stream->bad();
}
int CToken_istream::SetCaseMode(int mode) {
    return m_Buffer->SetCaseMode(mode);
}

const CToken& CToken_istream::PeekToken() {
    Prepare();
    return m_Buffer->PeekToken();
}

std::int32_t CToken_istream::GetLineNumber() const {
    return m_Buffer ? m_Buffer->GetLineNumber() : 0;
}

bool CToken_istream::IsWord(std::u16string_view text, TokenType kind) {
    return Prepare() && m_Buffer->PeekToken().GetType() == kind &&
           m_Buffer->TextMatches(m_Buffer->PeekToken(), text);
}

bool CToken_istream::IsKeyword() {
    return Prepare() && m_Buffer->PeekToken().GetType() == TokenType::Keyword;
}
bool CToken_istream::IsKeyword(const AString& text) {
    return IsWord(text, TokenType::Keyword);
}
bool CToken_istream::IsKeyword(const wchar16* text) {
    return IsWord(ViewOf(text), TokenType::Keyword);
}
bool CToken_istream::IsText() {
    return Prepare() && IsCurrentText();
}
bool CToken_istream::IsText(const AString& text) {
    return Prepare() && IsCurrentText(text);
}
bool CToken_istream::IsText(const wchar16* text) {
    return Prepare() && IsCurrentText(ViewOf(text));
}
bool CToken_istream::IsComment() {
    return Prepare() && m_Buffer->PeekToken().GetType() == TokenType::Comment;
}
bool CToken_istream::IsComment(const AString& text) {
    return IsWord(text, TokenType::Comment);
}
bool CToken_istream::IsComment(const wchar16* text) {
    return IsWord(ViewOf(text), TokenType::Comment);
}
bool CToken_istream::IsSymbol() {
    return Prepare() && m_Buffer->PeekToken().GetType() == TokenType::Symbol;
}
bool CToken_istream::IsSymbol(wchar16 ch) {
    return Prepare() && m_Buffer->PeekToken().IsSymbol(ch);
}
bool CToken_istream::IsEol() {
    return m_Buffer->PeekToken().GetType() == TokenType::Eol;
}
bool CToken_istream::IsEof() {
    return Prepare() && m_Buffer->PeekToken().GetType() == TokenType::Eof;
}
bool CToken_istream::IsNumber() {
    return Prepare() && m_Buffer->PeekToken().IsNumber();
}
bool CToken_istream::IsNumber(const double& value) {
    return Prepare() && m_Buffer->PeekToken().IsNumber() && m_Buffer->PeekToken().GetDouble() == value;
}

bool CToken_istream::SkipTo(std::optional<TokenType> kind, std::u16string_view text, bool atLineStart) {
    if (!Prepare())
        return false;
    CAbstract_stream_pos start;
    if (!m_SkipOnError)
        GetPosition(start);
    if (m_Buffer->SkipToToken(kind, text, atLineStart))
        return true;
    if (!m_SkipOnError)
        SetPosition(start);
    m_Good = false;
    return false;
}

bool CToken_istream::SkipToKeyword(const AString& text) {
    return SkipTo(TokenType::Keyword, text, false);
}
bool CToken_istream::SkipToSymbol(wchar16 ch) {
    return SkipTo(TokenType::Symbol, {&ch, 1}, false);
}
bool CToken_istream::SkipToText(const AString& text) {
    return SkipTo({}, text, false);
}
bool CToken_istream::SkipToKeywordAtLineStart(const AString& text) {
    return SkipTo(TokenType::Keyword, text, true);
}
bool CToken_istream::SkipToSymbolAtLineStart(wchar16 ch) {
    return SkipTo(TokenType::Symbol, {&ch, 1}, true);
}
bool CToken_istream::SkipToTextAtLineStart(const AString& text) {
    return SkipTo({}, text, true);
}

bool CToken_istream::SkipToBlock(const AString& name) {
    if (!Prepare())
        return false;
    CAbstract_stream_pos start;
    if (!m_SkipOnError)
        GetPosition(start);
    SeekToIndexEntry(name);
    if (m_BeginKeyword.empty()) {
        do {
            if (IsBlockBegin(name))
                return true;
        } while (m_Buffer->SkipToToken({}, name, true));
    } else {
        while (!IsEof() && !Fail()) {
            if (IsBlockBegin()) {
                if (IsBlockBegin(name))
                    return true;
                CToken other;
                ReadBlockBegin(other);
            } else if (IsBlockEnd()) {
                ReadBlockEnd();
                ClearFail();
                CToken other;
                if (!IsEol() && !IsEof())
                    ReadText(other);
                ClearFail();
            } else {
                m_Buffer->NextToken();
            }
        }
    }
    if (!m_SkipOnError)
        SetPosition(start);
    m_Good = false;
    return false;
}

bool CToken_istream::SkipToBlockEnd(const AString& name) {
    if (!Prepare())
        return false;
    CAbstract_stream_pos start;
    if (!m_SkipOnError)
        GetPosition(start);
    while (!IsEof() && !Fail()) {
        if (IsBlockEnd()) {
            if (IsBlockEnd(name))
                return true;
            AString other;
            ReadBlockEnd(other);
            if (Fail()) { // an end without a name
                ClearFail();
                if (IsBlockEnd())
                    m_Buffer->NextToken();
            }
            ClearFail();
        } else if (IsBlockBegin()) {
            CToken other;
            ReadBlockBegin(other);
        } else {
            m_Buffer->NextToken();
        }
    }
    if (!m_SkipOnError)
        SetPosition(start);
    m_Good = false;
    return false;
}

void CToken_istream::Read(AString& text) {
    if (!Prepare())
        return;
    if (!IsCurrentText())
        return Refuse();
    m_Buffer->PeekToken().GetText(text);
    m_Buffer->NextToken();
}

void CToken_istream::Read(CToken& token) {
    if (!Prepare())
        return;
    token = m_Buffer->PeekToken();
    m_Buffer->NextToken();
}

void CToken_istream::Read(double& value) {
    if (!Prepare())
        return;
    const CToken& token = m_Buffer->PeekToken();
    if (!token.IsNumber())
        return Refuse();
    value = token.GetDouble();
    m_Buffer->NextToken();
}

void CToken_istream::Read(float& value) {
    if (!Prepare())
        return;
    const CToken& token = m_Buffer->PeekToken();
    const double number = token.GetDouble();
    if (!token.IsNumber() || !(number >= -kLargestFloat && number <= kLargestFloat))
        return Refuse();
    value = static_cast<float>(number);
    m_Buffer->NextToken();
}

template <class T>
void CToken_istream::ReadInteger(T& value, double low, double high) {
    if (!Prepare())
        return;
    const CToken& token = m_Buffer->PeekToken();
    const double number = token.GetDouble();
    if (!token.IsNumber() || !(number >= low && number <= high))
        return Refuse();
    value = static_cast<T>(number);
    m_Buffer->NextToken();
}

void CToken_istream::Read(unsigned long& value) {
    ReadInteger(value, 0, 4294967295.0);
}
void CToken_istream::Read(long& value) {
    ReadInteger(value, -2147483648.0, 2147483647.0);
}
void CToken_istream::Read(unsigned int& value) {
    ReadInteger(value, 0, 4294967295.0);
}
void CToken_istream::Read(int& value) {
    ReadInteger(value, -2147483648.0, 2147483647.0);
}
void CToken_istream::Read(short& value) {
    ReadInteger(value, -32768, 32767);
}
void CToken_istream::Read(unsigned short& value) {
    ReadInteger(value, 0, 65535);
}

void CToken_istream::Read(bool& value) {
    if (!Prepare())
        return;
    const TokenType kind = m_Buffer->PeekToken().GetType();
    if (!IsBooleanKind(kind))
        return Refuse();
    value = kind == TokenType::True;
    m_Buffer->NextToken();
}

void CToken_istream::PushBackToken(const CToken& token) {
    m_Buffer->PushBackToken(token);
}

std::size_t CToken_istream::ReadDoubles(double* values, std::size_t count) {
    std::size_t read = 0;
    while (read < count && Prepare()) {
        if (!m_Buffer->PeekToken().IsNumber()) {
            Refuse();
            break;
        }
        read += m_Buffer->ReadDoubles(values + read, count - read);
    }
    return read;
}

std::int64_t CToken_istream::TellOffset() {
    return m_Buffer->Tell(std::ios_base::in);
}

std::int64_t CToken_istream::SeekOffset(std::int64_t offset) {
    if (m_Stream)
        m_Stream->clear(m_Stream->rdstate() & ~std::ios_base::eofbit);
    return m_Buffer->Seek(offset, std::ios_base::in);
}

struct CToken_istring::Storage {
    explicit Storage(AString own) : text(std::move(own)), characters(text) {}
    explicit Storage(std::u16string_view other) : characters(other) {}

    AString text;
    CMemoryInBuf characters;
};

CToken_istring::CToken_istring(std::unique_ptr<Storage> storage, const CBase_grammar* grammar,
                               std::uint32_t flags)
    : CToken_istream(&storage->characters, flags, grammar), m_Storage(std::move(storage)) {}

CToken_istring::CToken_istring(AString text, bool binary, const CBase_grammar* grammar, std::uint32_t flags)
    : CToken_istring(std::make_unique<Storage>(std::move(text)), grammar,
                     binary ? flags | kBinaryForm : flags) {}

CToken_istring::CToken_istring(AString text, const CBase_grammar* grammar, std::uint32_t flags)
    : CToken_istring(std::make_unique<Storage>(std::move(text)), grammar, flags) {}

CToken_istring::CToken_istring(InPlace text, const CBase_grammar* grammar, std::uint32_t flags)
    : CToken_istring(std::make_unique<Storage>(text.text), grammar, flags) {}

CToken_istring::~CToken_istring() {
    Close();
}

} // namespace io
