#include <streamio/block.h>
#include <streamio/stream_position.h>

#include <utility/assertion.h>

namespace io {

namespace {

void AddValue(CBlock_func& entry, const wchar16* name, TokenType kind, double value) {
    entry << CBlock_named_value(AString(name), CToken(kind, value));
}

// The named argument's value; false without one that fits.
bool FindValue(CBlock_func& entry, const wchar16* name, CBlock_named_value& value) {
    value.SetName(AString(name));
    return entry.GetNamedValue(value).IsGood();
}

} // namespace

CAbstract_stream_state::~CAbstract_stream_state() {
    TARVOK_ASSERT_TEXT(GetReferenceCount() == 0, "mRefCount == 0");
}

std::int32_t CAbstract_stream_state::GetLine() const {
    return 0;
}
bool CAbstract_stream_state::IsReady() const {
    return true;
}
bool CAbstract_stream_state::IsInitial() const {
    return indentLevel == 0;
}

void CAbstract_stream_state::WriteTo(CBlock_func& entry) const {
    AddValue(entry, u"lvl", TokenType::UnsignedInt, indentLevel);
}

void CAbstract_stream_state::ReadFrom(CBlock_func& entry) {
    CBlock_named_value value;
    if (FindValue(entry, u"lvl", value))
        value.GetUnsignedInt(indentLevel);
}

void CAbstract_stream_state::Adjust(const CAbstract_stream_pos&, const CAbstract_stream_pos&) {}

refptr<CAbstract_stream_state> CAbstract_stream_state::Clone() const {
    return refptr<CAbstract_stream_state>(new CAbstract_stream_state(*this));
}

std::int32_t CToken_stream_state::GetLine() const {
    return lineNumber;
}

bool CToken_stream_state::IsReady() const {
    const TokenType kind = currentToken.GetType();
    return (atLineStart || kind == TokenType::Eol || kind == TokenType::Eof || kind == TokenType::Null) &&
           pushedCharacters.empty() && pushedTokens.empty();
}

bool CToken_stream_state::IsInitial() const {
    return IsReady() && CAbstract_stream_state::IsInitial();
}

void CToken_stream_state::WriteTo(CBlock_func& entry) const {
    AddValue(entry, u"lin", TokenType::Int, lineNumber);
    CAbstract_stream_state::WriteTo(entry);
}

void CToken_stream_state::ReadFrom(CBlock_func& entry) {
    CBlock_named_value value;
    if (FindValue(entry, u"lin", value))
        value.GetInt(lineNumber);
    CAbstract_stream_state::ReadFrom(entry);
}

void CToken_stream_state::Adjust(const CAbstract_stream_pos& from, const CAbstract_stream_pos& to) {
    lineNumber += to.GetLine() - from.GetLine();
}

refptr<CAbstract_stream_state> CToken_stream_state::Clone() const {
    return refptr<CAbstract_stream_state>(new CToken_stream_state(*this));
}

refptr<CAbstract_stream_state> CToken_textstream_state::Clone() const {
    return refptr<CAbstract_stream_state>(new CToken_textstream_state(*this));
}

CAbstract_stream_pos::~CAbstract_stream_pos() = default;

void CAbstract_stream_pos::WriteTo(CBlock_func& entry) const {
    AddValue(entry, u"pos", TokenType::Long, static_cast<double>(mPos));
    if (mState)
        mState->WriteTo(entry);
}

bool CAbstract_stream_pos::ReadFrom(CBlock_func& entry) {
    CBlock_named_value value;
    long offset = 0;
    if (!FindValue(entry, u"pos", value) || !value.GetLong(offset))
        return false;
    mPos = offset;
    if (mState) {
        if (mState->GetReferenceCount() > 1)
            mState = mState->Clone();
        mState->ReadFrom(entry);
    }
    return true;
}

} // namespace io
