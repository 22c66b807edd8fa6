// The one scalar of the stream library: what streams read and write, what block items hold.
//
// A token is a kind and, by its kind, a number or a text. A number is always held as a double; the kinds
// Short to Hex only say how it was written and how it will be written again, so integers above 2^53 lose
// digits. A number that was read may keep the text it was read from ("source text"). Tokens are 16 bytes and
// cheap to copy: texts of up to 3 characters, and of up to 15 in ASCII, stand in the token, longer ones are
// shared by a plain count, and the source text of an ordinarily spelled number costs nothing beyond the token.
// A token and its copies stay on one thread at a time.
#pragma once

#include <streamio/pool_allocator.h>
#include <stringutils/astring.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace io {

// The numbers travel in the binary form.
enum class TokenType : std::uint8_t {
    Null,
    Short,
    Int,
    Long,
    UnsignedShort,
    UnsignedInt,
    UnsignedLong,
    Double,
    Float,
    Hex,
    True,
    False,
    Keyword,
    SingleQuotedText,
    DoubleQuotedText,
    CData,
    WhiteSpace,
    Comment,
    Symbol,
    Eol,
    Eof,
    Error
};

constexpr bool IsNumberKind(TokenType kind) {
    return kind >= TokenType::Short && kind <= TokenType::Hex;
}
constexpr bool IsBooleanKind(TokenType kind) {
    return kind == TokenType::True || kind == TokenType::False;
}
constexpr bool IsTextKind(TokenType kind) {
    return kind >= TokenType::Keyword && kind <= TokenType::Symbol;
}
constexpr bool IsQuotedKind(TokenType kind) {
    return kind >= TokenType::SingleQuotedText && kind <= TokenType::CData;
}

// The kind's display name, such as "SingleQuotedText".
const char* GetTokenTypeName(TokenType kind);

class CToken {
public:
    // Room in which a text that isn't stored as characters is spelled out.
    static constexpr std::size_t kMostSpelled = 48;
    struct Scratch {
        wchar16 units[kMostSpelled];
    };

    CToken() : CToken(TokenType::Null) {}
    explicit CToken(TokenType kind) : m_Head(static_cast<std::uint64_t>(kind)), m_Bits(0) {}
    CToken(TokenType numberKind, double value) : CToken(numberKind) { m_Number = value; }
    // For text kinds; for the others the text is the source text and the value 0.
    CToken(TokenType kind, std::u16string_view text) : CToken(kind) {
        if (!IsText())
            SetText(text);
        else if (text.size() <= kInlineLength && text.find(u'\0') == text.npos)
            std::copy(text.begin(), text.end(), m_Inline);
        else
            HoldText(text);
    }
    CToken(TokenType kind, const std::u16string& text) : CToken(kind, std::u16string_view(text)) {}
    CToken(TokenType kind, const wchar16* text) : CToken(kind, std::u16string_view(text)) {}
    CToken(TokenType numberKind, double value, std::u16string_view source) : CToken(numberKind, value) {
        SetText(source);
    }

    CToken(const CToken& other) : m_Head(other.m_Head), m_Bits(other.m_Bits) {
        if (IsShared())
            Share();
    }
    CToken(CToken&& other) noexcept : m_Head(std::exchange(other.m_Head, 0)), m_Bits(other.m_Bits) {}
    CToken& operator=(const CToken& other) { return *this = CToken(other); }
    CToken& operator=(CToken&& other) noexcept {
        if (IsShared())
            ReleaseText();
        m_Head = std::exchange(other.m_Head, 0);
        m_Bits = other.m_Bits;
        return *this;
    }
    ~CToken() {
        if (IsShared())
            ReleaseText();
    }

    TokenType GetType() const { return static_cast<TokenType>(m_Head & kKindMask); }
    // Keeps value and text where both kinds are of one class (number, boolean, text); otherwise the token
    // becomes an empty one of the kind.
    void SetType(TokenType kind);

    bool IsNumber() const { return IsNumberKind(GetType()); }
    bool IsText() const { return IsTextKind(GetType()); }
    bool IsQuoted() const { return IsQuotedKind(GetType()); }

    // The value of a number, 0.0 of all other kinds.
    double GetDouble() const { return IsNumber() ? m_Number : 0.0; }

    // Back to Null; the text is released.
    void Clear() { *this = CToken(); }

    // The text of a text kind, the source text of the others, or empty. The view lives as long as the token
    // stays unchanged and the scratch lives.
    std::u16string_view GetText(Scratch& scratch) const { return GetText(scratch.units); }
    // Likewise with room for kMostSpelled characters.
    std::u16string_view GetText(wchar16* room) const {
        return IsShared() ? SharedText() : GetSpelledText(room);
    }
    void GetText(AString& out) const;
    AString GetText() const;
    bool HasText() const;
    // Of a text kind's text in ASCII that stands in the token and takes more than 3 characters; 0 of all others.
    std::size_t GetPackedLength() const {
        return (m_Head & kTextMask) == kPackedText && IsText() ? PackedLength() : 0;
    }

