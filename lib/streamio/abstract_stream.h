// What input and output streams of tokens have in common: indentation, keywords, index, positions.
//
// A stream is open from its construction to `Close`, which the destructor calls and which may run twice. It
// belongs to one thread at a time.
#pragma once

#include <streamio/stream_position.h>

#include <cstdint>
#include <memory>

namespace io {

class CBlock_index;

// Flags of constructors, StartIndex and LoadIndex.
enum StreamFlag : std::uint32_t {
    kUseIndex = 0x1,     // read the stored index at opening; write one
    kAllLevels = 0x2,    // index every level, not only top-level blocks
    kFastScan = 0x4,     // LoadIndex skips lines instead of reading items
    kCheckIndex = 0x8,   // read every block that a stored index names
    kCheckNested = 0x10, // ... and look for errors in nested blocks
    kKeepCase = 0x40,    // case mode 2
    kUpperCase = 0x80,   // case mode 0
    kBinaryForm = 0x100,
    kWriteCR = 0x200,       // lines end with CR LF
    kDropSourceText = 0x400 // numbers don't keep the text they were read from
};

// Bits of SetScientific and SetFixed.
inline constexpr long kScientificFormat = 0x1000;
inline constexpr long kFixedFormat = 0x2000;

class CAbstract_stream {
public:
    virtual ~CAbstract_stream();
    CAbstract_stream(const CAbstract_stream&) = delete;
    CAbstract_stream& operator=(const CAbstract_stream&) = delete;

    virtual void Close();
    virtual bool IsBinary() const = 0;
    // Moves to a block that the index names; false without an index or an entry.
    virtual bool SeekToIndexEntry(const AString& path) = 0;

    virtual void IncIndent(std::uint32_t count);
    virtual void DecIndent();

    // Formats of numbers on output; no effect on input. Each gives the former value.
    virtual long SetFixed(long flags) = 0;
    virtual long SetScientific(long flags) = 0;
    virtual int SetPrecision(int precision);
    virtual int SetWidth(int width);
    virtual bool SetHex(bool hex);
    virtual wchar16 SetFill(wchar16 fill);

    virtual void SetBeginKeyword(const AString& keyword);
    virtual void SetEndKeyword(const AString& keyword);

    virtual void MakeState(CAbstract_stream_pos& pos);
    virtual void SaveState(CAbstract_stream_pos& pos);
    virtual void RestoreState(const CAbstract_stream_pos& pos);

    const AString& GetBeginKeyword() const { return m_BeginKeyword; }
    const AString& GetEndKeyword() const { return m_EndKeyword; }
    std::uint32_t GetIndentLevel() const { return m_IndentLevel; }
    // Characters of indentation a level. Gives the former count.
    std::uint32_t SetIndentCount(std::uint32_t count) { return std::exchange(m_IndentCount, count); }
    wchar16 SetIndentChar(wchar16 ch) { return std::exchange(m_IndentChar, ch); }
    CBlock_index* GetIndex() const { return m_Index.get(); }

protected:
    CAbstract_stream();

    std::uint32_t m_IndentLevel = 0; // how many blocks are open
    std::uint32_t m_IndentCount = 1;
    wchar16 m_IndentChar = u'\t';
    AString m_BeginKeyword; // may be empty: blocks then begin with their name
    AString m_EndKeyword;
    std::unique_ptr<CBlock_index> m_Index;
    bool m_LocaleGiven = false;
};

} // namespace io
