#include "name_compare.h"
#include "scan_tables.h"

#include <streamio/delimiter_grammar_default.h>
#include <streamio/token_grammar_default.h>
#include <utility/assertion.h>

namespace io {

namespace {

constexpr CategoryTable kStateCategories = [] {
    CategoryTable table{};
    table[1] = kCommentCategory;
    table[2] = kSpaceCategory;
    table[5] = kIdentCategory;
    for (const int state : {6, 7, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22})
        table[static_cast<std::size_t>(state)] = kQuoteCategory;
    table[23] = table[24] = kCDataCategory;
    for (const int state : {8, 9, 10, 11, 25, 28, 29, 30, 31})
        table[static_cast<std::size_t>(state)] = kNumberCategory;
    table[26] = table[27] = kHexCategory;
    return table;
}();

constexpr TypeTable kStateTypes = [] {
    TypeTable table{};
    constexpr TokenType kTerminal[] = {TokenType::Error,
                                       TokenType::Eol,
                                       TokenType::Eof,
                                       TokenType::Symbol,
                                       TokenType::Keyword,
                                       TokenType::Double,
                                       TokenType::Int,
                                       TokenType::SingleQuotedText,
                                       TokenType::DoubleQuotedText,
                                       TokenType::CData,
                                       TokenType::Comment,
                                       TokenType::WhiteSpace,
                                       TokenType::Symbol,
                                       TokenType::Double,
                                       TokenType::Double,
                                       TokenType::Short,
                                       TokenType::Hex};
    for (std::size_t i = 0; i < std::size(kTerminal); ++i)
        table[kRunningStates + i] = kTerminal[i];
    return table;
}();

// Fills the rows of a transition table.
class RowWriter {
public:
    explicit RowWriter(TransitionTable& table) : m_Table(table) {}