    // Replaces the text, or of a number the source text, which the caller knows to spell the number's value.
    void SetText(std::u16string_view text);
    void DropSourceText();

    // The character of a Symbol or of any inline text of one character, else 0.
    wchar16 GetSymbol() const { return (m_Head & ~kKindMask) == 0 && m_Inline[1] == 0 ? m_Inline[0] : 0; }
    // The first character of a text kind's text, 0 of an empty one.
    wchar16 GetFirstUnit() const {
        return IsShared()                  ? *Shared()
               : (m_Head & kTextMask) == 0 ? m_Inline[0]
                                           : static_cast<wchar16>(m_Head >> 8 & 255);
    }
    bool IsSymbol(wchar16 c) const {
        return m_Head == static_cast<std::uint64_t>(TokenType::Symbol) && m_Inline[0] == c &&
               m_Inline[1] == 0;
    }

    // A number whose spelling is known from its digits: `digits` are all digits of the text as one integer,
    // `exponent` tells the forms 12.5 and 1.25e+01 apart. Every other digit, the sign and the point's place
    // follow from the value. The caller sees to the conditions in CanSpell.
    static CToken SpelledNumber(TokenType kind, double value, std::uint64_t digits, bool exponent) {
        CToken token(kind, value);
        token.m_Head |= digits << kPayloadShift | (exponent ? kExponentSpelling : kPlainSpelling);
        return token;
    }
    static bool CanSpell(std::uint64_t digits, double value) {
        const double size = value < 0 ? -value : value;
        return digits <= kMaxSpelledDigits && (digits == 0 ? size == 0 : size > 1e-290 && size < 1e290);
    }

    // Bytes held outside of the token.
    std::size_t GetTextMemory() const;

    // Equal kinds and equal doubles, or equal kinds and texts. The source text of numbers and booleans
    // doesn't count.
    friend bool operator==(const CToken& a, const CToken& b);

    friend void swap(CToken& a, CToken& b) noexcept {
        std::swap(a.m_Head, b.m_Head);
        std::swap(a.m_Bits, b.m_Bits);
    }

private:
    // The head: 5 bits of kind, 2 bits that say how the text is held, 57 bits by that: a pointer to the
    // shared characters, a number's digits, which letters of a boolean are capitals, or in all but the lowest bit
    // the first of a text's packed characters. Each text is held in the first of the ways that can hold it, so
    // that equal short texts are equal bits.
    static constexpr std::size_t kInlineLength = 3;
    // A byte each: the head's upper seven, then those of the other word.
    static constexpr std::size_t kPackedLength = 15;
    static constexpr std::uint64_t kKindMask = 31;
    static constexpr std::uint64_t kTextMask = 3 << 5;
    static constexpr std::uint64_t kSharedText = 1 << 5;
    static constexpr std::uint64_t kPlainSpelling = 2 << 5;
    static constexpr std::uint64_t kExponentSpelling = 3 << 5;
    static constexpr std::uint64_t kPackedText = 2 << 5; // of text kinds, which have no spelling
    static constexpr unsigned kPayloadShift = 7;
    static constexpr std::uint64_t kMaxSpelledDigits = (std::uint64_t{1} << 57) - 1;

    // Stands in front of shared characters. The share count is the byte directly before the first of them.
    struct TextHeader {
        std::uint32_t length;
        std::uint8_t unused[3];
        std::uint8_t shares;
    };
    static_assert(sizeof(TextHeader) == 8);
    static constexpr std::uint8_t kMostShares = 254;

    bool IsShared() const { return (m_Head & kTextMask) == kSharedText; }
    wchar16* Shared() const { return reinterpret_cast<wchar16*>(m_Head >> kPayloadShift); }
    static std::size_t BlockSize(std::size_t length) {
        return sizeof(TextHeader) + (length + 1) * sizeof(wchar16);
    }
    TextHeader& Header() const { return *(reinterpret_cast<TextHeader*>(Shared()) - 1); }
    std::u16string_view SharedText() const { return {Shared(), Header().length}; }
    std::size_t PackedLength() const {
        const auto bytes = [](std::uint64_t word) {
            return static_cast<std::size_t>(std::bit_width(word) + 7) / 8;
        };
        return m_Bits != 0 ? 7 + bytes(m_Bits) : bytes(m_Head) - 1;
    }
    std::u16string_view GetSpelledText(wchar16* room) const;
    void HoldText(std::u16string_view text);
    void MakeShared(std::u16string_view text);
    void Share() {
        if (TextHeader& header = Header(); header.shares < kMostShares)
            ++header.shares;
        else
            MakeShared(SharedText());
    }
    void ReleaseText() noexcept {
        if (--Header().shares == 0)
            FreeText();
    }
    void FreeText() noexcept;

    std::uint64_t m_Head;
    union {
        std::uint64_t m_Bits;
        double m_Number;
        wchar16 m_Inline[4];
    };
};

static_assert(sizeof(CToken) == 16);

using CTokenArray = std::vector<CToken, PoolAllocator<CToken>>;

} // namespace io
