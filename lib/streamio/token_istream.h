// Reads tokens, values and blocks from a character stream; whether it is text or binary, its first character
// tells.
//
//   CToken_istring s(text, &DefaultTokenGrammar());
//   CBlock block;
//   block.Read(s);
//
// The first token is read at construction. Line ends are passed over unless `ClearSkipLineEnds`.
#pragma once

#include <streamio/abstract_istream.h>
#include <streamio/token_streambuf.h>

namespace io {

class CToken_istream : public CAbstract_istream {
public:
    // Over a stream of characters, each a byte of the text: UTF-8 or binary. With a locale the units are
    // taken as they are, in that locale. The stream and the grammar stay the caller's unless ownership is
    // stated; an owned stream is deleted by Close.
    CToken_istream(CInStream* stream, bool ownStream, std::uint32_t flags, const CBase_grammar* grammar,
                   bool ownGrammar = false, const std::locale* locale = nullptr);
    ~CToken_istream() override;

    void Close() override;
    bool IsBinary() const override;
    bool LoadIndex(std::uint32_t flags) override;
    bool SeekToIndexEntry(const AString& path) override;
    void ReadLine(AString& line) override;
    void SkipLine() override;
    void ExpectEol() override;
    void NextToken() override;
    void DecIndent() override;
    void ReadBlockBegin(CToken& name) override;
    void ReadBlockBegin(AString& name) override;
    void ReadBlockBegin(const wchar16* name) override;
    void ReadBlockBegin() override;
    void ReadBlockEnd(CToken& name) override;
    void ReadBlockEnd(AString& name) override;
    void ReadBlockEnd(const wchar16* name) override;
    void ReadBlockEnd() override;
    long SetFixed(long) override { return 0; }
    long SetScientific(long) override { return 0; }
    void ReadKeyword(AString& text) override;
    void ExpectKeyword(const wchar16* text) override;
    void ReadText(CToken& text) override;
    void ReadText(AString& text) override;
    void ExpectText(const wchar16* text) override;
    void ReadComment(AString& text) override;
    void ExpectComment(const wchar16* text) override;
    void ExpectSymbol(wchar16 ch) override;
    // Only a text that is one token: a Keyword, a Symbol, or nothing. Otherwise the old keyword stays.
    void SetBeginKeyword(const AString& keyword) override;
    void SetEndKeyword(const AString& keyword) override;
    void MakeState(CAbstract_stream_pos& pos) override;
    void SaveState(CAbstract_stream_pos& pos) override;
    void RestoreState(const CAbstract_stream_pos& pos) override;

