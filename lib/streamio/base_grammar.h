// Grammars: what a token is, as tables.
//
// A grammar gives each 16-bit character flags, turns a character into a class by the scanner's state
// (`Classify`), and gives for each state and class the next state. States 0 to 31 go on, states from 32 on
// end a token; the type table tells which kind. The text buffer runs these tables, and asks `ScanToken`
// whether a text may stand as it is.
//
// Two grammars exist: CToken_grammar, the full one of stored blocks, and CDelimiter_grammar, in which
// everything between delimiters is a word or a number. A class of one's own may change flags, tables and
// classification.
//
// Order of calls: construct; change the character sets; give it to streams. From the first stream on a
// grammar is only read, and any number of threads may read it. The default grammars refuse every change (an
// assertion).
#pragma once

#include <streamio/token.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

namespace io {

inline constexpr int kScanStates = 49;
inline constexpr int kScanClasses = 22;
inline constexpr int kRunningStates = 32; // from here on a state ends a token
inline constexpr int kInvalidState = 32;
inline constexpr int kCharMax = 65536;
inline constexpr int kEndOfStream = 65535; // as a character

// Flags of a character.
enum CharFlag : std::uint32_t {
    kLineEndFlag = 0x2,
    kIdentStartFlag = 0x8,
    kIdentFlag = 0x10,
    kZeroFlag = 0x20,
    kDigitFlag = 0x40,
    kSpaceFlag = 0x80,
    kSignFlag = 0x100,
    kMinusFlag = 0x200,
    kPointFlag = 0x400,
    kCommentFlag = 0x800,
    kDoubleQuoteFlag = 0x1000,
    kSingleQuoteFlag = 0x2000,
    kExponentFlag = 0x4000,
    kHexMarkFlag = 0x8000,
    kHexDigitFlag = 0x10000,
    kBackslashFlag = 0x20000,
    kCarriageReturnFlag = 0x40000,
    kDollarFlag = 0x80000,
    kDelimiterFlag = 0x100000
};

// The columns of the transition table.
enum CharClass : int {
    kOtherClass,
    kInvalidClass,
    kLineEndClass,
    kEndOfStreamClass,
    kIdentStartClass,
    kIdentClass,
    kZeroClass,
    kDigitClass,
    kSpaceClass,
    kSignClass,
    kUnusedClass,
    kPointClass,
    kCommentClass,
    kDoubleQuoteClass,
    kSingleQuoteClass,
    kExponentClass,
    kHexMarkClass,
    kHexDigitClass,
    kBackslashClass,
    kCarriageReturnClass,
    kDollarClass,
    kDelimiterClass
};

// What states have in common.
enum StateCategory : std::uint8_t {
    kNoCategory,
    kCommentCategory,
    kSpaceCategory,
    kIdentCategory,
    kQuoteCategory,
    kCDataCategory,
    kNumberCategory,
    kHexCategory
};

// What the text buffer does on entering a state. An action of the second group completes a token.
enum class ScanAction : std::uint8_t {
    None,
    AppendIfComments,
    AppendIfSpace,
    Append,
    Consume,
    AppendLineEnd,
    AppendEscaped,
    Identifier,
    CDataEnd,
    AppendCased,

    Invalid,
    Eol,
    Eof,
    Symbol,
    Keyword,
    WordOrSymbol,
    Double,
    Int,
    SingleQuoted,
    DoubleQuoted,
    CData,
    Comment,
    Space,
    SymbolBackOne,
    DoubleBackOne,
    DoubleBackTwo,
    ShortBackOne,
    Hex
};

using TransitionTable = std::array<std::array<std::int32_t, kScanClasses>, kScanStates>;
using ActionTable = std::array<ScanAction, kScanStates>;
using TypeTable = std::array<TokenType, kScanStates>;
using CategoryTable = std::array<std::uint8_t, kScanStates>;

struct ScanTables;

class CBase_grammar {
public:
    virtual ~CBase_grammar();
    CBase_grammar(const CBase_grammar&) = delete;
    CBase_grammar& operator=(const CBase_grammar&) = delete;

