#include "memory_streambuf.h"
#include "view_of.h"

#include <streamio/block_index.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/streamio_object.h>
#include <streamio/token_binarystreambuf.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_ostream.h>
#include <streamio/token_ostring.h>

namespace io {

CToken_ostream::CToken_ostream(COutStream* stream, bool ownStream, std::uint32_t flags,
                               const CBase_grammar* grammar, bool ownGrammar, const std::locale* locale)
    : m_Buffer(CToken_streambuf::Make(stream->rdbuf(), false, locale, grammar, flags)), m_Stream(stream),
      m_OwnStream(ownStream), m_Grammar(grammar), m_OwnGrammar(ownGrammar) {
    m_LocaleGiven = locale != nullptr;
    Start(flags);
}

CToken_ostream::CToken_ostream(CToken_streambuf::CharBuf* characters, std::uint32_t flags,
                               const CBase_grammar* grammar)
    : m_Buffer(CToken_streambuf::Make(characters, false, nullptr, grammar, flags)), m_Grammar(grammar) {
    m_Buffer->SetMode(m_Buffer->GetMode() == kBinaryBytesMode ? kBinaryMemoryMode : kMemoryMode);
    Start(flags);
}

void CToken_ostream::Start(std::uint32_t flags) {
    m_DelimiterGrammar =
        m_Grammar != &DefaultTokenGrammar() && dynamic_cast<const CDelimiter_grammar*>(m_Grammar) != nullptr;
    if (Fail())
        return;
    if ((flags & kUseIndex) != 0) {
        if (IsBinary() && m_Stream)
            m_Stream->seekp(0, std::ios_base::end);
        StartIndex(flags);
    } else if (IsBinary()) {
        if (m_Stream)
            m_Stream->seekp(0, std::ios_base::end);
        static_cast<CToken_binarystreambuf&>(*m_Buffer).WriteStart();
    }
}

CToken_ostream::~CToken_ostream() {
    CToken_ostream::Close();
}

void CToken_ostream::Close() {
    if (m_Buffer && m_BuildIndex && m_Index) {
        m_BuildIndex = false; // the index doesn't name itself
        EnsureNewLine();
        WriteBaseIndex(true);
        m_Index->Write(*this);
    }
    m_BuildIndex = false;
    if (m_Buffer && m_Stream)
        m_Stream->flush();
    m_Failed = m_Failed || (m_Buffer && m_Buffer->HasWriteFailed());
    m_Buffer.reset();
    if (m_OwnGrammar)
        delete std::exchange(m_Grammar, nullptr);
    m_OwnGrammar = false;
    if (m_OwnStream)
        delete m_Stream;
    m_OwnStream = false;
    m_Stream = nullptr;
    CAbstract_ostream::Close();
}

bool CToken_ostream::IsBinary() const {
    return m_Buffer && m_Buffer->IsBinaryMode();
}

bool CToken_ostream::StartIndex(std::uint32_t flags) {
    if (m_BuildIndex)
        return true;
    CAbstract_stream_pos pos;
    GetPosition(pos);
    if (pos.mPos != 0 && !(IsBinary() && pos.mPos == 1))
        return false;
    if (!pos.mState || !pos.mState->IsInitial())
        return false;
    m_Index = std::make_unique<CBlock_index>(AString(std::u16string_view(u"$index$")));
    m_Index->SetAllLevels((flags & kAllLevels) != 0);
    WriteBaseIndex(false);
    m_BuildIndex = true;
    return true;
}

void CToken_ostream::WriteBaseIndex(bool final) {
    CAbstract_stream_pos here;
    GetPosition(here);
    CAbstract_stream_pos start;
    MakeState(start);
    if (!SetPosition(start))
        return;
    CBlock_index base(AString(std::u16string_view(u"$base_index$")));
    base.SetAllLevels(m_Index->GetAllLevels());
    // An entry whatever is still open, or the second writing would be shorter than the first.
    CAbstract_stream_pos entry = here.IsValid() ? here : start;
    entry.OwnState<CAbstract_stream_state>().indentLevel = 0;
    base.AddEntry(AString(std::u16string_view(u"$index$")), entry);

    // Every number in full width, so that the second writing fits over the first.
    const int width = SetWidth(12);
    const wchar16 fill = SetFill(u'0');
    const std::uint32_t count = SetIndentCount(2);
    const wchar16 ch = SetIndentChar(u' ');
    base.Write(*this);
    SetIndentChar(ch);
    SetIndentCount(count);
    SetFill(fill);
    SetWidth(width);
    if (final)
        SetPosition(here);
}

void CToken_ostream::WriteLine(const AString& line) {
    if (m_Stream)
        m_Stream->write(line.data(), static_cast<std::streamsize>(line.size()));
    else
        m_Buffer->GetCharBuf().sputn(line.data(), static_cast<std::streamsize>(line.size()));
    NewLine();
}

void CToken_ostream::NewLine() {
    m_Buffer->WriteNewLine(true);
}
void CToken_ostream::EnsureNewLine() {
    m_Buffer->WriteNewLine(false);
}
void CToken_ostream::WriteMark() {
    m_Buffer->Write(u'*');
}

void CToken_ostream::DecIndent() {
    if (m_IndentLevel == 0)
        return;
    --m_IndentLevel;
    m_Buffer->PopIndent();
}

void CToken_ostream::IncIndent(std::uint32_t count) {
    ++m_IndentLevel;
    m_Buffer->PushIndent(count, m_IndentChar);
}

// The line with which a block begins or ends.
void CToken_ostream::WriteEdge(std::u16string_view keyword, const std::u16string_view* name) {
    if (!m_DelimiterGrammar && !keyword.empty() && name && m_Buffer->WriteBlockEdge(keyword, *name))
        return;
    if (!keyword.empty())
        m_Buffer->WriteKeyword(keyword);
    if (name && m_DelimiterGrammar)
        m_Buffer->WriteQuoted(*name);
    else if (name)
        m_Buffer->WriteKeyword(*name);
    EnsureNewLine();
}

void CToken_ostream::BeginBlock(std::u16string_view name) {
    EnsureNewLine();
    if (m_BuildIndex) {
        AString path = m_BlockPath.empty() ? AString() : m_BlockPath.back();
        if (!m_BlockPath.empty())
            path += u'\t';
        path += name;
        // A line begins here: nothing is in hand that a reader would miss.
        CAbstract_stream_pos pos;
        MakeState(pos);
        pos.mPos = TellOffset();
        auto& state = pos.OwnState<CToken_stream_state>();
        state.lineNumber = GetLineNumber();
        state.indentLevel = m_IndentLevel;
        m_Index->AddEntry(path, pos);
        // Paths below are asked for only if they are entered.
        m_BlockPath.push_back(m_IndentLevel == 0 || m_Index->GetAllLevels() ? std::move(path) : AString());
    }
    WriteEdge(m_BeginKeyword, &name);
    IncIndent(m_IndentCount);
}

void CToken_ostream::WriteBlockBegin(const CToken& name) {
    CToken::Scratch scratch;
    BeginBlock(name.GetText(scratch));
}
void CToken_ostream::WriteBlockBegin(const AString& name) {
    BeginBlock(name);
}
void CToken_ostream::WriteBlockBegin(const wchar16* name) {
    BeginBlock(ViewOf(name));
}

void CToken_ostream::WriteBlockBegin() {
    TARVOK_ASSERT_TEXT(!m_BuildIndex, "!mBuildIndex");
    EnsureNewLine();
    if (!m_BeginKeyword.empty())
        m_Buffer->WriteKeyword(m_BeginKeyword);
    IncIndent(m_IndentCount);
}

void CToken_ostream::EndBlock(const std::u16string_view* name) {
    if (m_BuildIndex && !m_BlockPath.empty())
        m_BlockPath.pop_back();
    DecIndent();
    EnsureNewLine();
    WriteEdge(m_EndKeyword, name);
}

void CToken_ostream::WriteBlockEnd(const CToken& name) {
    CToken::Scratch scratch;
    const std::u16string_view text = name.GetText(scratch);
    EndBlock(&text);
}

void CToken_ostream::WriteBlockEnd(const AString& name) {
    const std::u16string_view text = name;
    EndBlock(&text);
}

void CToken_ostream::WriteBlockEnd(const wchar16* name) {
    const std::u16string_view text = ViewOf(name);
    EndBlock(&text);
}

void CToken_ostream::WriteBlockEnd() {
    EndBlock(nullptr);
}

long CToken_ostream::SetFixed(long flags) {
    return std::exchange(m_FormatFlags, (m_FormatFlags & ~kFixedFormat) | (flags & kFixedFormat));
}

long CToken_ostream::SetScientific(long flags) {
    return std::exchange(m_FormatFlags, (m_FormatFlags & ~kScientificFormat) | (flags & kScientificFormat));
}

void CToken_ostream::WriteKeyword(const AString& text) {
    m_Buffer->WriteKeyword(text);
}
void CToken_ostream::WriteKeyword(const wchar16* text) {
    if (text)
        m_Buffer->WriteKeyword(text);
}
void CToken_ostream::WriteQuoted(const CToken& text) {
    CToken::Scratch scratch;
    m_Buffer->WriteQuoted(text.GetText(scratch));
}
void CToken_ostream::WriteQuoted(const AString& text) {
    m_Buffer->WriteQuoted(text);
}
void CToken_ostream::WriteQuoted(const wchar16* text) {
    if (text)
        m_Buffer->WriteQuoted(text);
}
void CToken_ostream::WriteComment(const AString& text) {
    m_Buffer->WriteComment(text.c_str());
}
void CToken_ostream::WriteComment(const wchar16* text) {
    m_Buffer->WriteComment(text);
}
void CToken_ostream::WriteChar(wchar16 ch) {
    m_Buffer->WriteChar(ch);
}
int CToken_ostream::SetPrecision(int precision) {
    return m_Buffer->SetPrecision(precision);
}
int CToken_ostream::SetWidth(int width) {
    return m_Buffer->SetWidth(width);
}
bool CToken_ostream::SetHex(bool hex) {
    return m_Buffer->SetHex(hex);
}
wchar16 CToken_ostream::SetFill(wchar16 fill) {
    return m_Buffer->SetFill(fill);
}

void CToken_ostream::MakeState(CAbstract_stream_pos& pos) {
    m_Buffer->MakeState(pos);
    CAbstract_ostream::MakeState(pos);
}

void CToken_ostream::SaveState(CAbstract_stream_pos& pos) {
    m_Buffer->SaveState(pos); // makes the state of the buffer's class
    CAbstract_ostream::SaveState(pos);
}

void CToken_ostream::RestoreState(const CAbstract_stream_pos& pos) {
    CAbstract_ostream::RestoreState(pos);
    m_Buffer->RestoreState(pos);
    if (m_Buffer->GetIndentLevels() == 0) {
        for (std::uint32_t level = 0; level < m_IndentLevel; ++level)
            m_Buffer->PushIndent(m_IndentCount, m_IndentChar);
    }
    // A binary text opens with its one zero byte, which is no token.
    if (IsBinary() && pos.mPos == 0 && (!pos.mState || pos.mState->IsInitial()))
        static_cast<CToken_binarystreambuf&>(*m_Buffer).WriteStart();
}

bool CToken_ostream::Good() const {
    return !m_Failed && !(m_Buffer && m_Buffer->HasWriteFailed()) && (!m_Stream || m_Stream->good());
}
bool CToken_ostream::Eof() const {
    return m_Stream && m_Stream->eof();
}
bool CToken_ostream::Fail() const {
    return m_Failed || (m_Buffer && m_Buffer->HasWriteFailed()) || (m_Stream && m_Stream->fail());
}
bool CToken_ostream::Bad() const {
    return (m_Buffer && m_Buffer->HasWriteFailed()) || (m_Stream && m_Stream->bad());
}

std::int32_t CToken_ostream::GetLineNumber() const {
    return m_Buffer ? m_Buffer->GetLineNumber() : 0;
}
bool CToken_ostream::SetAutoFormat(const bool& on) {
    return m_Buffer->SetAutoFormat(on);
}

void CToken_ostream::WriteUnformatted(const wchar16* text) {
    const bool former = m_Buffer->SetAutoFormat(false);
    Write(text);
    m_Buffer->SetAutoFormat(former);
}

void CToken_ostream::Write(const CToken& token) {
    m_Buffer->Write(token, m_FormatFlags);
}
void CToken_ostream::Write(const AString& text) {
    m_Buffer->Write(std::u16string_view(text));
}
void CToken_ostream::Write(double value) {
    m_Buffer->Write(value, m_FormatFlags);
}
void CToken_ostream::Write(float value) {
    m_Buffer->Write(value, m_FormatFlags);
}
void CToken_ostream::Write(unsigned long value) {
    m_Buffer->Write(value, m_FormatFlags);
}
void CToken_ostream::Write(long value) {
    m_Buffer->Write(value, m_FormatFlags);
}
void CToken_ostream::Write(unsigned int value) {
    m_Buffer->Write(value, m_FormatFlags);
}
void CToken_ostream::Write(int value) {
    m_Buffer->Write(value, m_FormatFlags);
}
void CToken_ostream::Write(short value) {
    m_Buffer->Write(value, m_FormatFlags);
}
void CToken_ostream::Write(wchar16 ch) {
    m_Buffer->Write(ch);
}
void CToken_ostream::Write(const wchar16* text) {
    if (text)
        m_Buffer->Write(std::u16string_view(text));
}
void CToken_ostream::Write(bool value) {
    m_Buffer->Write(value);
}

AString& CToken_ostream::GetIndent(AString& out) const {
    return m_Buffer->GetIndentString(out);
}

void CToken_ostream::WriteText(std::u16string_view text) {
    m_Buffer->Write(text);
}

void CToken_ostream::WriteElements(const CToken* elements, std::size_t count) {
    m_Buffer->WriteElements(elements, count, m_FormatFlags);
}

void CToken_ostream::WriteDoubles(const double* values, std::size_t count) {
    m_Buffer->WriteDoubles(values, count, m_FormatFlags);
}

std::int64_t CToken_ostream::TellOffset() {
    return m_Buffer->Tell(std::ios_base::out);
}
std::int64_t CToken_ostream::SeekOffset(std::int64_t offset) {
    return m_Buffer->Seek(offset, std::ios_base::out);
}

CToken_ostring::CToken_ostring(std::unique_ptr<CMemoryOutBuf> characters, const CBase_grammar* grammar,
                               std::uint32_t flags)
    : CToken_ostream(characters.get(), flags, grammar), m_Characters(std::move(characters)) {}

CToken_ostring::CToken_ostring(std::size_t reserved, bool binary, const CBase_grammar* grammar,
                               std::uint32_t flags)
    : CToken_ostring(std::make_unique<CMemoryOutBuf>(reserved), grammar,
                     binary ? flags | kBinaryForm : flags) {}

CToken_ostring::CToken_ostring(const CBase_grammar* grammar, std::size_t reserved, std::uint32_t flags)
    : CToken_ostring(reserved, false, grammar, flags) {}

CToken_ostring::CToken_ostring(const CStreamio_object& measured)
    : CToken_ostring(std::make_unique<CMemoryOutBuf>([&measured] {
                         CToken_ostring stream(&DefaultDelimiterGrammar());
                         return measured.GetBinarySize(stream) + std::size_t{2};
                     }),
                     &DefaultTokenGrammar(), kBinaryForm) {}

CToken_ostring::~CToken_ostring() {
    Close();
}

AString& CToken_ostring::GetText(AString& out) {
    m_Characters->GetText(out);
    return out;
}

AString CToken_ostring::TakeText() {
    return m_Characters->TakeText();
}

} // namespace io
