// The layer between characters and tokens: what the text and the binary form share.
//
// A buffer belongs to one stream and one thread. It reads ahead: a seek of the character stream without
// RestoreState leaves it stale. In mode 0 the global locale is swapped while a token is read, so two threads
// must not do that at once.
#pragma once

#include <streamio/pool_allocator.h>
#include <streamio/stream_position.h>
#include <utility/assertion.h>

#include <array>
#include <cstdint>
#include <locale>
#include <memory>
#include <optional>
#include <streambuf>
#include <vector>

namespace io {

class CBase_grammar;
class CMemoryInBuf;
class CMemoryOutBuf;

inline constexpr int kMaxPushBack = 64;
inline constexpr int kMaxTokenPushBack = 10;

// Case of identifiers as they are read, and how texts compare.
enum CaseMode : int { kUpperMode = 0, kLowerMode = 1, kExactMode = 2, kNoCaseMode = 3 };

// How characters reach the stream.
enum BufferMode : int {
    kLocaleMode = 0,      // text, with a locale of its own
    kBytesMode = 1,       // text in UTF-8, a byte in each 16-bit unit
    kMemoryMode = 2,      // text, 16-bit units as they are
    kBinaryBytesMode = 3, // binary on a stream
    kBinaryMemoryMode = 4 // binary in memory
};

// Where an item stands: it is a line, or an argument of a function.
enum class ItemPlace { Line, FirstArg, LaterArg };

class CToken_streambuf {
public:
    using CharBuf = std::basic_streambuf<wchar16>;

    // Makes the buffer of a stream: binary without a grammar or with kBinaryForm, and with `detect`, at the
    // start of an input, by its first character (NUL is binary). `locale` may be null.
    static std::unique_ptr<CToken_streambuf> Make(CharBuf* stream, bool detect, const std::locale* locale,
                                                  const CBase_grammar* grammar, std::uint32_t flags);

    virtual ~CToken_streambuf();
    CToken_streambuf(const CToken_streambuf&) = delete;
    CToken_streambuf& operator=(const CToken_streambuf&) = delete;

    // Streams for a short text come and go as often as the items of a tree.
    static void* operator new(std::size_t size) { return PoolAllocate(size); }
    static void operator delete(void* buffer, std::size_t size) { PoolFree(buffer, size); }

    virtual void AddCommentChars(const wchar16* characters) = 0;
    virtual void RemoveCommentChars(const wchar16* characters) = 0;
    // Skips the rest of the input line and reads the token behind it; the second form appends what was
    // skipped.
    virtual void NewLine() = 0;
    virtual void NewLine(AString& line) = 0;
    virtual void WriteComment(const wchar16* text) = 0;
    virtual void WriteQuoted(std::u16string_view text) = 0;
    virtual void WriteKeyword(std::u16string_view text) = 0;
    virtual void WriteChar(wchar16 ch) = 0;
    virtual void Write(double value, long flags) = 0;
    virtual void Write(float value, long flags) = 0;
    virtual void Write(unsigned long value, long flags) = 0;
    virtual void Write(long value, long flags) = 0;
    virtual void Write(unsigned int value, long flags) = 0;
    virtual void Write(int value, long flags) = 0;
    virtual void Write(short value, long flags) = 0;
    virtual void Write(const CToken& token, long flags) = 0;
    virtual void Write(bool value) = 0;
    virtual void Write(wchar16 ch) = 0;
    virtual void Write(std::u16string_view text) = 0;
    virtual void PushIndent(std::uint32_t count, wchar16 ch) = 0;
    virtual void PopIndent() = 0;
    virtual std::size_t GetIndentLevels() const = 0;
    virtual AString& GetIndentString(AString& out) const = 0;
    virtual void WriteNewLine(bool force) = 0;
    virtual int SetPrecision(int precision) = 0;
    virtual int SetWidth(int width) = 0;
    virtual bool SetHex(bool hex) = 0;
    virtual wchar16 SetFill(wchar16 fill) = 0;
    virtual void MakeState(CAbstract_stream_pos& pos);
    virtual void SaveState(CAbstract_stream_pos& pos);
    virtual void RestoreState(const CAbstract_stream_pos& pos);
    virtual void ReadToken() = 0;
    virtual void Write(unsigned short value, long flags) = 0;

    // Whole items in their usual form, or as much of a function as is named. False, and nothing is written, where the
    // state of the stream or the item wants more care.
    virtual bool WriteValue(const CToken& value, long flags, ItemPlace place) = 0;
    virtual bool WriteNamedValue(const CToken& name, const CToken& value, long flags, ItemPlace place) = 0;
    virtual bool WriteVec(const CToken& name, const CToken* elements, std::size_t count, long flags,
                          ItemPlace place) = 0;
    virtual bool WriteFunc(const CToken& name, const CToken* values, std::size_t count, long flags,
                           ItemPlace place) = 0;
    virtual bool WriteFuncBegin(const CToken& name, long flags, ItemPlace place) = 0;
    virtual bool WriteFuncEnd(long flags, ItemPlace place) = 0;
    // Likewise the line with which a block begins or ends.
    virtual bool WriteBlockEdge(std::u16string_view keyword, std::u16string_view name) = 0;

