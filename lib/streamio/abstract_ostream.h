// The interface of output streams: values, names, comments and blocks go in, a text or a binary text comes
// out.
//
// Nothing is thrown for a failing stream: `Good` and `Fail` tell, at any time. One thread at a time.
#pragma once

#include <streamio/abstract_stream.h>

#include <list>
#include <ostream>

namespace io {

class CStreamio_object;
class CStreamio_manip;

using COutStream = std::basic_ostream<wchar16>;

class CAbstract_ostream : public CAbstract_stream {
public:
    virtual bool StartIndex(std::uint32_t flags) = 0;
    bool SeekToIndexEntry(const AString& path) override;

    virtual void WriteLine(const AString& line);
    virtual void NewLine();
    virtual void EnsureNewLine();
    virtual void WriteMark();
    virtual void WriteBlockBegin(const CToken& name);
    virtual void WriteBlockBegin(const AString& name);
    virtual void WriteBlockBegin(const wchar16* name);
    virtual void WriteBlockBegin();
    virtual void WriteBlockEnd(const CToken& name);
    virtual void WriteBlockEnd(const AString& name);
    virtual void WriteBlockEnd(const wchar16* name);
    virtual void WriteBlockEnd();
    virtual void WriteKeyword(const AString& text);
    virtual void WriteKeyword(const wchar16* text);
    virtual void WriteQuoted(const CToken& text);
    virtual void WriteQuoted(const AString& text);
    virtual void WriteQuoted(const wchar16* text);
    virtual void WriteComment(const AString& text);
    virtual void WriteComment(const wchar16* text);
    virtual void WriteChar(wchar16 ch);

    void SaveState(CAbstract_stream_pos& pos) override;
    void RestoreState(const CAbstract_stream_pos& pos) override;

    virtual bool Good() const = 0;
    virtual bool Eof() const = 0;
    virtual bool Fail() const = 0;
    virtual bool Bad() const = 0;
    virtual std::int32_t GetLineNumber() const;
    // Whether blanks, quotes and escapes are added. Gives the former value.
    virtual bool SetAutoFormat(const bool& on);
    virtual void WriteUnformatted(const wchar16* text);
    virtual CAbstract_ostream& Apply(CAbstract_ostream& (*function)(CAbstract_ostream&));
    virtual void Write(const CToken& token) = 0;
    virtual void Write(const AString& text) = 0;
    virtual void Write(double value) = 0;
    virtual void Write(float value) = 0;
    virtual void Write(unsigned long value) = 0;
    virtual void Write(long value) = 0;
    virtual void Write(unsigned int value) = 0;
    virtual void Write(int value) = 0;
    virtual void Write(short value) = 0;
    virtual void Write(wchar16 ch) = 0;
    virtual void Write(const wchar16* text) = 0;
    virtual void Write(bool value) = 0;
    void Write(const char*) = delete; // would be taken for a bool
    virtual AString& GetIndent(AString& out) const;
    // As Write(const AString&), of counted characters.
    virtual void WriteText(std::u16string_view text);
    // The elements of a vector, in the text form with a comma and a blank between them.
    virtual void WriteElements(const CToken* elements, std::size_t count);
    // As Write(double) of each.
    virtual void WriteDoubles(const double* values, std::size_t count);

    // The present place. A state of `pos` that its copies share is left to them.
    void GetPosition(CAbstract_stream_pos& pos);
    // False if the stream can't go there.
    bool SetPosition(const CAbstract_stream_pos& pos);

protected:
    CAbstract_ostream() = default;

    // The offset that the next character gets, -1 when the stream has failed.
    virtual std::int64_t TellOffset() = 0;
    virtual std::int64_t SeekOffset(std::int64_t offset) = 0;

    bool m_BuildIndex = false;
    std::list<AString> m_BlockPath; // paths of the open blocks
};

inline CAbstract_ostream& operator<<(CAbstract_ostream& s, const CToken& v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, const AString& v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, const wchar16* v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, double v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, float v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, unsigned long v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, long v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, unsigned int v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, int v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, short v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, wchar16 v) {
    return s.Write(v), s;
}
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, bool v) {
    return s.Write(v), s;
}
CAbstract_ostream& operator<<(CAbstract_ostream& s, const char*) = delete;
CAbstract_ostream& operator<<(CAbstract_ostream& s, const CStreamio_object& object);
CAbstract_ostream& operator<<(CAbstract_ostream& s, CStreamio_manip&& manip);
CAbstract_ostream& operator<<(CAbstract_ostream& s, CStreamio_manip& manip);
inline CAbstract_ostream& operator<<(CAbstract_ostream& s, CAbstract_ostream& (*f)(CAbstract_ostream&)) {
    return s.Apply(f);
}

} // namespace io
