// Writes tokens, names and blocks to a character stream, as text or in binary form.
//
//   CToken_ostring s(&DefaultTokenGrammar());
//   block.Write(s);
//   AString text;
//   s.GetText(text);
//
// Blocks are laid out in lines, one more indentation a level. `Close` ends the stream, and with an index
// writes it.
#pragma once

#include <streamio/abstract_ostream.h>
#include <streamio/token_streambuf.h>

namespace io {

class CToken_ostream : public CAbstract_ostream {
public:
    // Over a stream of characters, each a byte of the text: UTF-8 or binary. Without a grammar or with
    // kBinaryForm the form is binary. With a locale the units go out as they are, in that locale. The stream
    // and the grammar stay the caller's unless ownership is stated; an owned stream is deleted by Close.
    CToken_ostream(COutStream* stream, bool ownStream, std::uint32_t flags, const CBase_grammar* grammar,
                   bool ownGrammar = false, const std::locale* locale = nullptr);
    ~CToken_ostream() override;

    void Close() override;
    bool IsBinary() const override;
    bool StartIndex(std::uint32_t flags) override;
    // Past the buffer, straight to the character stream: nothing is counted, and a string stream doesn't take
    // part.
    void WriteLine(const AString& line) override;
    void NewLine() override;
    void EnsureNewLine() override;
    void WriteMark() override;
    void DecIndent() override;
    void IncIndent(std::uint32_t count) override;
    void WriteBlockBegin(const CToken& name) override;
    void WriteBlockBegin(const AString& name) override;
    void WriteBlockBegin(const wchar16* name) override;
    void WriteBlockBegin() override;
    void WriteBlockEnd(const CToken& name) override;
    void WriteBlockEnd(const AString& name) override;
    void WriteBlockEnd(const wchar16* name) override;
    void WriteBlockEnd() override;
    long SetFixed(long flags) override;
    long SetScientific(long flags) override;
    void WriteKeyword(const AString& text) override;
    void WriteKeyword(const wchar16* text) override;
    void WriteQuoted(const CToken& text) override;
    void WriteQuoted(const AString& text) override;
    void WriteQuoted(const wchar16* text) override;
    void WriteComment(const AString& text) override;
    void WriteComment(const wchar16* text) override;
    void WriteChar(wchar16 ch) override;
    int SetPrecision(int precision) override;
    int SetWidth(int width) override;
    bool SetHex(bool hex) override;
    wchar16 SetFill(wchar16 fill) override;
    void MakeState(CAbstract_stream_pos& pos) override;
    void SaveState(CAbstract_stream_pos& pos) override;
    void RestoreState(const CAbstract_stream_pos& pos) override;

    bool Good() const override;
    bool Eof() const override;
    bool Fail() const override;
    bool Bad() const override;
    std::int32_t GetLineNumber() const override;
    bool SetAutoFormat(const bool& on) override;
    void WriteUnformatted(const wchar16* text) override;
    void Write(const CToken& token) override;
    void Write(const AString& text) override;
    void Write(double value) override;
    void Write(float value) override;
    void Write(unsigned long value) override;
    void Write(long value) override;
    void Write(unsigned int value) override;
    void Write(int value) override;
    void Write(short value) override;
    void Write(wchar16 ch) override;
    void Write(const wchar16* text) override;
    void Write(bool value) override;
    using CAbstract_ostream::Write;
    AString& GetIndent(AString& out) const override;
    void WriteText(std::u16string_view text) override;
    void WriteElements(const CToken* elements, std::size_t count) override;
    void WriteDoubles(const double* values, std::size_t count) override;

    CToken_streambuf* GetBuffer() const { return m_Buffer.get(); }
    // Of SetFixed and SetScientific.
    long GetFormatFlags() const { return m_FormatFlags; }

protected:
    // For a stream in memory.
    CToken_ostream(CToken_streambuf::CharBuf* characters, std::uint32_t flags, const CBase_grammar* grammar);

    std::int64_t TellOffset() override;
    std::int64_t SeekOffset(std::int64_t offset) override;

    std::unique_ptr<CToken_streambuf> m_Buffer;

private:
    void Start(std::uint32_t flags);
    void BeginBlock(std::u16string_view name);
    void EndBlock(const std::u16string_view* name); // null: no name
    void WriteEdge(std::u16string_view keyword, const std::u16string_view* name);
    void WriteBaseIndex(bool final);

    COutStream* m_Stream = nullptr; // null in memory
    bool m_OwnStream = false;
    bool m_Failed = false;
    const CBase_grammar* m_Grammar;
    bool m_OwnGrammar = false;
    bool m_DelimiterGrammar = false; // block names are always quoted then
    long m_FormatFlags = 0;
};

} // namespace io
