// The writing half of the text buffer.
#include "integer_kind.h"
#include "memory_streambuf.h"
#include "number_text.h"
#include "scan_tables.h"

#include <streamio/abstract_stream.h>
#include <streamio/token_textstreambuf.h>

#include <cmath>

namespace io {

namespace {

constexpr int kDefaultPrecision = 6;
// Beyond this many a number's digits are zeros.
constexpr int kMostPrecision = 1100;

NumberStyle StyleOf(long flags) {
    switch (flags & (kFixedFormat | kScientificFormat)) {
    case kFixedFormat:
        return NumberStyle::Fixed;
    case kScientificFormat:
        return NumberStyle::Scientific;
    default:
        return NumberStyle::General;
    }
}

bool IsControl(wchar16 ch) {
    return ch < u' ' || ch == 127;
}

} // namespace

CToken_textstreambuf::CToken_textstreambuf(CharBuf* stream, const CBase_grammar* grammar,
                                           const std::locale* locale, std::uint32_t flags)
    : CToken_streambuf(stream), m_Grammar(grammar) {
    m_Mode = kBytesMode;
    if (locale) {
        m_Mode = kLocaleMode;
        m_Locale = *locale;
    }
    m_WriteCR = (flags & kWriteCR) != 0;
    m_KeepSourceText = (flags & kDropSourceText) == 0;
}

void CToken_textstreambuf::Put(wchar16 ch) {
    m_LastCharacter = ch;
    if (m_MemoryOut && m_Mode != kBytesMode) [[likely]]
        return m_MemoryOut->Put(ch);
    if (m_Mode != kBytesMode || ch < 128) {
        PutUnit(ch);
    } else if (ch < 0x800) {
        PutUnit(static_cast<wchar16>(0xC0 | ch >> 6));
        PutUnit(static_cast<wchar16>(0x80 | (ch & 0x3F)));
    } else {
        PutUnit(static_cast<wchar16>(0xE0 | ch >> 12));
        PutUnit(static_cast<wchar16>(0x80 | (ch >> 6 & 0x3F)));
        PutUnit(static_cast<wchar16>(0x80 | (ch & 0x3F)));
    }
}

void CToken_textstreambuf::Put(std::u16string_view text) {
    if (text.empty())
        return;
    if (m_MemoryOut && m_Mode != kBytesMode) {
        m_MemoryOut->Append(text.data(), text.size());
        m_LastCharacter = text.back();
        return;
    }
    for (const wchar16 ch : text)
        Put(ch);
}

void CToken_textstreambuf::SeparateFrom(TokenType last, TokenType kind, wchar16 first) {
    const auto blank = [this](bool needed) {
        if (needed)
            Put(u' ');
    };
    if (kind == TokenType::Eol)
        return;
    if (last == TokenType::Eol)
        return Put(m_IndentString);
    if (last == TokenType::WhiteSpace || kind == TokenType::WhiteSpace || !m_AutoFormat)
        return;
    if (kind == TokenType::Symbol) {
        if (IsNumberKind(last))
            blank(HasFlag(first, kPointFlag));
        else if (last == TokenType::Keyword)
            blank(HasFlag(first, kIdentFlag));
    } else if (kind == TokenType::Comment) {
        blank(true);
    } else if (IsNumberKind(kind)) {
        if (last != TokenType::Symbol)
            blank(true);
        else if (HasFlag(m_LastCharacter, kPointFlag))
            blank(!HasFlag(first, kPointFlag));
        else if (HasFlag(m_LastCharacter, kSignFlag))
            blank(!HasFlag(first, kSignFlag));
    } else {
        blank(last != TokenType::Symbol);
    }
}

void CToken_textstreambuf::Separate(TokenType kind, wchar16 first) {
    SeparateFrom(m_LastKind, kind, first);
}

void CToken_textstreambuf::PutToken(TokenType kind, std::u16string_view text) {
    Separate(kind, text.empty() ? u'\0' : text.front());
    Put(text);
    m_LastKind = kind;
}

void CToken_textstreambuf::PutQuoted(std::u16string_view text, wchar16 quote) {
    if (!m_AutoFormat)
        return Put(text);
    Put(quote);
    std::size_t done = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const wchar16 ch = text[i];
        if (ch != quote && ch != u'\\' && !IsControl(ch))
            continue;
        Put(text.substr(done, i - done));
        Put(u'\\');
        // A line end is one LF, whatever it was.
        if (ch == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            ++i;
        Put(text[i]);
        done = i + 1;
    }
    Put(text.substr(done));
    Put(quote);
}

void CToken_textstreambuf::PutNumber(TokenType kind, std::u16string_view text) {
    if (m_Width > 0 && text.size() < static_cast<std::size_t>(m_Width)) {
        AString padded(std::u16string(static_cast<std::size_t>(m_Width) - text.size(), m_Fill));
        padded += text;
        PutToken(kind, padded);
        return;
    }
    PutToken(kind, text);
}

void CToken_textstreambuf::PutInteger(TokenType kind, std::int64_t value, int bits) {
    wchar16 digits[24];
    if (m_Hex) {
        const std::uint64_t mask = bits < 64 ? (std::uint64_t{1} << bits) - 1 : ~std::uint64_t{0};
        const wchar16* end = WriteHex(digits, static_cast<std::uint64_t>(value) & mask);
        AString text(m_Grammar->GetHexPrefix());
        const std::size_t count = static_cast<std::size_t>(end - digits);
        if (m_Width > 0 && count < static_cast<std::size_t>(m_Width))
            text.append(static_cast<std::size_t>(m_Width) - count, m_Fill);
        text.append(digits, count);
        PutToken(kind, text);
        return;
    }
    const wchar16* end = WriteInteger(digits, value);
    PutNumber(kind, {digits, static_cast<std::size_t>(end - digits)});
}

int CToken_textstreambuf::GetGeneralPrecision() const {
    return std::max(m_Precision < 0 ? kDefaultPrecision : std::min(m_Precision, kMostPrecision), 1);
}

void CToken_textstreambuf::Write(double value, long flags) {
    const NumberStyle style = StyleOf(flags);
    int precision = m_Precision < 0 ? kDefaultPrecision : std::min(m_Precision, kMostPrecision);
    if (style == NumberStyle::General) {
        precision = GetGeneralPrecision();
        if (precision <= kMostGeneralDigits) {
            wchar16 digits[48];
            const wchar16* end = WriteGeneral(digits, value, precision);
            PutNumber(TokenType::Double, {digits, static_cast<std::size_t>(end - digits)});
            return;
        }
    }
    const std::string text = FormatNumber(value, style, precision);
    PutNumber(TokenType::Double, std::u16string(text.begin(), text.end()));
}

void CToken_textstreambuf::Write(float value, long flags) {
    Write(static_cast<double>(value), flags);
    m_LastKind = TokenType::Float;
}

void CToken_textstreambuf::Write(unsigned long value, long) {
    if (m_Hex || value <= 0x7FFFFFFFFFFFFFFF) {
        PutInteger(TokenType::UnsignedLong, static_cast<std::int64_t>(value), 64);
        return;
    }
    wchar16 digits[24];
    PutNumber(TokenType::UnsignedLong,
              {digits, static_cast<std::size_t>(WriteUnsigned(digits, value) - digits)});
}

void CToken_textstreambuf::Write(long value, long) {
    const bool narrow = value >= -2147483648L && value <= 2147483647L;
    PutInteger(TokenType::Long, value, narrow ? 32 : 64);
}

void CToken_textstreambuf::Write(unsigned int value, long) {
    PutInteger(TokenType::UnsignedInt, value, 32);
}
void CToken_textstreambuf::Write(int value, long) {
    PutInteger(TokenType::Int, value, 32);
}
void CToken_textstreambuf::Write(short value, long) {
    PutInteger(TokenType::Short, value, 16);
}
void CToken_textstreambuf::Write(unsigned short value, long) {
    PutInteger(TokenType::UnsignedShort, value, 16);
}

void CToken_textstreambuf::Write(bool value) {
    PutToken(value ? TokenType::True : TokenType::False,
             value ? m_Grammar->GetTrueWord() : m_Grammar->GetFalseWord());
}

void CToken_textstreambuf::Write(wchar16 ch) {
    const ScanTables& tables = m_Grammar->GetScanTables();
    if (ch < 256 && tables.tokenShape && tables.next[0][ch] == 3) { // a symbol by itself
        Separate(TokenType::Symbol, ch);
        Put(ch);
        m_LastKind = TokenType::Symbol;
        return;
    }
    Write(ch == 0 ? std::u16string_view() : std::u16string_view(&ch, 1));
}
void CToken_textstreambuf::WriteChar(wchar16 ch) {
    Write(ch);
}
void CToken_textstreambuf::WriteKeyword(std::u16string_view text) {
    Write(text);
}

void CToken_textstreambuf::Write(std::u16string_view text) {
    std::size_t length = 0;
    const TokenType kind = m_Grammar->ScanToken(text, length);
    if (length == text.size() && kind != TokenType::Eof && kind != TokenType::Error) {
        PutToken(kind, text);
    } else {
        Separate(TokenType::SingleQuotedText, u'\'');
        PutQuoted(text, u'\'');
        m_LastKind = TokenType::SingleQuotedText;
    }
}

void CToken_textstreambuf::WriteQuoted(std::u16string_view text) {
    std::size_t length = 0;
    const TokenType kind = m_Grammar->ScanToken(text, length);
    if (length == text.size() && IsQuotedKind(kind)) {
        PutToken(kind, text);
    } else {
        Separate(TokenType::SingleQuotedText, u'\'');
        PutQuoted(text, u'\'');
        m_LastKind = TokenType::SingleQuotedText;
    }
}

void CToken_textstreambuf::Write(const CToken& token, long flags) {
    CToken::Scratch scratch;
    const TokenType kind = token.GetType();
    const double value = token.GetDouble();
    switch (kind) {
    case TokenType::True:
    case TokenType::False:
        return Write(kind == TokenType::True);
    case TokenType::SingleQuotedText:
    case TokenType::DoubleQuotedText: {
        const wchar16 quote = kind == TokenType::SingleQuotedText ? u'\'' : u'"';
        Separate(kind, quote);
        PutQuoted(token.GetText(scratch), quote);
        m_LastKind = kind;
        return;
    }
    case TokenType::CData:
        return PutCData(token);
    case TokenType::Eol:
        return WriteNewLine(true);
    default:
        break;
    }
    if (const std::u16string_view text = token.GetText(scratch); !text.empty())
        return PutToken(kind, text);
    if (IsWrittenInteger(kind, value)) {
        switch (kind) {
        case TokenType::Short:
            return Write(static_cast<short>(value), flags);
        case TokenType::Int:
            return Write(static_cast<int>(value), flags);
        case TokenType::Long:
            return Write(static_cast<long>(value), flags);
        case TokenType::UnsignedShort:
            return Write(static_cast<unsigned short>(value), flags);
        case TokenType::UnsignedInt:
            return Write(static_cast<unsigned int>(value), flags);
        default:
            return Write(static_cast<unsigned long>(value), flags);
        }
    }
    switch (kind) {
    case TokenType::Float:
        return Write(static_cast<float>(value), flags);
    case TokenType::Hex:
        if (value >= -2147483648.0 && value <= 4294967295.0) {
            const bool former = SetHex(true);
            if (value < 0)
                Write(static_cast<int>(value), flags);
            else
                Write(static_cast<unsigned int>(value), flags);
            SetHex(former);
            m_LastKind = TokenType::Hex;
            return;
        }
        break;
    case TokenType::WhiteSpace:
        return PutToken(kind, u" ");
    default:
        if (token.IsNumber())
            break;
        m_LastKind = TokenType::Null;
        m_LastCharacter = 0;
        return;
    }
    Write(value, flags);
}

void CToken_textstreambuf::WriteElements(const CToken* elements, std::size_t count, long flags) {
    const bool usual = IsUsual(flags);
    const int precision = GetGeneralPrecision();
    for (std::size_t i = 0; i < count; ++i) {
        const CToken& token = elements[i];
        // What stands in front is a blank, so a number needs no separator.
        if (usual && m_LastKind == (i == 0 ? TokenType::WhiteSpace : TokenType::Double) && token.IsNumber()) {
            CToken::Scratch scratch;
            const std::u16string_view text = token.GetText(scratch);
            const bool integer =
                text.empty() && token.GetType() == TokenType::Int && std::fabs(token.GetDouble()) < 2e9;
            if (!text.empty() || integer || token.GetType() == TokenType::Double) {
                if (text.size() < 256) {
                    wchar16* out = m_MemoryOut->Room(2 + 256);
                    if (i > 0) {
                        *out++ = u',';
                        *out++ = u' ';
                    }
                    if (!text.empty())
                        out = std::copy(text.begin(), text.end(), out);
                    else if (integer)
                        out = WriteInteger(out, static_cast<std::int64_t>(token.GetDouble()));
                    else
                        out = WriteGeneral(out, token.GetDouble(), precision);
                    m_MemoryOut->Commit(out);
                    m_LastCharacter = out[-1];
                    m_LastKind = TokenType::Double; // any number kind: they separate alike
                    continue;
                }
            }
        }
        if (i > 0) {
            WriteChar(u',');
            WriteChar(u' ');
        }
        Write(token, flags);
        if (IsNumberKind(m_LastKind))
            m_LastKind = TokenType::Double;
    }
}

void CToken_textstreambuf::PutCData(const CToken& token) {
    CToken::Scratch scratch;
    const std::u16string_view text = token.GetText(scratch);
    PutToken(TokenType::Keyword, m_Grammar->GetCDataBeginWord());
    // The begin word is kept apart from the text as a word from the text's first token.
    std::size_t length = 0;
    SeparateFrom(m_Grammar->ScanToken(text, length), TokenType::Keyword, u'$');
    for (const wchar16 ch : text) {
        Put(ch);
        m_LineNumber += HasFlag(ch, kLineEndFlag) ? 1 : 0;
    }
    const TokenType last = HasFlag(m_LastCharacter, kLineEndFlag) ? TokenType::Eol
                           : HasFlag(m_LastCharacter, kSpaceFlag) ? TokenType::WhiteSpace
                                                                  : TokenType::Keyword;
    SeparateFrom(last, TokenType::Keyword, u'$');
    Put(m_Grammar->GetCDataEndWord());
    m_LastKind = TokenType::Keyword;
}

void CToken_textstreambuf::WriteComment(const wchar16* text) {
    const wchar16 mark = m_Grammar->GetFirstCommentChar();
    if (mark == 0)
        return WriteNewLine(false);
    Separate(TokenType::Comment, mark);
    Put(mark);
    Put(u' ');
    if (text)
        Put(std::u16string_view(text));
    m_LastKind = TokenType::Comment;
    WriteNewLine(true);
}

void CToken_textstreambuf::WriteNewLine(bool force) {
    if (!force && m_LastKind == TokenType::Eol)
        return;
    if (m_WriteCR)
        Put(u'\r');
    Put(u'\n');
    ++m_LineNumber;
    m_LastKind = TokenType::Eol;
}

void CToken_textstreambuf::PushIndent(std::uint32_t count, wchar16 ch) {
    m_IndentStack.push_back(count);
    m_IndentString.append(count, ch);
}

void CToken_textstreambuf::PopIndent() {
    if (m_IndentStack.empty())
        return;
    m_IndentString.resize(m_IndentString.size() - m_IndentStack.back());
    m_IndentStack.pop_back();
}

std::size_t CToken_textstreambuf::GetIndentLevels() const {
    return m_IndentStack.size();
}

AString& CToken_textstreambuf::GetIndentString(AString& out) const {
    out = m_IndentString;
    return out;
}

void CToken_textstreambuf::MakeState(CAbstract_stream_pos& pos) {
    pos.mState = refptr<CAbstract_stream_state>(new CToken_textstream_state);
}

void CToken_textstreambuf::SaveState(CAbstract_stream_pos& pos) {
    auto& state = pos.OwnState<CToken_textstream_state>();
    CToken_streambuf::SaveState(pos);
    state.indentStack = m_IndentStack;
    state.indentString = m_IndentString;
}

void CToken_textstreambuf::RestoreState(const CAbstract_stream_pos& pos) {
    CToken_streambuf::RestoreState(pos);
    const auto* state = dynamic_cast<const CToken_textstream_state*>(pos.mState.Get());
    m_IndentStack = state ? state->indentStack : std::vector<std::uint32_t>();
    m_IndentString = state ? state->indentString : AString();
}

} // namespace io
