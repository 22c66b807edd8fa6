#include "number_text.h"
#include "plain_text.h"

#include <streamio/pool_allocator.h>
#include <streamio/token.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace io {

namespace {

constexpr std::u16string_view kTrueWord = u"true";
constexpr std::u16string_view kFalseWord = u"false";

std::u16string_view BooleanWord(TokenType kind) {
    return kind == TokenType::True ? kTrueWord : kFalseWord;
}

// Which letters of a boolean's word stand as capitals; false if `text` isn't that word.
bool CapitalsOf(std::u16string_view text, std::u16string_view word, std::uint64_t& capitals) {
    if (text.size() != word.size())
        return false;
    capitals = 0;
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (text[i] == word[i] - 32)
            capitals |= std::uint64_t{1} << i;
        else if (text[i] != word[i])
            return false;
    }
    return true;
}

} // namespace

const char* GetTokenTypeName(TokenType kind) {
    static constexpr std::array kNames = {"Null",
                                          "Short",
                                          "Int",
                                          "Long",
                                          "UnsignedShort",
                                          "UnsignedInt",
                                          "UnsignedLong",
                                          "Double",
                                          "Float",
                                          "Hex",
                                          "True",
                                          "False",
                                          "Keyword",
                                          "SingleQuotedText",
                                          "DoubleQuotedText",
                                          "CData",
                                          "WhiteSpace",
                                          "Comment",
                                          "Symbol",
                                          "Eol",
                                          "Eof",
                                          "Error"};
    static_assert(kNames.size() == static_cast<std::size_t>(TokenType::Error) + 1);
    const auto index = static_cast<std::size_t>(kind);
    return index < kNames.size() ? kNames[index] : "";
}

void CToken::MakeShared(std::u16string_view text) {
    if (text.size() > 0xFFFFFFFF)
        throw std::length_error("a token's text holds at most 4294967295 characters");
    auto* header =
        new (PoolAllocate(BlockSize(text.size()))) TextHeader{static_cast<std::uint32_t>(text.size()), {}, 1};
    auto* units = reinterpret_cast<wchar16*>(header + 1);
    std::memcpy(units, text.data(), text.size() * sizeof(wchar16));
    units[text.size()] = 0;
    if (IsText())
        m_Bits = text.size();
    m_Head = (m_Head & kKindMask) | kSharedText | reinterpret_cast<std::uint64_t>(units) << kPayloadShift;
}

// The text of a text kind that is too long or too unusual for the inline characters.
void CToken::HoldText(std::u16string_view text) {
    const wchar16* const units = text.data();
    const std::size_t size = text.size();
    if (size <= kInlineLength || size > kPackedLength || !IsPlain(text))
        return MakeShared(text);
    std::uint64_t front = 0;
    std::uint64_t back = 0; // the last characters, some of which may be among those at the front
    std::uint64_t ones = 0x0101010101010101;
    if (size >= 8) {
        front = GatherBytes(units);
        back = GatherBytes(units + size - 8);
    } else {
        front = GatherFour(units);
        back = GatherFour(units + size - 4);
        ones >>= 32;
    }
    if ((((front - ones) | (back - ones)) & ones << 7) != 0) // a zero among them
        return MakeShared(text);
    if (size >= 8) {
        m_Head |= kPackedText | front << 8;
        m_Bits = front >> 56 | back >> 8 >> 8 * (15 - size) << 8;
    } else {
        m_Head |= kPackedText | (front | back << 8 * (size - 4)) << 8;
    }
}

void CToken::FreeText() noexcept {
    TextHeader& header = Header();
    PoolFree(&header, BlockSize(header.length));
}

void CToken::SetType(TokenType kind) {
    const TokenType old = GetType();
    const bool alike =
        (IsNumberKind(old) && IsNumberKind(kind)) || (IsTextKind(old) && IsTextKind(kind)) || old == kind;
    if (alike)
        m_Head = (m_Head & ~kKindMask) | static_cast<std::uint64_t>(kind);
    else
        *this = CToken(kind);
}

void CToken::SetText(std::u16string_view text) {
    CToken token(GetType());
    if (IsText()) {
        token = CToken(GetType(), text);
    } else {
        std::uint64_t payload = 0;
        bool exponent = false;
        if (IsNumber()) {
            token.m_Number = m_Number;
            if (ReadSpelling(text, payload, exponent) && CanSpell(payload, m_Number) &&
                SpellNumber(payload, m_Number, exponent).View() == text)
                token = SpelledNumber(GetType(), m_Number, payload, exponent);
            else if (!text.empty())
                token.MakeShared(text);
        } else if (IsBooleanKind(GetType()) && CapitalsOf(text, BooleanWord(GetType()), payload)) {
            token.m_Head |= kPlainSpelling | payload << kPayloadShift;
        } else if (!text.empty()) {
            token.MakeShared(text);
        }
    }
    *this = std::move(token);
}

void CToken::DropSourceText() {
    if (IsText())
        return;
    if (IsShared())
        ReleaseText();
    m_Head &= kKindMask;
}

std::u16string_view CToken::GetSpelledText(wchar16* room) const {
    if ((m_Head & kTextMask) == 0) {
        if (!IsText())
            return {};
        // Copied out, so that the view outlives a move of the token into the place of another.
        std::memcpy(room, m_Inline, sizeof m_Inline);
        return {room, std::char_traits<wchar16>::length(room)};
    }
    if (IsText()) {
        SpreadBytes(room, m_Head >> 8 | m_Bits << 56);
        SpreadBytes(room + 8, m_Bits >> 8);
        return {room, PackedLength()};
    }
    const std::uint64_t payload = m_Head >> kPayloadShift;
    if (IsNumber()) {
        const NumberText text = SpellNumber(payload, m_Number, (m_Head & kTextMask) == kExponentSpelling);
        std::memcpy(room, text.units, text.length * sizeof(wchar16));
        return {room, text.length};
    }
    const std::u16string_view word = BooleanWord(GetType());
    for (std::size_t i = 0; i < word.size(); ++i)
        room[i] = static_cast<wchar16>(word[i] - ((payload >> i & 1) != 0 ? 32 : 0));
    return {room, word.size()};
}

void CToken::GetText(AString& out) const {
    Scratch scratch;
    const std::u16string_view text = GetText(scratch);
    out.assign(text.data(), text.size());
}

AString CToken::GetText() const {
    AString text;
    GetText(text);
    return text;
}

bool CToken::HasText() const {
    if ((m_Head & kTextMask) != 0)
        return !IsShared() || Header().length > 0;
    return IsText() && m_Inline[0] != 0;
}

std::size_t CToken::GetTextMemory() const {
    return IsShared() ? BlockSize(Header().length) : 0;
}

bool operator==(const CToken& a, const CToken& b) {
    if (a.GetType() != b.GetType())
        return false;
    if (a.IsNumber())
        return a.m_Number == b.m_Number;
    if (IsBooleanKind(a.GetType()))
        return true;
    if (a.m_Head == b.m_Head && (a.IsShared() || a.m_Bits == b.m_Bits))
        return true;
    if (a.IsText() && !(a.IsShared() && b.IsShared())) // held in one way only
        return false;
    CToken::Scratch scratchA;
    CToken::Scratch scratchB;
    return a.GetText(scratchA) == b.GetText(scratchB);
}

} // namespace io