    // Each character of the text begins a comment from now on. A default grammar asserts and stays as it is,
    // here and in all operations that change a grammar.
    virtual void AddCommentChars(const wchar16* characters);
    virtual void RemoveCommentChars(const wchar16* characters);

    // The class of `ch` in `state`; kEndOfStream stands for the end of the stream.
    virtual int Classify(int ch, int state) const = 0;

    virtual void InitCharClasses();
    virtual void InitTransitions();

    // The kind of the token that the text begins with. `end` is left where it ends: a text is exactly one
    // token if `end` stands at its terminator. A text whose terminator would be inside the token gives Error.
    TokenType ScanToken(const wchar16* text, const wchar16*& end) const;
    // The same over counted characters, which may hold zeros. `length` is where the token ends.
    TokenType ScanToken(std::u16string_view text, std::size_t& length) const;

    const AString& GetTrueWord() const { return m_TrueWord; }
    const AString& GetFalseWord() const { return m_FalseWord; }
    const AString& GetCDataBeginWord() const { return m_CDataBeginWord; }
    const AString& GetCDataEndWord() const { return m_CDataEndWord; }
    const AString& GetHexPrefix() const { return m_HexPrefix; }
    wchar16 GetFirstCommentChar() const { return m_FirstComment; }

    const ActionTable& GetActions() const { return m_Actions; }
    const TransitionTable& GetTransitions() const { return m_Transitions; }
    const TypeTable& GetTypes() const { return m_Types; }
    const CategoryTable& GetCategories() const { return m_Categories; }

    // A character outside 0 to 65535 has no flags and raises the assertion "the_char < kCharMax".
    std::uint32_t GetFlags(int ch) const;

    // The tables folded into one lookup, made at the first call after a change.
    const ScanTables& GetScanTables() const {
        const ScanTables* tables = m_ScanTables.load(std::memory_order_acquire);
        return tables ? *tables : MakeScanTables();
    }

protected:
    CBase_grammar();

    void SetFlags(int ch, std::uint32_t flags);
    void ClearFlags(int ch, std::uint32_t flags);
    void SetFlags(const wchar16* characters, std::uint32_t flags);
    void ClearFlags(const wchar16* characters, std::uint32_t flags);
    void FindFirstComment();
    // To be called by whoever changes tables or words other than through the operations above.
    void Changed();

    AString m_TrueWord;
    AString m_FalseWord;
    AString m_CDataBeginWord;
    AString m_CDataEndWord;
    AString m_HexPrefix;
    ActionTable m_Actions;
    TransitionTable m_Transitions;
    TypeTable m_Types;
    CategoryTable m_Categories;

private:
    using FlagPage = std::array<std::uint32_t, 256>;

    const ScanTables& MakeScanTables() const;

    std::array<std::unique_ptr<FlagPage>, 256>
        m_Pages; // by the high byte; a page without flags may be absent
    wchar16 m_FirstComment = 0;
    mutable std::atomic<const ScanTables*> m_ScanTables{nullptr};
};

// The grammar of stored blocks: identifiers, numbers, hexadecimal numbers, quoted texts, CData, comments, and
// characters that stand for themselves.
class CToken_grammar : public CBase_grammar {
public:
    CToken_grammar();

    virtual void AddIdentStartChars(const wchar16* characters);
    virtual void AddIdentChars(const wchar16* characters);
    virtual void RemoveIdentStartChars(const wchar16* characters);
    virtual void RemoveIdentChars(const wchar16* characters);

    int Classify(int ch, int state) const override;
    void InitCharClasses() override;
    void InitTransitions() override;
};

// Words and numbers between delimiters.
class CDelimiter_grammar : public CBase_grammar {
public:
    CDelimiter_grammar();

    virtual void AddDelimiterChars(const wchar16* characters);

    int Classify(int ch, int state) const override;
    void InitCharClasses() override;
    void InitTransitions() override;
};

} // namespace io