    bool Good() const override { return m_Good; }
    bool Eof() const override;
    bool Fail() const override { return !m_Good; }
    bool Bad() const override;
    int SetCaseMode(int mode) override;
    const CToken& PeekToken() override;
    std::int32_t GetLineNumber() const override;
    bool IsKeyword() override;
    bool IsKeyword(const AString& text) override;
    bool IsKeyword(const wchar16* text) override;
    bool IsBlockBegin(const AString& name) override;
    bool IsBlockBegin(const wchar16* name) override;
    bool IsBlockBegin() override;
    bool IsBlockEnd(const AString& name) override;
    bool IsBlockEnd(const wchar16* name) override;
    bool IsBlockEnd() override;
    bool IsText() override;
    bool IsText(const AString& text) override;
    bool IsText(const wchar16* text) override;
    bool IsComment() override;
    bool IsComment(const AString& text) override;
    bool IsComment(const wchar16* text) override;
    bool IsSymbol() override;
    bool IsSymbol(wchar16 ch) override;
    bool IsEol() override;
    bool IsEof() override;
    bool IsNumber() override;
    bool IsNumber(const double& value) override;
    bool SkipToKeyword(const AString& text) override;
    bool SkipToSymbol(wchar16 ch) override;
    bool SkipToText(const AString& text) override;
    bool SkipToBlock(const AString& name) override;
    bool SkipToBlockEnd(const AString& name) override;
    bool SkipToKeywordAtLineStart(const AString& text) override;
    bool SkipToSymbolAtLineStart(wchar16 ch) override;
    bool SkipToTextAtLineStart(const AString& text) override;
    bool SetSkipOnError(const bool& on) override { return std::exchange(m_SkipOnError, on); }
    bool ClearSkipOnError() override { return std::exchange(m_SkipOnError, false); }
    bool SetStopOnFail(const bool& on) override { return std::exchange(m_StopOnFail, on); }
    bool ClearStopOnFail() override { return std::exchange(m_StopOnFail, false); }
    void ClearFail() override { m_Good = true; }
    void SetFail() override { m_Good = false; }
    bool SetSkipLineEnds(const bool& on) override { return std::exchange(m_SkipLineEnds, on); }
    bool SkipsLineEnds() const { return m_SkipLineEnds; }
    bool ClearSkipLineEnds() override { return std::exchange(m_SkipLineEnds, false); }
    void Read(AString& text) override;
    void Read(CToken& token) override;
    void Read(double& value) override;
    void Read(float& value) override;
    void Read(unsigned long& value) override;
    void Read(long& value) override;
    void Read(unsigned int& value) override;
    void Read(int& value) override;
    void Read(short& value) override;
    void Read(unsigned short& value) override;
    void Read(bool& value) override;
    void PushBackToken(const CToken& token) override;
    std::size_t ReadDoubles(double* values, std::size_t count) override;

    // The preamble of every operation: false if a failed stream stays as it is; else good, and the current
    // token is none that is passed over.
    bool Prepare() {
        if (m_StopOnFail && !m_Good)
            return false;
        m_Good = true;
        for (;;) {
            const TokenType kind = m_Buffer->PeekToken().GetType();
            if (kind != TokenType::Null && (kind != TokenType::Eol || !m_SkipLineEnds)) [[likely]]
                return true;
            m_Buffer->NextToken();
        }
    }
    CToken_streambuf* GetBuffer() const { return m_Buffer.get(); }
    TokenType GetBeginKeywordKind() const { return m_BeginKind; }
    TokenType GetEndKeywordKind() const { return m_EndKind; }
    // A position from which a stream without memory of this one reads the current token again.
    void GetTokenPosition(CAbstract_stream_pos& pos);

protected:
    // For a stream in memory.
    CToken_istream(CToken_streambuf::CharBuf* characters, std::uint32_t flags, const CBase_grammar* grammar);

    void Start(std::uint32_t flags);
    std::int64_t TellOffset() override;
    std::int64_t SeekOffset(std::int64_t offset) override;

    std::unique_ptr<CToken_streambuf> m_Buffer;

private:
    bool IsWord(std::u16string_view text, TokenType kind);
    bool IsCurrentText() const;
    bool IsCurrentText(std::u16string_view text) const;
    bool IsKeywordToken(const AString& keyword, TokenType kind);
    // With a null name: any text may be the name.
    bool IsBlockEdge(bool begin, const std::u16string_view* name);
    void ReadBlockEdge(bool begin, const std::u16string_view* name, CToken* token, AString* text);
    void Refuse();
    template <class T>
    void ReadInteger(T& value, double low, double high);
    void SetKeyword(const AString& keyword, bool begin);
    bool SkipTo(std::optional<TokenType> kind, std::u16string_view text, bool atLineStart);
    bool OpenIndex();
    bool CheckIndex(bool nested);
    bool ScanBlock(CAbstract_stream_pos begin, std::uint32_t flags);

    CInStream* m_Stream = nullptr; // null in memory
    bool m_OwnStream = false;
    const CBase_grammar* m_Grammar;
    bool m_OwnGrammar = false;
    bool m_SkipOnError = false;
    bool m_StopOnFail = true;
    bool m_SkipLineEnds = true;
    TokenType m_BeginKind = TokenType::Keyword;
    TokenType m_EndKind = TokenType::Keyword;
};

} // namespace io
