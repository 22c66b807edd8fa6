// The text form: runs a grammar's tables over characters, and writes tokens with blanks, quotes and escapes.
//
// Text in memory that a grammar of the token grammar's shape reads (whatever its characters) is taken in runs of one class, and
// items of usual spelling as wholes, these in the delimiter grammar's shape, too; every other stream, grammar and mode
// goes character by character, with equal results.
#pragma once

#include <streamio/base_grammar.h>
#include <streamio/token_streambuf.h>

namespace io {

class CTextRoad;
struct BlockKeywords;
struct RoadPlace;
struct ScanTables;

class CToken_textstreambuf final : public CToken_streambuf {
public:
    CToken_textstreambuf(CharBuf* stream, const CBase_grammar* grammar, const std::locale* locale,
                         std::uint32_t flags);

    void AddCommentChars(const wchar16* characters) override;
    void RemoveCommentChars(const wchar16* characters) override;
    void NewLine() override;
    void NewLine(AString& line) override;
    void WriteComment(const wchar16* text) override;
    void WriteQuoted(std::u16string_view text) override;
    void WriteKeyword(std::u16string_view text) override;
    void WriteChar(wchar16 ch) override;
    void Write(double value, long flags) override;
    void Write(float value, long flags) override;
    void Write(unsigned long value, long flags) override;
    void Write(long value, long flags) override;
    void Write(unsigned int value, long flags) override;
    void Write(int value, long flags) override;
    void Write(short value, long flags) override;
    void Write(const CToken& token, long flags) override;
    void Write(bool value) override;
    void Write(wchar16 ch) override;
    void Write(std::u16string_view text) override;
    void PushIndent(std::uint32_t count, wchar16 ch) override;
    void PopIndent() override;
    std::size_t GetIndentLevels() const override;
    AString& GetIndentString(AString& out) const override;
    void WriteNewLine(bool force) override;
    int SetPrecision(int precision) override { return std::exchange(m_Precision, precision); }
    int SetWidth(int width) override { return std::exchange(m_Width, width); }
    bool SetHex(bool hex) override { return std::exchange(m_Hex, hex); }
    wchar16 SetFill(wchar16 fill) override { return std::exchange(m_Fill, fill); }
    void MakeState(CAbstract_stream_pos& pos) override;
    void SaveState(CAbstract_stream_pos& pos) override;
    void RestoreState(const CAbstract_stream_pos& pos) override;
    void ReadToken() override;
    void Write(unsigned short value, long flags) override;
    bool WriteValue(const CToken& value, long flags, ItemPlace place) override;
    bool WriteNamedValue(const CToken& name, const CToken& value, long flags, ItemPlace place) override;
    bool WriteVec(const CToken& name, const CToken* elements, std::size_t count, long flags,
                  ItemPlace place) override;
    bool WriteFunc(const CToken& name, const CToken* values, std::size_t count, long flags,
                   ItemPlace place) override;
    bool WriteFuncBegin(const CToken& name, long flags, ItemPlace place) override;
    bool WriteFuncEnd(long flags, ItemPlace place) override;
    bool WriteBlockEdge(std::u16string_view keyword, std::u16string_view name) override;
    void WriteElements(const CToken* elements, std::size_t count, long flags) override;
    void ReadNumbers(CTokenArray& out) override;

    // A road from the current token on, where there is one for blocks with those keywords. At its end the token at
    // `place` is read.
    std::optional<CTextRoad> OpenRoad(const BlockKeywords& keywords) const;
    void CloseRoad(const RoadPlace& place);

    bool SetKeepSourceText(bool keep) { return std::exchange(m_KeepSourceText, keep); }

private:
    // Reading, in source/text_scan.cpp.
    int PeekChar();
    void TakeChar();
    void PushBackChar(wchar16 ch);
    int PeekByteSequence();
    bool IsPlain() const;
    bool ReadRun();
    void ReadByStates(int state);
    bool Act(ScanAction action, int ch, int& next);
    bool CompletesWord(std::u16string_view word) const;
    void FinishWord();
    void FinishNumber(TokenType kind);
    void BackAndFinish(int count, TokenType kind);

    // Writing whole items, in source/item_write.cpp.
    bool IsUsual(long flags) const;
    wchar16* BeginItem(long flags, ItemPlace place);
    void EndItem(wchar16* end, TokenType last, ItemPlace place);
    wchar16* SpellValue(wchar16* out, const CToken& value) const;

    // Writing, in source/text_write.cpp.
    void Separate(TokenType kind, wchar16 first);
    void SeparateFrom(TokenType last, TokenType kind, wchar16 first);
    void Put(wchar16 ch);
    void Put(std::u16string_view text);
    void PutToken(TokenType kind, std::u16string_view text);
    void PutQuoted(std::u16string_view text, wchar16 quote);
    void PutNumber(TokenType kind, std::u16string_view text);
    int GetGeneralPrecision() const;
    void PutInteger(TokenType kind, std::int64_t value, int bits);
    void PutCData(const CToken& token);
    bool HasFlag(wchar16 ch, std::uint32_t flag) const { return (m_Grammar->GetFlags(ch) & flag) != 0; }

    const CBase_grammar* m_Grammar; // not owned
    bool m_KeepSourceText = true;

    AString m_TokenText;
    std::size_t m_CDataMatch = 0; // characters of the end word that have been met

    int m_Precision = -1;
    int m_Width = -1;
    wchar16 m_Fill = u' ';
    bool m_Hex = false;
    std::vector<std::uint32_t> m_IndentStack;
    AString m_IndentString;
};

} // namespace io
