// Whole items straight into the memory of an output stream. What isn't as usual is left to the operations for single tokens.
#include "binary_number.h"
#include "integer_kind.h"
#include "memory_streambuf.h"
#include "number_text.h"
#include "plain_text.h"
#include "scan_tables.h"

#include <streamio/abstract_stream.h>
#include <streamio/token_binarystreambuf.h>
#include <streamio/token_textstreambuf.h>

#include <algorithm>

namespace io {

namespace {

// So much of an item finds room in the memory's stage: an indentation, a name and the values of a function.
constexpr std::size_t kMostIndent = 256;
constexpr std::size_t kMostText = 120;
constexpr std::size_t kMostValues = 3;
constexpr std::size_t kItemRoom = kMostIndent + (kMostValues + 1) * (kMostText + 8) + CToken::kMostSpelled;
static_assert(kItemRoom <= CMemoryOutBuf::kStage);

std::u16string_view Between(const wchar16* begin, const wchar16* end) {
    return {begin, static_cast<std::size_t>(end - begin)};
}

wchar16* Append(wchar16* out, std::u16string_view text) {
    CopyUnits(text, out);
    return out + text.size();
}

// Null for a text that is too long.
wchar16* SpellText(wchar16* out, const CToken& token) {
    const std::u16string_view text = token.GetText(out);
    if (text.data() != out) {
        if (text.size() > kMostText)
            return nullptr;
        CopyUnits(text, out);
    }
    return out + text.size();
}

// Whether a text is written without quotes, seen at a glance.
bool IsWord(const ScanTables& tables, std::u16string_view text) {
    if (text.empty() || tables.Next(0, text.front()) != 5)
        return false;
    text.remove_prefix(1);
    return IsShortWord(text) ||
           std::all_of(text.begin(), text.end(), [&](wchar16 unit) { return tables.Next(5, unit) == 5; });
}

wchar16* SpellName(const ScanTables& tables, wchar16* out, const CToken& name) {
    wchar16* const end = name.IsText() ? SpellText(out, name) : nullptr;
    if (!end || end == out)
        return nullptr;
    const bool bare =
        name.GetType() == TokenType::Keyword || (name.IsQuoted() && IsWord(tables, Between(out, end)));
    return bare ? end : nullptr;
}

bool IsPrintable(const wchar16* begin, const wchar16* end) {
    const wchar16* at = PassPrintables(begin, end);
    while (at < end && *at >= u' ' && *at < 127 && *at != u'\'' && *at != u'"' && *at != u'\\')
        ++at;
    return at == end;
}

} // namespace

bool CToken_textstreambuf::IsUsual(long flags) const {
    return m_Runs && m_MemoryOut && m_Mode == kMemoryMode && m_AutoFormat && m_Width <= 0 && !m_Hex &&
           (flags & (kFixedFormat | kScientificFormat)) == 0 && m_Precision <= kMostGeneralDigits &&
           m_IndentString.size() <= kMostIndent && m_Grammar->GetScanTables().usualSeparators;
}

// Where an item begins, behind the indentation or what separates it; null if it can't be written so.
wchar16* CToken_textstreambuf::BeginItem(long flags, ItemPlace place) {
    if (!IsUsual(flags) || (place == ItemPlace::Line) != (m_LastKind == TokenType::Eol))
        return nullptr;
    wchar16* out = m_MemoryOut->Room(kItemRoom);
    if (place == ItemPlace::Line)
        return Append(out, m_IndentString);
    if (place == ItemPlace::FirstArg)
        return m_LastKind == TokenType::Symbol ? out : nullptr;
    *out++ = u',';
    *out++ = u' ';
    return out;
}

void CToken_textstreambuf::EndItem(wchar16* end, TokenType last, ItemPlace place) {
    m_LastKind = last;
    if (place == ItemPlace::Line) {
        if (m_WriteCR)
            *end++ = u'\r';
        *end++ = u'\n';
        ++m_LineNumber;
        m_LastKind = TokenType::Eol;
    }
    m_LastCharacter = end[-1];
    m_MemoryOut->Commit(end);
}

// Null for a value that isn't usual.
wchar16* CToken_textstreambuf::SpellValue(wchar16* out, const CToken& value) const {
    const TokenType kind = value.GetType();
    if (IsWrittenInteger(kind, value.GetDouble()))
        return WriteInteger(out, static_cast<std::int64_t>(value.GetDouble()));
    switch (kind) {
    case TokenType::Double: {
        wchar16* const end = SpellText(out, value);
        return end != out ? end : WriteGeneral(out, value.GetDouble(), GetGeneralPrecision());
    }
    case TokenType::True:
    case TokenType::False: {
        const AString& word = kind == TokenType::True ? m_Grammar->GetTrueWord() : m_Grammar->GetFalseWord();
        return word.empty() || word.size() > kMostText ? nullptr : Append(out, word);
    }
    case TokenType::SingleQuotedText:
    case TokenType::DoubleQuotedText: {
        const wchar16 quote = kind == TokenType::SingleQuotedText ? u'\'' : u'"';
        *out++ = quote;
        wchar16* const end = SpellText(out, value);
        if (!end || !IsPrintable(out, end))
            return nullptr;
        *end = quote;
        return end + 1;
    }
    case TokenType::Keyword: {
        wchar16* const end = SpellText(out, value);
        return end != out ? end : nullptr;
    }
    default:
        return nullptr;
    }
}

bool CToken_textstreambuf::WriteValue(const CToken& value, long flags, ItemPlace place) {
    wchar16* out = BeginItem(flags, place);
    if (!out || !(out = SpellValue(out, value)))
        return false;
    EndItem(out, value.GetType(), place);
    return true;
}

bool CToken_textstreambuf::WriteNamedValue(const CToken& name, const CToken& value, long flags,
                                           ItemPlace place) {
    wchar16* out = BeginItem(flags, place);
    if (!out || !(out = SpellName(m_Grammar->GetScanTables(), out, name)))
        return false;
    *out++ = u'=';
    if (!(out = SpellValue(out, value)))
        return false;
    EndItem(out, value.GetType(), place);
    return true;
}

bool CToken_textstreambuf::WriteVec(const CToken& name, const CToken* elements, std::size_t count, long flags,
                                    ItemPlace place) {
    wchar16* out = count > 0 ? BeginItem(flags, place) : nullptr;
    if (!out || !(out = SpellName(m_Grammar->GetScanTables(), out, name)))
        return false;
    *out++ = u'[';
    out = WriteInteger(out, static_cast<std::int64_t>(count));
    *out++ = u':';
    *out++ = u' ';
    EndItem(out, TokenType::WhiteSpace, ItemPlace::FirstArg);
    WriteElements(elements, count, flags);
    out = m_MemoryOut->Room(kItemRoom);
    *out++ = u']';
    EndItem(out, TokenType::Symbol, place);
    return true;
}

bool CToken_textstreambuf::WriteFunc(const CToken& name, const CToken* values, std::size_t count, long flags,
                                     ItemPlace place) {
    wchar16* out = count <= kMostValues ? BeginItem(flags, place) : nullptr;
    if (!out || !(out = SpellName(m_Grammar->GetScanTables(), out, name)))
        return false;
    *out++ = u'(';
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) {
            *out++ = u',';
            *out++ = u' ';
        }
        if (!(out = SpellValue(out, values[i])))
            return false;
    }
    *out++ = u')';
    EndItem(out, TokenType::Symbol, place);
    return true;
}

