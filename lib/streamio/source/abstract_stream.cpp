#include <streamio/abstract_istream.h>
#include <streamio/abstract_ostream.h>
#include <streamio/block_index.h>
#include <streamio/streamio_object.h>

#include <utility/assertion.h>

namespace io {

CAbstract_stream::CAbstract_stream()
    : m_BeginKeyword(std::u16string_view(u"$begin")), m_EndKeyword(std::u16string_view(u"$end")) {}

CAbstract_stream::~CAbstract_stream() {
    CAbstract_stream::Close();
}

void CAbstract_stream::Close() {
    m_Index.reset();
}

void CAbstract_stream::IncIndent(std::uint32_t) {
    ++m_IndentLevel;
}

void CAbstract_stream::DecIndent() {
    if (m_IndentLevel > 0)
        --m_IndentLevel;
}

int CAbstract_stream::SetPrecision(int) {
    return -1;
}
int CAbstract_stream::SetWidth(int) {
    return -1;
}
bool CAbstract_stream::SetHex(bool) {
    return false;
}
wchar16 CAbstract_stream::SetFill(wchar16) {
    return u' ';
}
void CAbstract_stream::SetBeginKeyword(const AString& keyword) {
    m_BeginKeyword = keyword;
}
void CAbstract_stream::SetEndKeyword(const AString& keyword) {
    m_EndKeyword = keyword;
}

void CAbstract_stream::MakeState(CAbstract_stream_pos& pos) {
    if (!pos.mState)
        pos.mState = refptr<CAbstract_stream_state>(new CAbstract_stream_state);
    pos.OwnState<CAbstract_stream_state>().indentLevel = 0;
}

void CAbstract_stream::SaveState(CAbstract_stream_pos& pos) {
    if (!pos.mState)
        MakeState(pos);
    pos.OwnState<CAbstract_stream_state>().indentLevel = m_IndentLevel;
}

void CAbstract_stream::RestoreState(const CAbstract_stream_pos& pos) {
    m_IndentLevel = pos.mState ? pos.mState->indentLevel : 0;
}

bool CAbstract_ostream::SeekToIndexEntry(const AString& path) {
    return m_Index && m_Index->SeekToEntry(path, *this);
}

void CAbstract_ostream::WriteLine(const AString&) {}
void CAbstract_ostream::NewLine() {}
void CAbstract_ostream::EnsureNewLine() {}
void CAbstract_ostream::WriteMark() {}
void CAbstract_ostream::WriteBlockBegin(const CToken&) {}
void CAbstract_ostream::WriteBlockBegin(const AString&) {}
void CAbstract_ostream::WriteBlockBegin(const wchar16*) {}
void CAbstract_ostream::WriteBlockBegin() {}
void CAbstract_ostream::WriteBlockEnd(const CToken&) {}
void CAbstract_ostream::WriteBlockEnd(const AString&) {}
void CAbstract_ostream::WriteBlockEnd(const wchar16*) {}
void CAbstract_ostream::WriteBlockEnd() {}
void CAbstract_ostream::WriteKeyword(const AString&) {}
void CAbstract_ostream::WriteKeyword(const wchar16*) {}
void CAbstract_ostream::WriteQuoted(const CToken&) {}
void CAbstract_ostream::WriteQuoted(const AString&) {}
void CAbstract_ostream::WriteQuoted(const wchar16*) {}
void CAbstract_ostream::WriteComment(const AString&) {}
void CAbstract_ostream::WriteComment(const wchar16*) {}
void CAbstract_ostream::WriteChar(wchar16) {}
std::int32_t CAbstract_ostream::GetLineNumber() const {
    return 0;
}
bool CAbstract_ostream::SetAutoFormat(const bool&) {
    return false;
}
void CAbstract_ostream::WriteUnformatted(const wchar16* text) {
    Write(text);
}
CAbstract_ostream& CAbstract_ostream::Apply(CAbstract_ostream& (*function)(CAbstract_ostream&)) {
    return function(*this);
}
void CAbstract_ostream::WriteText(std::u16string_view text) {
    Write(AString(text));
}

void CAbstract_ostream::WriteElements(const CToken* elements, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && !IsBinary()) {
            WriteChar(u',');
            WriteChar(u' ');
        }
        Write(elements[i]);
    }
}

void CAbstract_ostream::WriteDoubles(const double* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        Write(values[i]);
}

AString& CAbstract_ostream::GetIndent(AString& out) const {
    out.clear();
    return out;
}