    // `otherwise` for every class but invalid, then the exceptions.
    struct Next {
        CharClass to;
        int state;
    };
    void Row(int state, int otherwise, std::initializer_list<Next> exceptions = {}) {
        auto& row = m_Table[static_cast<std::size_t>(state)];
        row.fill(otherwise);
        row[kInvalidClass] = kInvalidState;
        for (const Next& next : exceptions)
            row[next.to] = next.state;
    }

private:
    TransitionTable& m_Table;
};

// The states that both grammars have.
void WriteCommonRows(RowWriter& rows) {
    rows.Row(1, 1, {{kLineEndClass, 42}, {kCarriageReturnClass, 42}, {kEndOfStreamClass, 42}});
    rows.Row(2, 43, {{kSpaceClass, 2}});
    rows.Row(3, 35);
    rows.Row(4, 33);
    for (const int state : {6, 13, 19})
        rows.Row(state, 13,
                 {{kSingleQuoteClass, 21},
                  {kBackslashClass, 15},
                  {kLineEndClass, 39},
                  {kCarriageReturnClass, 39},
                  {kEndOfStreamClass, 39}});
    for (const int state : {7, 14, 20})
        rows.Row(state, 14,
                 {{kDoubleQuoteClass, 22},
                  {kBackslashClass, 16},
                  {kLineEndClass, 40},
                  {kCarriageReturnClass, 40},
                  {kEndOfStreamClass, 40}});
    rows.Row(12, 33, {{kLineEndClass, 4}});
    rows.Row(15, 19, {{kCarriageReturnClass, 17}, {kEndOfStreamClass, 39}});
    rows.Row(16, 20, {{kCarriageReturnClass, 18}, {kEndOfStreamClass, 40}});
    rows.Row(17, 13,
             {{kLineEndClass, 6},
              {kSingleQuoteClass, 21},
              {kBackslashClass, 15},
              {kCarriageReturnClass, 39},
              {kEndOfStreamClass, 39}});
    rows.Row(18, 14,
             {{kLineEndClass, 7},
              {kDoubleQuoteClass, 22},
              {kBackslashClass, 16},
              {kCarriageReturnClass, 40},
              {kEndOfStreamClass, 40}});
    rows.Row(21, 39);
    rows.Row(22, 40);
}

void WriteCommonActions(ActionTable& actions) {
    using enum ScanAction;
    actions[0] = None;
    actions[1] = AppendIfComments;
    actions[2] = AppendIfSpace;
    actions[3] = actions[13] = actions[14] = Append;
    for (const std::size_t state : {4, 6, 7, 12, 15, 16, 21, 22})
        actions[state] = Consume;
    actions[17] = actions[18] = AppendLineEnd;
    actions[19] = actions[20] = AppendEscaped;
    constexpr ScanAction kTerminal[] = {Invalid,      Eol,   Eof,           Symbol,        Keyword,
                                        Double,       Int,   SingleQuoted,  DoubleQuoted,  CData,
                                        Comment,      Space, SymbolBackOne, DoubleBackOne, DoubleBackTwo,
                                        ShortBackOne, Hex};
    for (std::size_t i = 0; i < std::size(kTerminal); ++i)
        actions[kRunningStates + i] = kTerminal[i];
}

void WriteTokenTables(TransitionTable& transitions, ActionTable& actions) {
    RowWriter rows(transitions);
    WriteCommonRows(rows);
    rows.Row(0, kInvalidState,
             {{kOtherClass, 3},
              {kBackslashClass, 3},
              {kLineEndClass, 4},
              {kCarriageReturnClass, 12},
              {kEndOfStreamClass, 34},
              {kCommentClass, 1},
              {kSpaceClass, 2},
              {kIdentStartClass, 5},
              {kZeroClass, 8},
              {kDigitClass, 11},
              {kSignClass, 9},
              {kPointClass, 10},
              {kSingleQuoteClass, 6},
              {kDoubleQuoteClass, 7}});
    rows.Row(5, 36, {{kIdentClass, 5}});
    rows.Row(8, 38, {{kDigitClass, 11}, {kPointClass, 28}, {kExponentClass, 29}, {kHexMarkClass, 26}});
    rows.Row(9, 35, {{kDigitClass, 11}, {kPointClass, 25}});
    rows.Row(10, 35, {{kDigitClass, 28}});
    rows.Row(11, 38, {{kDigitClass, 11}, {kPointClass, 28}, {kExponentClass, 29}});
    rows.Row(23, 23, {{kDollarClass, 24}, {kEndOfStreamClass, 41}});
    rows.Row(24, 41, {{kIdentClass, 24}});
    rows.Row(25, 44, {{kDigitClass, 28}});
    rows.Row(26, 47, {{kDigitClass, 27}, {kHexDigitClass, 27}});
    rows.Row(27, 48, {{kDigitClass, 27}, {kHexDigitClass, 27}});
    rows.Row(28, 37, {{kDigitClass, 28}, {kExponentClass, 29}});
    rows.Row(29, 45, {{kDigitClass, 30}, {kSignClass, 31}});
    rows.Row(30, 37, {{kDigitClass, 30}});
    rows.Row(31, 46, {{kDigitClass, 30}});

    using enum ScanAction;
    WriteCommonActions(actions);
    actions[5] = Identifier;
    for (const std::size_t state : {8, 9, 10, 11, 23, 25, 26, 28, 29, 30, 31})
        actions[state] = Append;
    actions[24] = CDataEnd;
    actions[27] = AppendCased;
}

void WriteDelimiterTables(TransitionTable& transitions, ActionTable& actions) {
    RowWriter rows(transitions);
    WriteCommonRows(rows);
    rows.Row(0, kInvalidState,
             {{kOtherClass, 5},
              {kExponentClass, 5},
              {kLineEndClass, 4},
              {kCarriageReturnClass, 12},
              {kEndOfStreamClass, 34},
              {kCommentClass, 1},
              {kSpaceClass, 2},
              {kDelimiterClass, 3},
              {kDigitClass, 11},
              {kSignClass, 9},
              {kPointClass, 10},
              {kSingleQuoteClass, 6},
              {kDoubleQuoteClass, 7}});
    rows.Row(5, 36,
             {{kOtherClass, 5}, {kDigitClass, 5}, {kSignClass, 5}, {kPointClass, 5}, {kExponentClass, 5}});
    rows.Row(9, 35,
             {{kDigitClass, 11}, {kPointClass, 25}, {kSignClass, 5}, {kOtherClass, 5}, {kExponentClass, 5}});
    rows.Row(10, 35,
             {{kDigitClass, 28}, {kPointClass, 5}, {kSignClass, 5}, {kOtherClass, 5}, {kExponentClass, 5}});
    rows.Row(11, 38,
             {{kDigitClass, 11}, {kPointClass, 28}, {kExponentClass, 29}, {kSignClass, 5}, {kOtherClass, 5}});
    rows.Row(25, 36,
             {{kDigitClass, 28}, {kPointClass, 5}, {kSignClass, 5}, {kOtherClass, 5}, {kExponentClass, 5}});
    rows.Row(28, 37,
             {{kDigitClass, 28}, {kExponentClass, 29}, {kPointClass, 5}, {kSignClass, 5}, {kOtherClass, 5}});
    rows.Row(29, 36,
             {{kDigitClass, 30}, {kSignClass, 31}, {kPointClass, 5}, {kExponentClass, 5}, {kOtherClass, 5}});
    for (const int state : {30, 31})
        rows.Row(
            state, state == 30 ? 37 : 36,
            {{kDigitClass, 30}, {kSignClass, 5}, {kPointClass, 5}, {kExponentClass, 5}, {kOtherClass, 5}});

    using enum ScanAction;
    WriteCommonActions(actions);
    for (const std::size_t state : {5, 9, 10, 11, 25, 28, 29, 30, 31})
        actions[state] = Identifier;
    actions[36] = WordOrSymbol;
}

// The C library's classification in the "C" locale.
bool IsAlpha(int ch) {
    return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z');
}
bool IsSpaceOrControl(int ch) {
    return ch <= ' ' || ch == 127;
}

// Whether the folded tables treat exactly the usual characters as parts of numbers.
bool HasUsualNumbers(const ScanTables& tables) {
    const bool apart = tables.tokenShape; // a leading zero has a state of its own
    for (int ch = 0; ch < 256; ++ch) {
        const bool digit = ch >= '0' && ch <= '9';
        const bool sign = ch == '+' || ch == '-';
        const bool mark = ch == 'e' || ch == 'E';
        const auto is = [&](int state, int next, bool expected) {
            return (tables.next[state][ch] == next) == expected;
        };
        const bool zero = apart && ch == '0';
        const bool usual = is(0, 8, zero) && is(0, 11, digit && !zero) && is(0, 9, sign) &&
                           is(0, 10, ch == '.') && is(8, 11, apart && digit) &&
                           is(8, 28, apart && ch == '.') && is(8, 29, apart && mark) &&
                           is(8, 26, apart && ch == 'x') && is(9, 11, digit) && is(9, 25, ch == '.') &&
                           is(10, 28, digit) && is(11, 11, digit) && is(11, 28, ch == '.') &&
                           is(11, 29, mark) && is(25, 28, digit) && is(28, 28, digit) && is(28, 29, mark) &&
                           is(29, 30, digit) && is(29, 31, sign) && is(30, 30, digit) && is(31, 30, digit);
        if (!usual)
            return false;
    }
    return true;
}

// Whether words and quoted texts go on over the usual characters.
bool HasUsualRuns(const ScanTables& tables) {
    for (int ch = ' '; ch <= '~'; ++ch) {
        const bool alphanumeric = IsAlphanumeric(static_cast<wchar16>(ch));
        const bool marked = ch == '\'' || ch == '"' || ch == '\\';
        if ((alphanumeric && tables.next[5][ch] != 5) ||
            (!marked && (tables.next[13][ch] != 13 || tables.next[14][ch] != 14)))
            return false;
    }
    return true;
}

} // namespace

CBase_grammar::CBase_grammar()
    : m_TrueWord(std::u16string_view(u"true")), m_FalseWord(std::u16string_view(u"false")),
      m_HexPrefix(std::u16string_view(u"0x")) {
    CBase_grammar::InitTransitions();
}

CBase_grammar::~CBase_grammar() {
    delete m_ScanTables.load(std::memory_order_relaxed);
}

void CBase_grammar::AddCommentChars(const wchar16* characters) {
    SetFlags(characters, kCommentFlag);
    if (m_FirstComment == 0)
        FindFirstComment();
}

void CBase_grammar::RemoveCommentChars(const wchar16* characters) {
    ClearFlags(characters, kCommentFlag);
    if ((GetFlags(m_FirstComment) & kCommentFlag) == 0)
        FindFirstComment();
}

void CBase_grammar::InitCharClasses() {
    if (m_Pages[0])
        m_Pages[0]->fill(0);
    Changed();
}

void CBase_grammar::InitTransitions() {
    m_Actions.fill(ScanAction::Invalid);
    for (auto& row : m_Transitions)
        row.fill(kInvalidState);
    m_Types = kStateTypes;
    m_Categories = kStateCategories;
    Changed();
}

std::uint32_t CBase_grammar::GetFlags(int ch) const {
    TARVOK_ASSERT_TEXT(ch >= 0 && ch < kCharMax, "the_char < kCharMax");
    if (ch < 0 || ch >= kCharMax)
        return 0;
    const auto& page = m_Pages[static_cast<std::size_t>(ch >> 8)];
    return page ? (*page)[static_cast<std::size_t>(ch & 255)] : 0;
}

void CBase_grammar::SetFlags(int ch, std::uint32_t flags) {
    TARVOK_ASSERT_TEXT(ch >= 0 && ch < kCharMax, "the_char < kCharMax");
    if (ch < 0 || ch >= kCharMax)
        return;
    auto& page = m_Pages[static_cast<std::size_t>(ch >> 8)];
    if (!page)
        page = std::make_unique<FlagPage>(FlagPage{});
    (*page)[static_cast<std::size_t>(ch & 255)] |= flags;
    Changed();
}

void CBase_grammar::ClearFlags(int ch, std::uint32_t flags) {
    TARVOK_ASSERT_TEXT(ch >= 0 && ch < kCharMax, "the_char < kCharMax");
    if (ch < 0 || ch >= kCharMax)
        return;
    if (const auto& page = m_Pages[static_cast<std::size_t>(ch >> 8)])
        (*page)[static_cast<std::size_t>(ch & 255)] &= ~flags;
    Changed();
}

void CBase_grammar::SetFlags(const wchar16* characters, std::uint32_t flags) {
    for (; *characters != 0; ++characters)
        SetFlags(*characters, flags);
}

void CBase_grammar::ClearFlags(const wchar16* characters, std::uint32_t flags) {
    for (; *characters != 0; ++characters)
        ClearFlags(*characters, flags);
}

void CBase_grammar::FindFirstComment() {
    m_FirstComment = 0;
    for (std::size_t high = 0; high < m_Pages.size(); ++high) {
        if (!m_Pages[high])
            continue;
        for (std::size_t low = 0; low < 256; ++low) {
            if (((*m_Pages[high])[low] & kCommentFlag) != 0) {
                m_FirstComment = static_cast<wchar16>(high << 8 | low);
                return;
            }
        }
    }
}

void CBase_grammar::Changed() {
    delete m_ScanTables.exchange(nullptr, std::memory_order_acq_rel);
}

const ScanTables& CBase_grammar::MakeScanTables() const {
    auto tables = std::make_unique<ScanTables>();
    tables->grammar = this;
    for (int state = 0; state < kRunningStates; ++state) {
        for (int ch = 0; ch < 256; ++ch)
            tables->next[state][ch] =
                static_cast<std::uint8_t>(m_Transitions[static_cast<std::size_t>(state)]
                                                       [static_cast<std::size_t>(Classify(ch, state))]);
    }
    const auto hasShape = [this](void (*write)(TransitionTable&, ActionTable&)) {
        TransitionTable transitions;
        for (auto& row : transitions)
            row.fill(kInvalidState);
        ActionTable actions;
        actions.fill(ScanAction::Invalid);
        write(transitions, actions);
        return transitions == m_Transitions && actions == m_Actions && m_Types == kStateTypes;
    };
    tables->tokenShape = hasShape(WriteTokenTables);
    tables->delimiterShape = hasShape(WriteDelimiterTables);
    tables->usualNumbers = (tables->tokenShape || tables->delimiterShape) && HasUsualNumbers(*tables);
    const bool cdata = tables->tokenShape ? m_CDataBeginWord.find(u'$') == 0 : m_CDataBeginWord.empty();
    tables->usualItems = tables->usualNumbers && tables->next[0]['$'] == 5 && cdata && HasUsualRuns(*tables);
    for (const char symbol : std::string_view(tables->tokenShape ? "=(),[]:" : "=(),"))
        tables->usualItems = tables->usualItems && tables->next[0][static_cast<int>(symbol)] == 3;
    tables->usualSeparators = tables->tokenShape && tables->usualItems && tables->next[0][' '] == 2 &&
                              m_Types[tables->next[5][0]] == TokenType::Keyword;
    for (const char symbol : std::string_view("=(),[]: "))
        tables->usualSeparators =
            tables->usualSeparators && (GetFlags(symbol) & (kPointFlag | kSignFlag | kIdentFlag)) == 0;
    tables->usualKeywords = tables->tokenShape && tables->next[0]['$'] == 5;
    for (const char letter : {'b', 'e', 'g', 'i', 'n', 'd'})
        tables->usualKeywords = tables->usualKeywords && tables->next[5][static_cast<int>(letter)] == 5;

    const ScanTables* expected = nullptr;
    if (m_ScanTables.compare_exchange_strong(expected, tables.get(), std::memory_order_acq_rel))
        return *tables.release();
    return *expected; // another thread was faster
}

TokenType CBase_grammar::ScanToken(const wchar16* text, const wchar16*& end) const {
    std::size_t length = 0;
    const TokenType kind = ScanToken(std::u16string_view(text), length);
    end = text + length;
    return kind;
}

TokenType CBase_grammar::ScanToken(std::u16string_view text, std::size_t& length) const {
    const ScanTables& tables = GetScanTables();
    const auto unitAt = [&](std::size_t at) { return at < text.size() ? text[at] : u'\0'; };
    length = 0;
    int state = tables.Next(0, unitAt(0));
    if (tables.tokenShape && state == 5) { // most texts are words
        ++length;
        while (length < text.size() && tables.Next(5, text[length]) == 5)
            ++length;
        return m_Types[static_cast<std::size_t>(tables.Next(5, unitAt(length)))];
    }
    while (state < kRunningStates) {
        if (state != 4) {
            if (length == text.size())
                return TokenType::Error;
            ++length;
        }
        state = tables.Next(state, unitAt(length));
    }
    return m_Types[static_cast<std::size_t>(state)];
}

CToken_grammar::CToken_grammar() {
    m_CDataBeginWord = AString(std::u16string_view(u"$begin_cdata$"));
    m_CDataEndWord = AString(std::u16string_view(u"$end_cdata$"));
    CToken_grammar::InitCharClasses();
    CToken_grammar::InitTransitions();
    FindFirstComment();
}

void CToken_grammar::AddIdentStartChars(const wchar16* characters) {
    SetFlags(characters, kIdentStartFlag);
}
void CToken_grammar::AddIdentChars(const wchar16* characters) {
    SetFlags(characters, kIdentFlag);
}
void CToken_grammar::RemoveIdentStartChars(const wchar16* characters) {
    ClearFlags(characters, kIdentStartFlag);
}
void CToken_grammar::RemoveIdentChars(const wchar16* characters) {
    ClearFlags(characters, kIdentFlag);
}

void CToken_grammar::InitCharClasses() {
    CBase_grammar::InitCharClasses();
    for (int ch = 0; ch < 128; ++ch) {
        if (IsAlpha(ch))
            SetFlags(ch, kIdentStartFlag | kIdentFlag);
        if (ch >= '0' && ch <= '9')
            SetFlags(ch, kIdentFlag | kDigitFlag);
        if (IsSpaceOrControl(ch))
            SetFlags(ch, kSpaceFlag);
        if (ch >= 'a' && ch <= 'f')
            SetFlags(ch, kHexDigitFlag);
    }
    SetFlags('$', kIdentStartFlag | kIdentFlag | kDollarFlag);
    SetFlags('_', kIdentFlag);
    SetFlags('"', kDoubleQuoteFlag);
    SetFlags('\'', kSingleQuoteFlag);
    SetFlags('\\', kBackslashFlag);
    SetFlags('e', kExponentFlag);
    SetFlags('E', kExponentFlag);
    SetFlags('x', kHexMarkFlag);
    SetFlags('0', kZeroFlag);
    SetFlags('.', kPointFlag);
    SetFlags('-', kSignFlag | kMinusFlag);
    SetFlags('+', kSignFlag);
    SetFlags(0, kLineEndFlag);
    SetFlags('\n', kLineEndFlag);
    SetFlags('\r', kCarriageReturnFlag);
}

void CToken_grammar::InitTransitions() {
    CBase_grammar::InitTransitions();
    WriteTokenTables(m_Transitions, m_Actions);
    Changed();
}

int CToken_grammar::Classify(int ch, int state) const {
    if (ch == kEndOfStream)
        return kEndOfStreamClass;
    if (ch < 0 || ch >= kCharMax)
        return kInvalidClass;
    const std::uint32_t flags = GetFlags(ch);
    const auto has = [flags](std::uint32_t flag) { return (flags & flag) != 0; };
    if (flags == 0)
        return kOtherClass;
    if (has(kLineEndFlag))
        return kLineEndClass;
    if (has(kCarriageReturnFlag))
        return kCarriageReturnClass;
    if (has(kCommentFlag))
        return kCommentClass;
    if (has(kSpaceFlag))
        return kSpaceClass;
    if (has(kDoubleQuoteFlag))
        return kDoubleQuoteClass;
    if (has(kSingleQuoteFlag))
        return kSingleQuoteClass;

    const int category = m_Categories[static_cast<std::size_t>(state)];
    if (state == 0) {
        if (has(kIdentStartFlag))
            return kIdentStartClass;
        if (has(kZeroFlag))
            return kZeroClass;
    } else if (state == 5) {
        if (has(kIdentFlag))
            return kIdentClass;
    } else if (category == kQuoteCategory) {
        return has(kBackslashFlag) ? kBackslashClass : kOtherClass;
    } else if (state == 23) {
        return has(kDollarFlag) ? kDollarClass : kOtherClass;
    } else if (state == 24) {
        return has(kIdentFlag) ? kIdentClass : kOtherClass;
    } else {
        if (state == 8 && has(kHexMarkFlag))
            return kHexMarkClass;
        if ((state == 26 || state == 27) && has(kHexDigitFlag))
            return kHexDigitClass;
        if (has(kExponentFlag))
            return kExponentClass;
    }
    if (has(kDigitFlag))
        return kDigitClass;
    if (has(kSignFlag))
        return kSignClass;
    if (has(kPointFlag))
        return kPointClass;
    return kOtherClass;
}

CDelimiter_grammar::CDelimiter_grammar() {
    CDelimiter_grammar::InitCharClasses();
    CDelimiter_grammar::InitTransitions();
    FindFirstComment();
}

void CDelimiter_grammar::AddDelimiterChars(const wchar16* characters) {
    SetFlags(characters, kDelimiterFlag);
}

void CDelimiter_grammar::InitCharClasses() {
    CBase_grammar::InitCharClasses();
    for (int ch = 0; ch < 128; ++ch) {
        if (IsSpaceOrControl(ch))
            SetFlags(ch, kSpaceFlag);
        if (ch >= '0' && ch <= '9')
            SetFlags(ch, kDigitFlag);
    }
    SetFlags(0, kLineEndFlag);
    SetFlags('\n', kLineEndFlag);
    SetFlags('\r', kCarriageReturnFlag);
    SetFlags('"', kDoubleQuoteFlag);
    SetFlags('\'', kSingleQuoteFlag);
    SetFlags('\\', kBackslashFlag);
    SetFlags('.', kPointFlag);
    SetFlags('-', kSignFlag | kMinusFlag);
    SetFlags('+', kSignFlag);
    SetFlags('e', kExponentFlag);
    SetFlags('E', kExponentFlag);
}

void CDelimiter_grammar::InitTransitions() {
    CBase_grammar::InitTransitions();
    WriteDelimiterTables(m_Transitions, m_Actions);
    Changed();
}

int CDelimiter_grammar::Classify(int ch, int state) const {
    if (ch == kEndOfStream)
        return kEndOfStreamClass;
    if (ch < 0 || ch >= kCharMax)
        return kInvalidClass;
    const std::uint32_t flags = GetFlags(ch);
    const auto has = [flags](std::uint32_t flag) { return (flags & flag) != 0; };
    if (flags == 0)
        return kOtherClass;
    if (has(kLineEndFlag))
        return kLineEndClass;
    if (has(kCarriageReturnFlag))
        return kCarriageReturnClass;
    if (has(kCommentFlag))
        return kCommentClass;
    if (has(kSpaceFlag))
        return kSpaceClass;
    if (has(kDoubleQuoteFlag))
        return kDoubleQuoteClass;
    if (has(kSingleQuoteFlag))
        return kSingleQuoteClass;
    if (m_Categories[static_cast<std::size_t>(state)] == kQuoteCategory)
        return has(kBackslashFlag) ? kBackslashClass : kOtherClass;
    if (has(kDelimiterFlag))
        return kDelimiterClass;
    if (has(kExponentFlag))
        return kExponentClass;
    if (has(kDigitFlag))
        return kDigitClass;
    if (has(kSignFlag))
        return kSignClass;
    if (has(kPointFlag))
        return kPointClass;
    return kOtherClass;
}

CToken_grammar_default::CToken_grammar_default() {
    CToken_grammar::AddCommentChars(u"!");
    GetScanTables();
}

CDelimiter_grammar_default::CDelimiter_grammar_default() {
    CDelimiter_grammar::AddCommentChars(u"!");
    CDelimiter_grammar::AddDelimiterChars(u"(),=");
    GetScanTables();
}

// A default grammar can't change.
void CToken_grammar_default::AddCommentChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CToken_grammar_default::RemoveCommentChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CToken_grammar_default::AddIdentStartChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CToken_grammar_default::AddIdentChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CToken_grammar_default::RemoveIdentStartChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CToken_grammar_default::RemoveIdentChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CDelimiter_grammar_default::AddCommentChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CDelimiter_grammar_default::RemoveCommentChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}
void CDelimiter_grammar_default::AddDelimiterChars(const wchar16*) {
    TARVOK_ASSERT_TEXT(false, "0");
}

// The default grammars are never destroyed: a thread may read while the program ends.
const CToken_grammar_default& DefaultTokenGrammar() {
    static const auto& grammar = *new CToken_grammar_default;
    return grammar;
}

const CDelimiter_grammar_default& DefaultDelimiterGrammar() {
    static const auto& grammar = *new CDelimiter_grammar_default;
    return grammar;
}

} // namespace io
