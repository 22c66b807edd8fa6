// The interface of input streams: a current token, tests that consume nothing, typed reads with a good flag,
// skipping.
//
// A read that meets another token than it wants leaves its target alone and clears the good flag; unless
// stop-on-fail is off, everything then does nothing until `ClearFail`, so that a sequence of reads is tested
// once at its end. Nothing is thrown. One thread at a time.
#pragma once

#include <streamio/abstract_stream.h>

#include <istream>

namespace io {

class CStreamio_object;
class CStreamio_manip;

using CInStream = std::basic_istream<wchar16>;

class CAbstract_istream : public CAbstract_stream {
public:
    // Builds an index by scanning the text; true if no step went wrong.
    virtual bool LoadIndex(std::uint32_t flags) = 0;

    virtual void ReadLine(AString& line);
    virtual void SkipLine();
    virtual void ExpectEol();
    virtual void NextToken();
    virtual void ReadBlockBegin(CToken& name);
    virtual void ReadBlockBegin(AString& name);
    virtual void ReadBlockBegin(const wchar16* name);
    virtual void ReadBlockBegin();
    virtual void ReadBlockEnd(CToken& name);
    virtual void ReadBlockEnd(AString& name);
    virtual void ReadBlockEnd(const wchar16* name);
    virtual void ReadBlockEnd();
    virtual void ReadKeyword(AString& text);
    virtual void ExpectKeyword(const wchar16* text);
    virtual void ReadText(CToken& text);
    virtual void ReadText(AString& text);
    virtual void ExpectText(const wchar16* text);
    virtual void ReadComment(AString& text);
    virtual void ExpectComment(const wchar16* text);
    virtual void ExpectSymbol(wchar16 ch);

    virtual bool Good() const = 0;
    virtual bool Eof() const = 0;
    virtual bool Fail() const = 0;
    virtual bool Bad() const = 0;
    // 0 upper case, 1 lower case, 2 as it stands, 3 as it stands and compared without case. Gives the former
    // mode.
    virtual int SetCaseMode(int mode) = 0;
    virtual const CToken& PeekToken() = 0;
    virtual std::int32_t GetLineNumber() const = 0;
    virtual bool IsKeyword() = 0;
    virtual bool IsKeyword(const AString& text) = 0;
    virtual bool IsKeyword(const wchar16* text) = 0;
    virtual bool IsBlockBegin(const AString& name) = 0;
    virtual bool IsBlockBegin(const wchar16* name) = 0;
    virtual bool IsBlockBegin() = 0;
    virtual bool IsBlockEnd(const AString& name) = 0;
    virtual bool IsBlockEnd(const wchar16* name) = 0;
    virtual bool IsBlockEnd() = 0;
    virtual bool IsText() = 0;
    virtual bool IsText(const AString& text) = 0;
    virtual bool IsText(const wchar16* text) = 0;
    virtual bool IsComment() = 0;
    virtual bool IsComment(const AString& text) = 0;
    virtual bool IsComment(const wchar16* text) = 0;
    virtual bool IsSymbol() = 0;
    virtual bool IsSymbol(wchar16 ch) = 0;
    virtual bool IsEol() = 0;
    virtual bool IsEof() = 0;
    virtual bool IsNumber() = 0;
    virtual bool IsNumber(const double& value) = 0;
    virtual bool SkipToKeyword(const AString& text) = 0;
    virtual bool SkipToSymbol(wchar16 ch) = 0;
    virtual bool SkipToText(const AString& text) = 0;
    virtual bool SkipToBlock(const AString& name) = 0;
    virtual bool SkipToBlockEnd(const AString& name) = 0;
    virtual bool SkipToKeywordAtLineStart(const AString& text) = 0;
    virtual bool SkipToSymbolAtLineStart(wchar16 ch) = 0;
    virtual bool SkipToTextAtLineStart(const AString& text) = 0;
    virtual bool SetSkipOnError(const bool& on) = 0;
    virtual bool ClearSkipOnError() = 0;
    virtual bool SetStopOnFail(const bool& on) = 0;
    virtual bool ClearStopOnFail() = 0;
    virtual void ClearFail() = 0;
    virtual void SetFail() = 0;
    virtual bool SetSkipLineEnds(const bool& on) = 0;
    virtual bool ClearSkipLineEnds() = 0;
    virtual CAbstract_istream& Apply(CAbstract_istream& (*function)(CAbstract_istream&));
    virtual void Read(AString& text) = 0;
    virtual void Read(CToken& token) = 0;
    virtual void Read(double& value) = 0;
    virtual void Read(float& value) = 0;
    virtual void Read(unsigned long& value) = 0;
    virtual void Read(long& value) = 0;
    virtual void Read(unsigned int& value) = 0;
    virtual void Read(int& value) = 0;
    virtual void Read(short& value) = 0;
    virtual void Read(unsigned short& value) = 0;
    virtual void Read(bool& value) = 0;
    virtual void PushBackToken(const CToken& token) = 0;
    // As Read(double) of each, up to the first that fails: gives how many were read.
    virtual std::size_t ReadDoubles(double* values, std::size_t count);

    void RestoreState(const CAbstract_stream_pos& pos) override;

    // The present place, with the current token. A state of `pos` that its copies share is left to them.
    void GetPosition(CAbstract_stream_pos& pos);
    // False if the stream can't go there.
    bool SetPosition(const CAbstract_stream_pos& pos);

protected:
    CAbstract_istream() = default;

    virtual std::int64_t TellOffset() = 0;
    virtual std::int64_t SeekOffset(std::int64_t offset) = 0;

    bool m_Good = true;
};

CAbstract_istream& operator>>(CAbstract_istream& s, CStreamio_object& object);
CAbstract_istream& operator>>(CAbstract_istream& s, CStreamio_manip&& manip);
CAbstract_istream& operator>>(CAbstract_istream& s, CStreamio_manip& manip);
inline CAbstract_istream& operator>>(CAbstract_istream& s, CAbstract_istream& (*f)(CAbstract_istream&)) {
    return s.Apply(f);
}

template <class T>
concept StreamScalar = requires(CAbstract_istream& s, T& value) {
    s.Read(value);
};

template <StreamScalar T>
CAbstract_istream& operator>>(CAbstract_istream& s, T& value) {
    s.Read(value);
    return s;
}

} // namespace io