void CAbstract_ostream::SaveState(CAbstract_stream_pos& pos) {
    CAbstract_stream::SaveState(pos);
    pos.OwnState<CAbstract_stream_state>().blockPath = m_BlockPath;
}

void CAbstract_ostream::RestoreState(const CAbstract_stream_pos& pos) {
    CAbstract_stream::RestoreState(pos);
    m_BlockPath = pos.mState ? pos.mState->blockPath : std::list<AString>();
}

void CAbstract_ostream::GetPosition(CAbstract_stream_pos& pos) {
    pos.mPos = Fail() ? -1 : TellOffset();
    pos.mBinary = IsBinary();
    SaveState(pos);
}

bool CAbstract_ostream::SetPosition(const CAbstract_stream_pos& pos) {
    if (!pos.IsValid())
        return false;
    const std::int64_t reached = Fail() ? -1 : SeekOffset(pos.mPos);
    TARVOK_ASSERT_TEXT(reached == pos.mPos, "(ACharStreamOff)new_pos == (ACharStreamOff)pos.mPos");
    if (reached != pos.mPos)
        return false;
    RestoreState(pos);
    return true;
}

CAbstract_ostream& operator<<(CAbstract_ostream& s, const CStreamio_object& object) {
    object.Write(s);
    return s;
}

CAbstract_ostream& operator<<(CAbstract_ostream& s, CStreamio_manip& manip) {
    manip.Apply(s);
    return s;
}

CAbstract_ostream& operator<<(CAbstract_ostream& s, CStreamio_manip&& manip) {
    return s << manip;
}

std::size_t CAbstract_istream::ReadDoubles(double* values, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        Read(values[i]);
        if (Fail())
            return i;
    }
    return count;
}

void CAbstract_istream::ReadLine(AString&) {}
void CAbstract_istream::SkipLine() {}
void CAbstract_istream::ExpectEol() {}
void CAbstract_istream::NextToken() {}
void CAbstract_istream::ReadBlockBegin(CToken&) {}
void CAbstract_istream::ReadBlockBegin(AString&) {}
void CAbstract_istream::ReadBlockBegin(const wchar16*) {}
void CAbstract_istream::ReadBlockBegin() {}
void CAbstract_istream::ReadBlockEnd(CToken&) {}
void CAbstract_istream::ReadBlockEnd(AString&) {}
void CAbstract_istream::ReadBlockEnd(const wchar16*) {}
void CAbstract_istream::ReadBlockEnd() {}
void CAbstract_istream::ReadKeyword(AString&) {}
void CAbstract_istream::ExpectKeyword(const wchar16*) {}
void CAbstract_istream::ReadText(CToken&) {}
void CAbstract_istream::ReadText(AString&) {}
void CAbstract_istream::ExpectText(const wchar16*) {}
void CAbstract_istream::ReadComment(AString&) {}
void CAbstract_istream::ExpectComment(const wchar16*) {}
void CAbstract_istream::ExpectSymbol(wchar16) {}
CAbstract_istream& CAbstract_istream::Apply(CAbstract_istream& (*function)(CAbstract_istream&)) {
    return function(*this);
}

void CAbstract_istream::RestoreState(const CAbstract_stream_pos& pos) {
    CAbstract_stream::RestoreState(pos);
    m_Good = true;
}

void CAbstract_istream::GetPosition(CAbstract_stream_pos& pos) {
    pos.mPos = Bad() ? -1 : TellOffset();
    pos.mBinary = IsBinary();
    SaveState(pos);
}

bool CAbstract_istream::SetPosition(const CAbstract_stream_pos& pos) {
    if (!pos.IsValid())
        return false;
    const std::int64_t reached = Bad() ? -1 : SeekOffset(pos.mPos);
    TARVOK_ASSERT_TEXT(reached == pos.mPos, "(ACharStreamOff)new_pos == (ACharStreamOff)pos.mPos");
    if (reached != pos.mPos)
        return false;
    RestoreState(pos);
    return true;
}

CAbstract_istream& operator>>(CAbstract_istream& s, CStreamio_object& object) {
    object.Read(s);
    return s;
}

CAbstract_istream& operator>>(CAbstract_istream& s, CStreamio_manip& manip) {
    manip.Apply(s);
    return s;
}

CAbstract_istream& operator>>(CAbstract_istream& s, CStreamio_manip&& manip) {
    return s >> manip;
}

} // namespace io
