#include "memory_streambuf.h"
#include "name_compare.h"

#include <streamio/abstract_stream.h>
#include <streamio/base_grammar.h>
#include <streamio/token_binarystreambuf.h>
#include <streamio/token_streambuf.h>
#include <streamio/token_textstreambuf.h>

#include <typeinfo>

namespace io {

namespace {

// The stream if it is of that very class.
template <class T>
T* AsClass(CCharBuf* stream) {
    return stream && typeid(*stream) == typeid(T) ? static_cast<T*>(stream) : nullptr;
}

} // namespace

std::unique_ptr<CToken_streambuf> CToken_streambuf::Make(CharBuf* stream, bool detect,
                                                         const std::locale* locale,
                                                         const CBase_grammar* grammar, std::uint32_t flags) {
    bool binary = !grammar || (flags & kBinaryForm) != 0;
    if (detect && stream) {
        const auto first = stream->sgetc();
        if (!CharBuf::traits_type::eq_int_type(first, CharBuf::traits_type::eof()))
            binary = first == 0;
    }
    if (binary)
        return std::make_unique<CToken_binarystreambuf>(stream, flags);
    TARVOK_ASSERT_TEXT(grammar, "a_grammar");
    return std::make_unique<CToken_textstreambuf>(stream, grammar, locale, flags);
}

CToken_streambuf::CToken_streambuf(CharBuf* stream)
    : m_Stream(stream), m_MemoryIn(AsClass<CMemoryInBuf>(stream)),
      m_MemoryOut(AsClass<CMemoryOutBuf>(stream)) {
    TARVOK_ASSERT_TEXT(stream, "a_streambuf");
}

CToken_streambuf::~CToken_streambuf() = default;

const CToken& CToken_streambuf::NextPushedToken() {
    --m_TokenPushBackCount;
    CToken& popped = m_TokenPushBack[static_cast<std::size_t>(m_TokenPushBackCount)];
    m_AtLineStart = popped.GetType() == TokenType::Eol;
    popped.Clear();
    return PeekToken();
}

void CToken_streambuf::PushBackToken(const CToken& token) {
    TARVOK_ASSERT_TEXT(m_TokenPushBackCount < kMaxTokenPushBack, "mTokenPushBackCount < kMaxTokenPushBack");
    if (m_TokenPushBackCount < kMaxTokenPushBack)
        m_TokenPushBack[static_cast<std::size_t>(m_TokenPushBackCount++)] = token;
}

bool CToken_streambuf::TextMatches(const CToken& token, std::u16string_view text) const {
    CToken::Scratch scratch;
    const std::u16string_view own = token.GetText(scratch);
    if (own.empty() && !token.IsText())
        return false;
    return m_CaseMode == kExactMode ? own == text : EqualFolded(own, text);
}

bool CToken_streambuf::SkipToToken(std::optional<TokenType> kind, std::u16string_view text,
                                   bool atLineStart) {
    for (;;) {
        const CToken& token = NextToken();
        if (token.GetType() == TokenType::Eof)
            return false;
        if ((!kind || token.GetType() == *kind) && (!atLineStart || m_AtLineStart) &&
            TextMatches(token, text))
            return true;
    }
}

void CToken_streambuf::WriteElements(const CToken* elements, std::size_t count, long flags) {
    for (std::size_t i = 0; i < count; ++i)
        Write(elements[i], flags);
}

void CToken_streambuf::WriteDoubles(const double* values, std::size_t count, long flags) {
    for (std::size_t i = 0; i < count; ++i)
        Write(values[i], flags);
}

std::size_t CToken_streambuf::ReadDoubles(double* values, std::size_t) {
    *values = PeekToken().GetDouble();
    NextToken();
    return 1;
}

std::size_t CToken_streambuf::GetInputLeft() const {
    if (m_MemoryIn)
        return static_cast<std::size_t>(m_MemoryIn->End() - m_MemoryIn->Cur());
    return 1024;
}

std::size_t CToken_streambuf::GetWrittenCount() const {
    return m_MemoryOut ? m_MemoryOut->Length() : m_WrittenCount;
}

std::int64_t CToken_streambuf::Tell(std::ios_base::openmode side) {
    return static_cast<std::int64_t>(std::streamoff(m_Stream->pubseekoff(0, std::ios_base::cur, side)));
}

std::int64_t CToken_streambuf::Seek(std::int64_t offset, std::ios_base::openmode side) {
    if (m_Stream->pubseekpos(offset, side) == std::streampos(std::streamoff(-1)))
        return -1;
    m_UnitsRead = offset;
    m_PushBackCount = 0;
    return Tell(side);
}

int CToken_streambuf::PeekUnit() const {
    if (m_MemoryIn)
        return m_MemoryIn->Cur() < m_MemoryIn->End() ? *m_MemoryIn->Cur() : kEndOfStream;
    const auto unit = m_Stream->sgetc();
    return CharBuf::traits_type::eq_int_type(unit, CharBuf::traits_type::eof()) ? kEndOfStream
                                                                                : static_cast<int>(unit);
}

void CToken_streambuf::TakeUnit() {
    if (m_MemoryIn) {
        m_MemoryIn->SetCur(m_MemoryIn->Cur() + 1);
        return;
    }
    m_Stream->sbumpc();
    ++m_UnitsRead;
}

void CToken_streambuf::PutUnit(wchar16 unit) {
    if (m_MemoryOut) {
        m_MemoryOut->Put(unit);
        return;
    }
    const auto written = m_Stream->sputc(unit);
    if (unit != 0xFFFF && CharBuf::traits_type::eq_int_type(written, CharBuf::traits_type::eof()))
        m_WriteFailed = true;
    ++m_WrittenCount;
}

void CToken_streambuf::MakeState(CAbstract_stream_pos& pos) {
    pos.mState = refptr<CAbstract_stream_state>(new CToken_stream_state);
}

void CToken_streambuf::SaveState(CAbstract_stream_pos& pos) {
    auto& state = pos.OwnState<CToken_stream_state>();
    state.atLineStart = m_AtLineStart;
    state.currentToken = m_Current;
    state.lastCharacter = m_LastCharacter;
    state.lastKind = m_LastKind;
    state.lineNumber = m_LineNumber;
    state.pushedCharacters.assign(m_PushBack.begin(), m_PushBack.begin() + m_PushBackCount);
    state.pushedTokens.assign(m_TokenPushBack.begin(), m_TokenPushBack.begin() + m_TokenPushBackCount);
}

void CToken_streambuf::RestoreState(const CAbstract_stream_pos& pos) {
    static const CToken_stream_state kFresh;
    const auto* state = dynamic_cast<const CToken_stream_state*>(pos.mState.Get());
    if (!state)
        state = &kFresh;
    m_AtLineStart = state->atLineStart;
    m_Current = state->currentToken;
    m_LastCharacter = state->lastCharacter;
    m_LastKind = state->lastKind;
    m_LineNumber = state->lineNumber;
    m_PushBackCount = static_cast<int>(std::min<std::size_t>(state->pushedCharacters.size(), kMaxPushBack));
    std::copy_n(state->pushedCharacters.begin(), m_PushBackCount, m_PushBack.begin());
    for (CToken& token : m_TokenPushBack)
        token.Clear();
    m_TokenPushBackCount =
        static_cast<int>(std::min<std::size_t>(state->pushedTokens.size(), kMaxTokenPushBack));
    std::copy_n(state->pushedTokens.begin(), m_TokenPushBackCount, m_TokenPushBack.begin());
}

} // namespace io