bool CToken_textstreambuf::WriteFuncBegin(const CToken& name, long flags, ItemPlace place) {
    wchar16* out = BeginItem(flags, place);
    if (!out || !(out = SpellName(m_Grammar->GetScanTables(), out, name)))
        return false;
    *out++ = u'(';
    EndItem(out, TokenType::Symbol, ItemPlace::FirstArg);
    return true;
}

bool CToken_textstreambuf::WriteFuncEnd(long flags, ItemPlace place) {
    if (!IsUsual(flags) || m_LastKind == TokenType::Eol)
        return false;
    wchar16* out = m_MemoryOut->Room(kItemRoom);
    *out++ = u')';
    EndItem(out, TokenType::Symbol, place);
    return true;
}

bool CToken_textstreambuf::WriteBlockEdge(std::u16string_view keyword, std::u16string_view name) {
    const ScanTables& tables = m_Grammar->GetScanTables();
    if (keyword.size() > kMostText || name.size() > kMostText || !IsWord(tables, keyword) ||
        !IsWord(tables, name))
        return false;
    wchar16* out = BeginItem(0, ItemPlace::Line);
    if (!out)
        return false;
    out = Append(out, keyword);
    *out++ = u' ';
    EndItem(Append(out, name), TokenType::Keyword, ItemPlace::Line);
    return true;
}

