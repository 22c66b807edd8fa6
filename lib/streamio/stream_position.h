// A position in a stream with what the scanner knew there, which a seek needs besides the offset.
//
// A position outlives its stream as data: an index may store it, and a later stream over the same text seeks
// to it. Copies share the state; a stream that saves into a position never changes the state of its copies.
#pragma once

#include <streamio/token.h>
#include <utility/refptr.h>

#include <cstdint>
#include <list>
#include <vector>

namespace io {

class CBlock_func;
class CAbstract_stream_pos;

class CAbstract_stream_state : public mrefcount {
public:
    virtual ~CAbstract_stream_state();

    virtual std::int32_t GetLine() const;
    // Nothing is in hand that the offset doesn't tell: no token or character was given back, and a line
    // begins.
    virtual bool IsReady() const;
    virtual bool IsInitial() const;
    // Adds the state's named values to the entry of an index, or reads them.
    virtual void WriteTo(CBlock_func& entry) const;
    virtual void ReadFrom(CBlock_func& entry);
    // Moves the line number by the lines between two positions.
    virtual void Adjust(const CAbstract_stream_pos& from, const CAbstract_stream_pos& to);
    virtual refptr<CAbstract_stream_state> Clone() const;

    std::uint32_t indentLevel = 0;
    std::list<AString> blockPath;
};

class CToken_stream_state : public CAbstract_stream_state {
public:
    std::int32_t GetLine() const override;
    bool IsReady() const override;
    bool IsInitial() const override;
    void WriteTo(CBlock_func& entry) const override;
    void ReadFrom(CBlock_func& entry) override;
    void Adjust(const CAbstract_stream_pos& from, const CAbstract_stream_pos& to) override;
    refptr<CAbstract_stream_state> Clone() const override;

    bool atLineStart = true;
    CToken currentToken;
    wchar16 lastCharacter = 0;
    TokenType lastKind = TokenType::Eol;
    std::int32_t lineNumber = 1;
    std::vector<std::int32_t> pushedCharacters;
    std::vector<CToken> pushedTokens;
};

class CToken_textstream_state : public CToken_stream_state {
public:
    refptr<CAbstract_stream_state> Clone() const override;

    std::vector<std::uint32_t> indentStack;
    AString indentString;
};

class CAbstract_stream_pos {
public:
    CAbstract_stream_pos() = default;
    virtual ~CAbstract_stream_pos();
    CAbstract_stream_pos(const CAbstract_stream_pos&) = default;
    CAbstract_stream_pos& operator=(const CAbstract_stream_pos&) = default;

    bool IsValid() const { return mPos >= 0; }
    std::int32_t GetLine() const { return mState ? mState->GetLine() : 0; }

    // The entry of an index: "pos", then what the state has. Reading is false, and nothing changes, without a
    // "pos".
    virtual void WriteTo(CBlock_func& entry) const;
    virtual bool ReadFrom(CBlock_func& entry);

    // The state for a stream to write into: of class State, not shared with another position.
    template <class State>
    State& OwnState() {
        if (mState && mState->GetReferenceCount() > 1)
            mState = mState->Clone();
        auto* state = mState ? dynamic_cast<State*>(mState.Get()) : nullptr;
        if (!state) {
            state = new State;
            mState = state;
        }
        return *state;
    }

    std::int64_t mPos = 0; // in characters of the text; -1 when invalid
    refptr<CAbstract_stream_state> mState;
    bool mBinary = false;
};

} // namespace io
