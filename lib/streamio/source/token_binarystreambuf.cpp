#include "binary_number.h"
#include "item_road.h"
#include "memory_streambuf.h"
#include "plain_text.h"

#include <streamio/abstract_stream.h>
#include <streamio/base_grammar.h>
#include <streamio/token_binarystreambuf.h>

namespace io {

namespace {

constexpr int kLongForm = 128; // what a tag has more, whose text's length takes four bytes

bool IsBlank(std::u16string_view text) {
    return text.find_first_not_of(u" \t\n\v\f\r") == text.npos;
}

} // namespace

CToken_binarystreambuf::CToken_binarystreambuf(CharBuf* stream, std::uint32_t flags)
    : CToken_streambuf(stream) {
    m_Mode = kBinaryBytesMode;
    m_WriteCR = (flags & kWriteCR) != 0;
}

void CToken_binarystreambuf::NewLine() {
    while (PeekToken().GetType() != TokenType::Eol) {
        if (PeekToken().GetType() == TokenType::Eof)
            return;
        NextToken();
    }
    NextToken();
}

void CToken_binarystreambuf::NewLine(AString&) {
    TARVOK_ASSERT_TEXT(false, "CToken_binarystreambuf::NewLine(AString& line) not implemented");
    NewLine();
}

void CToken_binarystreambuf::PutTag(TokenType kind) {
    if (m_MemoryOut)
        m_MemoryOut->Put(static_cast<wchar16>(kind));
    else
        PutUnit(static_cast<wchar16>(kind));
}

void CToken_binarystreambuf::PutText(TokenType kind, std::u16string_view text) {
    if (m_MemoryOut && text.size() <= kMostShortText) { // most texts are short and plain
        wchar16* const out = m_MemoryOut->Room(2 + kMostShortText);
        out[0] = static_cast<wchar16>(kind);
        out[1] = static_cast<wchar16>(text.size());
        if (CopyPlain(text, out + 2)) {
            m_MemoryOut->Commit(out + 2 + text.size());
            m_LastKind = kind;
            return;
        }
    }
    m_Utf8.clear();
    AppendUtf8(text, m_Utf8);
    const std::size_t length = m_Utf8.size();
    if (length <= kMostShortText) {
        PutTag(kind);
        PutUnit(static_cast<wchar16>(length));
    } else {
        PutUnit(static_cast<wchar16>(static_cast<int>(kind) + kLongForm));
        for (int i = 0; i < 4; ++i)
            PutUnit(static_cast<wchar16>(length >> (8 * i) & 255));
    }
    for (const char byte : m_Utf8)
        PutUnit(static_cast<unsigned char>(byte));
    m_LastKind = kind;
}

void CToken_binarystreambuf::WriteComment(const wchar16* text) {
    PutText(TokenType::Comment, text ? std::u16string_view(text) : std::u16string_view());
}
void CToken_binarystreambuf::WriteQuoted(std::u16string_view text) {
    PutText(TokenType::SingleQuotedText, text);
}
void CToken_binarystreambuf::WriteKeyword(std::u16string_view text) {
    PutText(TokenType::Keyword, text);
}

void CToken_binarystreambuf::WriteChar(wchar16 ch) {
    if (ch < 128 && m_MemoryOut) {
        wchar16* const out = m_MemoryOut->Room(2);
        out[0] = static_cast<wchar16>(TokenType::Symbol);
        out[1] = ch;
        m_MemoryOut->Commit(out + 2);
    } else if (ch < 128) {
        PutTag(TokenType::Symbol);
        PutUnit(ch);
    } else {
        m_Utf8.clear();
        AppendUtf8({&ch, 1}, m_Utf8);
        PutUnit(static_cast<wchar16>(static_cast<int>(TokenType::Symbol) + kLongForm));
        for (int i = 0; i < 4; ++i)
            PutUnit(i == 0 ? static_cast<wchar16>(m_Utf8.size()) : u'\0');
        for (const char byte : m_Utf8)
            PutUnit(static_cast<unsigned char>(byte));
    }
    m_LastKind = TokenType::Symbol;
}

// The units of a number, which stand in the memory already where the stream writes to one.
void CToken_binarystreambuf::PutNumber(const wchar16* units, const wchar16* end) {
    if (m_MemoryOut)
        return m_MemoryOut->Commit(end);
    for (; units < end; ++units)
        PutUnit(*units);
}

void CToken_binarystreambuf::PutUnsigned(int tag, std::uint32_t value, int width) {
    const int length = m_KeepAllBytes ? width : TrimmedIntegerLength(value);
    wchar16 units[9];
    wchar16* const out = m_MemoryOut ? m_MemoryOut->Room(9) : units;
    out[0] = static_cast<wchar16>(tag + length);
    SpreadBytes(out + 1, value);
    PutNumber(out, out + 1 + length);
}

void CToken_binarystreambuf::PutSigned(std::int32_t value, int width) {
    // The bytes of a negative number aren't extended on reading, so it takes all four.
    PutUnsigned(kSignedTag, static_cast<std::uint32_t>(value), value < 0 ? 4 : width);
}

void CToken_binarystreambuf::Write(double value, long) {
    wchar16 units[9];
    wchar16* const out = m_MemoryOut ? m_MemoryOut->Room(9) : units;
    PutNumber(out, SpreadDouble(out, value, m_KeepAllBytes));
    m_LastKind = TokenType::Double;
}

// The double's bytes, so that the value comes back.
void CToken_binarystreambuf::Write(float value, long flags) {
    Write(static_cast<double>(value), flags);
    m_LastKind = TokenType::Float;
}

void CToken_binarystreambuf::Write(unsigned long value, long flags) {
    if (value > 0xFFFFFFFF)
        return Write(static_cast<double>(value), flags);
    PutUnsigned(kUnsignedTag, static_cast<std::uint32_t>(value), 4);
    m_LastKind = TokenType::UnsignedLong;
}

void CToken_binarystreambuf::Write(long value, long flags) {
    if (value < -2147483648L || value > 2147483647L)
        return Write(static_cast<double>(value), flags);
    PutSigned(static_cast<std::int32_t>(value), 4);
    m_LastKind = TokenType::Long;
}

void CToken_binarystreambuf::Write(unsigned int value, long) {
    PutUnsigned(kUnsignedTag, value, 4);
    m_LastKind = TokenType::UnsignedInt;
}

void CToken_binarystreambuf::Write(int value, long) {
    PutSigned(value, 4);
    m_LastKind = TokenType::Int;
}

void CToken_binarystreambuf::Write(short value, long) {
    PutSigned(value, 2);
    m_LastKind = TokenType::Short;
}

void CToken_binarystreambuf::Write(unsigned short value, long) {
    PutUnsigned(kUnsignedTag, value, 2);
    m_LastKind = TokenType::UnsignedShort;
}

void CToken_binarystreambuf::Write(const CToken& token, long flags) {
    const TokenType kind = token.GetType();
    switch (kind) {
    case TokenType::Null:
    case TokenType::Eof:
    case TokenType::Error:
        return;
    case TokenType::True:
    case TokenType::False:
    case TokenType::Eol:
        PutTag(kind);
        m_LastKind = kind;
        return;
    default:
        break;
    }
    if (token.IsNumber())
        return Write(token.GetDouble(), flags);
    CToken::Scratch scratch;
    const std::u16string_view text = token.GetText(scratch);
    if (kind == TokenType::Symbol)
        return WriteChar(text.empty() ? u'\0' : text.front());
    PutText(kind, text);
}

void CToken_binarystreambuf::Write(bool value) {
    PutTag(value ? TokenType::True : TokenType::False);
    m_LastKind = value ? TokenType::True : TokenType::False;
}

void CToken_binarystreambuf::Write(wchar16 ch) {
    Write(ch == 0 ? std::u16string_view() : std::u16string_view(&ch, 1));
}

void CToken_binarystreambuf::Write(std::u16string_view text) {
    if (!IsBlank(text))
        PutText(TokenType::SingleQuotedText, text);
    else if (m_KeepWhiteSpace)
        PutText(TokenType::WhiteSpace, text);
}

void CToken_binarystreambuf::WriteElements(const CToken* elements, std::size_t count, long flags) {
    if (!m_MemoryOut)
        return CToken_streambuf::WriteElements(elements, count, flags);
    for (std::size_t i = 0; i < count;) {
        const std::size_t batch = std::min<std::size_t>(count - i, 64);
        wchar16* out = m_MemoryOut->Room(9 * 64);
        const std::size_t last = i + batch;
        for (; i < last && elements[i].IsNumber(); ++i)
            out = SpreadDouble(out, elements[i].GetDouble(), m_KeepAllBytes);
        m_MemoryOut->Commit(out);
        m_LastKind = TokenType::Double;
        if (i < last)
            Write(elements[i++], flags);
    }
}

void CToken_binarystreambuf::WriteDoubles(const double* values, std::size_t count, long flags) {
    if (!m_MemoryOut)
        return CToken_streambuf::WriteDoubles(values, count, flags);
    constexpr std::size_t kBatch = 64;
    for (std::size_t i = 0; i < count;) {
        wchar16* out = m_MemoryOut->Room(9 * kBatch);
        for (const std::size_t last = std::min(count, i + kBatch); i < last; ++i)
            out = SpreadDouble(out, values[i], m_KeepAllBytes);
        m_MemoryOut->Commit(out);
        m_LastKind = TokenType::Double;
    }
}

std::size_t CToken_binarystreambuf::ReadDoubles(double* values, std::size_t count) {
    if (!m_MemoryIn || m_TokenPushBackCount > 0)
        return CToken_streambuf::ReadDoubles(values, count);
    const double* const last = values + count;
    double* out = values;
    *out++ = m_Current.GetDouble();
    const wchar16* p = m_MemoryIn->Cur();
    const wchar16* const end = m_MemoryIn->End();
    while (out < last && IsWholeDouble(p, end)) {
        const int length = *p - kDoubleTag;
        *out++ = DoubleOf(p + 1, length);
        p += 1 + length;
    }
    m_MemoryIn->SetCur(p);
    m_AtLineStart = false;
    ReadToken();
    return static_cast<std::size_t>(out - values);
}

void CToken_binarystreambuf::PushIndent(std::uint32_t, wchar16) {
    ++m_IndentLevels;
}

void CToken_binarystreambuf::PopIndent() {
    if (m_IndentLevels > 0)
        --m_IndentLevels;
}

AString& CToken_binarystreambuf::GetIndentString(AString& out) const {
    out.clear();
    return out;
}

void CToken_binarystreambuf::WriteNewLine(bool force) {
    if (!force && m_LastKind == TokenType::Eol)
        return;
    PutTag(TokenType::Eol);
    m_LastKind = TokenType::Eol;
}

int CToken_binarystreambuf::SetWidth(int width) {
    m_KeepAllBytes = width > 0;
    return std::exchange(m_Width, width);
}

void CToken_binarystreambuf::PassStart() {
    if (PeekUnit() == 0)
        TakeUnit();
}

bool CToken_binarystreambuf::TakeByte(int& byte) {
    const int unit = PeekUnit();
    if (unit == kEndOfStream)
        return false;
    byte = unit & 255;
    TakeUnit();
    return true;
}

std::optional<CBinaryRoad> CToken_binarystreambuf::OpenRoad(const BlockKeywords& keywords) const {
    if (!m_MemoryIn || !m_Runs || m_Mode != kBinaryMemoryMode || m_TokenPushBackCount > 0 || m_KeepComments ||
        m_KeepWhiteSpace)
        return {};
    const wchar16* const begin = m_MemoryIn->Cur() - m_MemoryIn->Offset(m_MemoryIn->Cur());
    return CBinaryRoad(keywords, {begin + m_TokenStart, m_LineNumber, m_AtLineStart}, m_MemoryIn->End());
}

void CToken_binarystreambuf::CloseRoad(const RoadPlace& place) {
    m_MemoryIn->SetCur(place.at);
    m_AtLineStart = place.atLineStart;
    ReadToken();
}

void CToken_binarystreambuf::ReadToken() {
    for (;;) {
        m_Current.Clear();
        m_TokenStart = m_MemoryIn ? m_MemoryIn->Offset(m_MemoryIn->Cur()) : m_UnitsRead;
        int byte = 0;
        if (!TakeByte(byte)) {
            m_Current = CToken(TokenType::Eof);
            return;
        }
        const bool longForm = (byte & kLongForm) != 0;
        const int tag = byte & (kLongForm - 1);
        const auto kind = static_cast<TokenType>(tag);
        if (tag > static_cast<int>(TokenType::Error) || IsNumberKind(kind))
            return ReadNumber(tag);
        if (kind == TokenType::Symbol && !longForm) {
            if (TakeByte(byte)) {
                const auto unit = static_cast<wchar16>(byte);
                m_Current = CToken(kind, std::u16string_view(&unit, 1));
            } else {
                m_Current = CToken(TokenType::Eof);
            }
            return;
        }
        if (IsTextKind(kind))
            ReadText(kind, longForm);
        else
            m_Current = CToken(kind);
        if ((kind == TokenType::Comment && !m_KeepComments) ||
            (kind == TokenType::WhiteSpace && !m_KeepWhiteSpace))
            continue;
        return;
    }
}

void CToken_binarystreambuf::ReadText(TokenType kind, bool longForm) {
    std::uint32_t length = 0;
    for (int i = 0; i < (longForm ? 4 : 1); ++i) {
        int byte = 0;
        if (!TakeByte(byte))
            break;
        length |= static_cast<std::uint32_t>(byte) << (8 * i);
    }
    m_Utf8.clear();
    // What is claimed isn't believed: the text grows as it arrives.
    if (m_MemoryIn) {
        const wchar16* units = m_MemoryIn->Cur();
        const auto left = static_cast<std::size_t>(m_MemoryIn->End() - units);
        const std::size_t taken = std::min<std::size_t>(length, left);
        m_MemoryIn->SetCur(units + taken);
        // Most texts are plain: their units are the text already.
        const std::u16string_view text(units, taken);
        if (IsPlain(text)) {
            m_Current = CToken(kind, text);
            return;
        }
        for (std::size_t i = 0; i < taken; ++i)
            m_Utf8 += static_cast<char>(units[i]);
    } else {
        for (int byte = 0; length > 0 && TakeByte(byte); --length)
            m_Utf8 += static_cast<char>(byte);
    }
    std::u16string text;
    AppendUtf16(m_Utf8, text);
    m_Current = CToken(kind, text);
}

void CToken_binarystreambuf::ReadNumber(int tag) {
    if (tag > kUnsignedTag && tag <= kUnsignedTag + 8) {
        const int length = tag - kUnsignedTag;
        TARVOK_ASSERT(length > 0 && length <= 8);
        std::uint32_t value = 0;
        for (int i = 0, byte = 0; i < length && TakeByte(byte); ++i)
            value |= length <= 4 ? static_cast<std::uint32_t>(byte) << (8 * i) : 0;
        m_Current = CToken(UnsignedKind(length), static_cast<double>(value));
    } else if (tag > kSignedTag && tag <= kSignedTag + 8) {
        const int length = tag - kSignedTag;
        TARVOK_ASSERT(length > 0 && length <= 8);
        std::uint32_t value = 0;
        for (int i = 0, byte = 0; i < length && TakeByte(byte); ++i)
            value |= length <= 4 ? static_cast<std::uint32_t>(byte) << (8 * i) : 0;
        m_Current = CToken(SignedKind(length), static_cast<double>(static_cast<std::int32_t>(value)));
    } else if (tag > kDoubleTag && tag <= kDoubleTag + kMostNumberBytes) {
        const int length = tag - kDoubleTag;
        TARVOK_ASSERT(length > 0 && length <= 8);
        std::uint64_t bits = 0;
        for (int i = 8 - length, byte = 0; i < 8 && TakeByte(byte); ++i)
            bits |= static_cast<std::uint64_t>(byte) << (8 * i);
        m_Current = CToken(DoubleKind(length), std::bit_cast<double>(bits));
    } else {
        m_Current = CToken(TokenType::Error);
    }
}

void CToken_binarystreambuf::ReadNumbers(CTokenArray& out) {
    out.push_back(std::move(m_Current));
    m_Current.Clear();
    if (m_MemoryIn && m_Runs && m_TokenPushBackCount == 0)
        m_MemoryIn->SetCur(TakeDoubles(m_MemoryIn->Cur(), m_MemoryIn->End(), out));
    m_AtLineStart = false;
    ReadToken();
}

} // namespace io