    // Writes the elements of a vector, in the text form with a comma and a blank between them.
    virtual void WriteElements(const CToken* elements, std::size_t count, long flags);
    // Moves the current token, a number, and those that follow it as elements of a vector into `out`, as long
    // as they stand in the usual form; what comes behind the last one is the current token then.
    virtual void ReadNumbers(CTokenArray& out) = 0;
    // As Write(double) of each.
    virtual void WriteDoubles(const double* values, std::size_t count, long flags);
    // Takes the current token, a number, and perhaps some of the numbers behind it, at most `count` in all: gives how many.
    virtual std::size_t ReadDoubles(double* values, std::size_t count);
    // How many characters of input are certainly left, for checking a declared count; a guess on streams.
    std::size_t GetInputLeft() const;

    const CToken& PeekToken() const {
        return m_TokenPushBackCount > 0 ? m_TokenPushBack[static_cast<std::size_t>(m_TokenPushBackCount - 1)]
                                        : m_Current;
    }
    const CToken& NextToken() {
        if (m_TokenPushBackCount > 0) [[unlikely]]
            return NextPushedToken();
        m_AtLineStart = m_Current.GetType() == TokenType::Eol || m_Current.GetType() == TokenType::Null;
        ReadToken();
        return m_Current;
    }
    // The current token itself, and a step on.
    CToken TakeToken() {
        if (m_TokenPushBackCount > 0) [[unlikely]] {
            CToken token = PeekToken();
            NextPushedToken();
            return token;
        }
        const TokenType kind = m_Current.GetType();
        CToken token = std::move(m_Current);
        m_Current.Clear();
        m_AtLineStart = kind == TokenType::Eol || kind == TokenType::Null;
        ReadToken();
        return token;
    }
    void PushBackToken(const CToken& token);
    // Steps until a token of that kind and text is current; without a kind any token with the text. False at
    // the end.
    bool SkipToToken(std::optional<TokenType> kind, std::u16string_view text, bool atLineStart);
    // By the case mode.
    bool TextMatches(const CToken& token, std::u16string_view text) const;

    // Where the current token begins, in units of the input.
    std::int64_t GetTokenStart() const { return m_TokenStart; }
    bool IsAtLineStart() const { return m_AtLineStart; }
    bool HasPushBack() const { return m_TokenPushBackCount > 0 || m_PushBackCount > 0; }

    bool IsBinaryMode() const { return m_Mode == kBinaryBytesMode || m_Mode == kBinaryMemoryMode; }
    // The characters or bytes written, which is the length of the text unless the stream was elsewhere
    // before.
    std::size_t GetWrittenCount() const;
    // A character couldn't be written.
    bool HasWriteFailed() const { return m_WriteFailed; }
    std::int32_t GetLineNumber() const { return m_LineNumber; }
    TokenType GetLastKind() const { return m_LastKind; }
    int SetCaseMode(int mode) { return std::exchange(m_CaseMode, mode); }
    int GetCaseMode() const { return m_CaseMode; }
    bool SetAutoFormat(bool on) { return std::exchange(m_AutoFormat, on); }
    bool SetKeepComments(bool keep) { return std::exchange(m_KeepComments, keep); }
    bool KeepsComments() const { return m_KeepComments; }
    bool SetKeepWhiteSpace(bool keep) { return std::exchange(m_KeepWhiteSpace, keep); }
    // What is in memory is read in runs and whole items; that may be turned off, to compare the two ways. Gives the
    // former value.
    bool SetRuns(bool on) { return std::exchange(m_Runs, on); }
    void SetMode(int mode) { m_Mode = mode; }
    int GetMode() const { return m_Mode; }
    CharBuf& GetCharBuf() const { return *m_Stream; }

    // The offsets of the character stream, -1 on failure.
    std::int64_t Tell(std::ios_base::openmode side);
    std::int64_t Seek(std::int64_t offset, std::ios_base::openmode side);

protected:
    explicit CToken_streambuf(CharBuf* stream);

    const CToken& NextPushedToken();
    // One 16-bit unit; the end of the stream is kEndOfStream.
    int PeekUnit() const;
    void TakeUnit();
    void PutUnit(wchar16 unit);

    CharBuf* m_Stream;
    CMemoryInBuf* m_MemoryIn;   // the stream, where it reads from memory
    CMemoryOutBuf* m_MemoryOut; // the stream, where it writes to memory
    bool m_KeepComments = false;
    bool m_KeepWhiteSpace = false;
    bool m_AutoFormat = true;
    bool m_WriteCR = false;
    bool m_Runs = true;
    bool m_AtLineStart = true;
    int m_CaseMode = kNoCaseMode;
    int m_Mode = kBytesMode;
    std::optional<std::locale> m_Locale;
    CToken m_Current;
    wchar16 m_LastCharacter = 0;
    TokenType m_LastKind = TokenType::Eol;
    std::int32_t m_LineNumber = 1;
    int m_PushBackCount = 0;
    std::array<std::int32_t, kMaxPushBack> m_PushBack;
    int m_TokenPushBackCount = 0;
    std::array<CToken, kMaxTokenPushBack> m_TokenPushBack;
    std::size_t m_WrittenCount = 0;
    bool m_WriteFailed = false;
    std::int64_t m_UnitsRead = 0; // from the start of the stream; kept on streams that aren't in memory
    std::int64_t m_TokenStart = 0;
};

} // namespace io
