// Reads blocks and their items without recursion, whatever their nesting.
#pragma once

#include "item_road.h"

#include <streamio/block.h>

#include <vector>

namespace io {

class CToken_istream;
class CToken_streambuf;

class CTreeReader {
public:
    explicit CTreeReader(CAbstract_istream& s);

    // A block from its begin keyword on; errors are recorded in the blocks.
    void ReadBlock(CBlock& block);
    // An item or argument from its name on; null is never given, an error is thrown.
    CBlockItemPtr ReadItem();
    CBlockFuncArgPtr ReadArg();
    // A function or vector from its bracket on.
    void ReadFunc(CBlock_func& func);
    void ReadVec(CBlock_vec& vec);
    // A value, with "=" in front if it is a named one.
    void ReadValue(CBlock_value& value, bool named);

private:
    struct Frame {
        CBlock* block = nullptr; // one of the two
        CBlock_func* func = nullptr;
        CBlockItemPtr owner; // of a function until it is complete; null at the root
        bool afterArg = false;
    };
    // An error that the innermost block records; Ok for none.
    using Result = ReadError;

    // The stream by its operations, or directly where it is one of the library's own classes.
    const CToken& Peek() {
        if (m_Current) [[likely]]
            return *m_Current;
        return PeekAnew();
    }
    const CToken& PeekAnew();
    bool IsSymbol(wchar16 ch);
    bool IsBlockBegin();
    bool IsBlockEnd();
    bool IsEof() { return Peek().GetType() == TokenType::Eof; }
    CToken Take();
    void Step();

    void Run(std::size_t base, Result& result);
    Result StepBlock();
    Result StepFunc();
    Result Dispatch(CToken name, CBlockItemPtr& leaf, bool asArg);
    Result TakeValue(CBlock_value& value);
    Result TakeElements(CBlock_vec& vec);
    // Reads items and whole blocks without tokens, as far as they are usual. The begin of the outermost block, if that is
    // given, stands first; false if it isn't usual.
    bool RunRoad(CBlock* outermost = nullptr);
    template <class Buffer>
    bool RunRoad(Buffer& buffer, CBlock* outermost);
    void EnterBlock(CBlock& block);
    template <class Road>
    bool TakeItem(Road& road);
    // A function of two numbers that joins the block's pairs; if it doesn't, the road stands where it stood.
    template <class Road>
    bool TakePair(Road& road, CBlock& block, CToken& name);
    template <class Road>
    bool TakeArguments(Road& road, CBlock_func& func);
    bool BeginBlock(CBlock& block);
    void EndBlock(CBlock& block);
    void Recover(CBlock& block, ReadError code, bool consumed);
    void PassNested();
    void Unwind(std::size_t base);

    CAbstract_istream& m_Stream;
    CToken_istream* m_Own;             // the stream, where its class is one of the library's own
    CToken_streambuf* m_Buffer;        // its buffer then
    const CToken* m_Current = nullptr; // of the buffer, as long as nothing has moved
    bool m_Binary;
    std::vector<Frame> m_Frames;
    std::size_t m_RowTokens = 0; // of the last row of pairs: others of a matrix are as long
    std::size_t m_RoadBase = 0;  // the outermost block whose items may be read without tokens, 0 for none
};

} // namespace io
