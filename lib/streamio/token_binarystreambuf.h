// The binary form: tagged bytes in place of characters, the same tokens in the same order
// (docs/formats/binary.md).
#pragma once

#include <streamio/token_streambuf.h>

#include <string>

namespace io {

class CBinaryRoad;
struct BlockKeywords;
struct RoadPlace;

class CToken_binarystreambuf final : public CToken_streambuf {
public:
    CToken_binarystreambuf(CharBuf* stream, std::uint32_t flags);

    void AddCommentChars(const wchar16*) override {}
    void RemoveCommentChars(const wchar16*) override {}
    // Steps past the next Eol token. There is no text of a line to give: the second form asserts and does as
    // the first.
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
    std::size_t GetIndentLevels() const override { return m_IndentLevels; }
    AString& GetIndentString(AString& out) const override;
    void WriteNewLine(bool force) override;
    int SetPrecision(int precision) override { return std::exchange(m_Precision, precision); }
    int SetWidth(int width) override;
    bool SetHex(bool hex) override { return std::exchange(m_Hex, hex); }
    wchar16 SetFill(wchar16 fill) override { return std::exchange(m_Fill, fill); }
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
    void WriteDoubles(const double* values, std::size_t count, long flags) override;
    std::size_t ReadDoubles(double* values, std::size_t count) override;

    // A road from the current token on, where there is one for blocks with those keywords. At its end the token at
    // `place` is read.
    std::optional<CBinaryRoad> OpenRoad(const BlockKeywords& keywords) const;
    void CloseRoad(const RoadPlace& place);

    // The one byte 0 with which every binary text opens.
    void WriteStart() { PutUnit(0); }
    void PassStart();

private:
    wchar16* BeginItem();
    void EndItem(wchar16* end, TokenType last, ItemPlace place);
    void PutTag(TokenType kind);
    void PutText(TokenType kind, std::u16string_view text);
    void PutNumber(const wchar16* units, const wchar16* end);
    void PutUnsigned(int tag, std::uint32_t value, int width);
    void PutSigned(std::int32_t value, int width);
    bool TakeByte(int& byte);
    void ReadText(TokenType kind, bool longForm);
    void ReadNumber(int tag);

    std::string m_Utf8; // bytes of the text in hand
    std::size_t m_IndentLevels = 0;
    int m_Precision = -1;
    int m_Width = -1;
    bool m_KeepAllBytes = false;
    wchar16 m_Fill = u' ';
    bool m_Hex = false;
};

} // namespace io
