// What can be written to and read from a stream, and the library's errors.
//
// A class of its own stores itself by `Read` and `Write`. A class that is one named block derives from
// CStreamio_block_object and gives `GetBlockName` and `TransferBlock` (or `ReadFromBlock` and
// `WriteToBlock`); its keys may then stand in any order, and unknown ones do no harm. One thread at a time.
#pragma once

#include <streamio/token.h>

#include <cstdint>

namespace io {

class CAbstract_stream;
class CAbstract_istream;
class CAbstract_ostream;
class CBlock;
class CBlockItemPtr;

enum class ReadError : std::int32_t {
    Ok,
    Read,
    Write,
    BlockSyntax,
    Item,
    Value,
    EqualSign,
    ItemSymbol,
    OpenBracket,
    CloseBracket,
    Separator,
    Identifier,
    VectorSize
};

// The deepest nesting of blocks and functions that is read or written. A block or function beyond it is an
// error (ReadError::Item) of the block in which it stands, and is passed over; writing one throws
// XStreamioError.
inline constexpr std::size_t kMaxNesting = 4096;

class XStreamioError {
public:
    XStreamioError(ReadError code, const CAbstract_istream& stream);
    XStreamioError(ReadError code, const CAbstract_ostream& stream);
    XStreamioError(ReadError code, std::int32_t line) : mCode(code), mLine(line) {}

    // The fixed text of the code; empty for a code that there isn't.
    const AString& GetText() const;

    ReadError mCode;
    std::int32_t mLine;
};

class CStreamio_object {
public:
    virtual ~CStreamio_object() = default;
    // Readers of single items throw XStreamioError; a block records errors instead.
    virtual void Read(CAbstract_istream& s) = 0;
    virtual void Write(CAbstract_ostream& s) const = 0;
    // The text form with the default grammar. Of `floatFormat` the bit kScientificFormat counts; `precision`
    // is in digits.
    virtual AString& ToText(AString& out, long floatFormat, int precision) const;
    virtual AString& ToText(AString& out) const;
    virtual AString& ToBinaryText(AString& out) const;
    // From either form; false if the stream has failed.
    virtual bool FromText(const AString& text);
    // Bytes of the binary form, as a reserve; 0 if the class doesn't know.
    virtual std::uint32_t GetBinarySize(CAbstract_ostream& s) const;

protected:
    CStreamio_object() = default;
    CStreamio_object(const CStreamio_object&) = default;
    CStreamio_object& operator=(const CStreamio_object&) = default;
};

// Objects that can become an item of a block.
class CStreamio_item_object : public CStreamio_object {};

class CStreamio_block_object : public CStreamio_item_object {
public:
    // With an empty block name any block may stand there; if it doesn't fit, XStreamioError(1).
    void Read(CAbstract_istream& s) override;
    void Write(CAbstract_ostream& s) const override;
    std::uint32_t GetBinarySize(CAbstract_ostream& s) const override;

    virtual AString GetBlockName() const = 0;
    virtual CBlockItemPtr& GetItem(CBlockItemPtr& out) const;
    virtual bool SetItem(const CBlockItemPtr& item);
    // Moves every key between the object and the block; 0 is success. May throw a ReadError.
    virtual std::int32_t TransferBlock(CBlock& block, bool read) = 0;
    virtual std::int32_t ReadFromBlock(CBlock& block);
    // True for success. A ReadError thrown by TransferBlock comes back as true if it isn't 0.
    virtual bool WriteToBlock(CBlock& block);
    // As a part of a bigger object: `mInBlock` is set meanwhile. A positive status counts as success.
    virtual bool ReadAsPart(CBlock& block);
    virtual std::int32_t WriteAsPart(CBlock& block);
    virtual bool SetInBlock(bool inBlock);

    std::int32_t GetReadStatus() const { return mReadStatus; }

protected:
    std::int32_t mReadStatus = 0;
    bool mInBlock = false;
};

class CStreamio_manip {
public:
    virtual ~CStreamio_manip() = default;
    virtual void Apply(CAbstract_istream& s) = 0;
    virtual void Apply(CAbstract_ostream& s) = 0;
};

} // namespace io