namespace {

// Null for a text that is long or holds characters above 127.
wchar16* SpreadText(wchar16* out, TokenType kind, const CToken& token) {
    wchar16* const first = out + 2;
    wchar16* const end = SpellText(first, token);
    if (!end || !IsPlain(Between(first, end)))
        return nullptr;
    out[0] = Tag(kind);
    out[1] = static_cast<wchar16>(end - first);
    return end;
}

wchar16* SpreadName(wchar16* out, const CToken& name) {
    const TokenType kind = name.GetType();
    if (kind != TokenType::Keyword && !(name.IsQuoted() && name.HasText()))
        return nullptr;
    wchar16* const end =
        SpreadText(out, kind == TokenType::Keyword ? kind : TokenType::SingleQuotedText, name);
    // A quoted name of blanks only is another matter.
    return kind == TokenType::Keyword || !end || end[-1] > u' ' ? end : nullptr;
}

wchar16* SpreadInteger(wchar16* out, bool isSigned, double value) {
    const auto bits = static_cast<std::uint32_t>(static_cast<std::int64_t>(value));
    const int length = value < 0 ? 4 : TrimmedIntegerLength(bits);
    *out++ = static_cast<wchar16>((isSigned ? kSignedTag : kUnsignedTag) + length);
    SpreadBytes(out, bits);
    return out + length;
}

wchar16* SpreadValue(wchar16* out, const CToken& value) {
    const TokenType kind = value.GetType();
    if (IsWrittenInteger(kind, value.GetDouble()))
        return SpreadInteger(out, kind <= TokenType::Long, value.GetDouble());
    if (value.IsNumber())
        return SpreadDouble(out, value.GetDouble(), false);
    switch (kind) {
    case TokenType::True:
    case TokenType::False:
        *out = Tag(kind);
        return out + 1;
    case TokenType::Keyword:
    case TokenType::SingleQuotedText:
    case TokenType::DoubleQuotedText:
        return SpreadText(out, kind, value);
    default:
        return nullptr;
    }
}

wchar16* SpreadSymbol(wchar16* out, wchar16 symbol) {
    out[0] = Tag(TokenType::Symbol);
    out[1] = symbol;
    return out + 2;
}

} // namespace

// The room for an item; null where items are not to be written so.
wchar16* CToken_binarystreambuf::BeginItem() {
    return m_Runs && m_MemoryOut && !m_KeepAllBytes ? m_MemoryOut->Room(kItemRoom) : nullptr;
}

void CToken_binarystreambuf::EndItem(wchar16* end, TokenType last, ItemPlace place) {
    m_LastKind = last;
    if (place == ItemPlace::Line)
        m_LastKind = static_cast<TokenType>(*end++ = Tag(TokenType::Eol));
    m_MemoryOut->Commit(end);
}

bool CToken_binarystreambuf::WriteValue(const CToken& value, long, ItemPlace place) {
    wchar16* out = BeginItem();
    if (!out || !(out = SpreadValue(out, value)))
        return false;
    EndItem(out, value.GetType(), place);
    return true;
}

bool CToken_binarystreambuf::WriteNamedValue(const CToken& name, const CToken& value, long, ItemPlace place) {
    wchar16* out = BeginItem();
    if (!out || !(out = SpreadName(out, name)) || !(out = SpreadValue(SpreadSymbol(out, u'='), value)))
        return false;
    EndItem(out, value.GetType(), place);
    return true;
}

bool CToken_binarystreambuf::WriteVec(const CToken& name, const CToken* elements, std::size_t count,
                                      long flags, ItemPlace place) {
    wchar16* out = BeginItem();
    if (!out || !(out = SpreadName(out, name)))
        return false;
    out = SpreadInteger(SpreadSymbol(out, u'['), false, static_cast<double>(count));
    m_MemoryOut->Commit(SpreadSymbol(out, u':'));
    WriteElements(elements, count, flags);
    EndItem(SpreadSymbol(BeginItem(), u']'), TokenType::Symbol, place);
    return true;
}

bool CToken_binarystreambuf::WriteFunc(const CToken& name, const CToken* values, std::size_t count, long,
                                       ItemPlace place) {
    wchar16* out = count <= kMostValues ? BeginItem() : nullptr;
    if (!out || !(out = SpreadName(out, name)))
        return false;
    out = SpreadSymbol(out, u'(');
    for (std::size_t i = 0; i < count; ++i) {
        if (!(out = SpreadValue(out, values[i])))
            return false;
    }
    EndItem(SpreadSymbol(out, u')'), TokenType::Symbol, place);
    return true;
}

bool CToken_binarystreambuf::WriteFuncBegin(const CToken& name, long, ItemPlace) {
    wchar16* out = BeginItem();
    if (!out || !(out = SpreadName(out, name)))
        return false;
    EndItem(SpreadSymbol(out, u'('), TokenType::Symbol, ItemPlace::FirstArg);
    return true;
}

bool CToken_binarystreambuf::WriteFuncEnd(long, ItemPlace place) {
    wchar16* const out = BeginItem();
    if (!out)
        return false;
    EndItem(SpreadSymbol(out, u')'), TokenType::Symbol, place);
    return true;
}

bool CToken_binarystreambuf::WriteBlockEdge(std::u16string_view keyword, std::u16string_view name) {
    wchar16* out = keyword.size() <= kMostText && name.size() <= kMostText ? BeginItem() : nullptr;
    if (!out)
        return false;
    for (const std::u16string_view word : {keyword, name}) {
        out[0] = Tag(TokenType::Keyword);
        out[1] = static_cast<wchar16>(word.size());
        if (!CopyPlain(word, out + 2))
            return false;
        out += 2 + word.size();
    }
    EndItem(out, TokenType::Eol, ItemPlace::Line);
    return true;
}

} // namespace io
