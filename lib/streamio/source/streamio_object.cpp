#include <streamio/block.h>
#include <streamio/delimiter_grammar_default.h>
#include <streamio/streamio_object.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <array>

namespace io {

XStreamioError::XStreamioError(ReadError code, const CAbstract_istream& stream)
    : mCode(code), mLine(stream.GetLineNumber()) {}
XStreamioError::XStreamioError(ReadError code, const CAbstract_ostream& stream)
    : mCode(code), mLine(stream.GetLineNumber()) {}

const AString& XStreamioError::GetText() const {
    static const std::array<AString, 13> kTexts = {
        AString(std::u16string_view(u"ok")),
        AString(std::u16string_view(u"read error")),
        AString(std::u16string_view(u"write error")),
        AString(std::u16string_view(u"begin/end block syntax invalid")),
        AString(std::u16string_view(u"invalid block item")),
        AString(std::u16string_view(u"value is not valid")),
        AString(std::u16string_view(u"'=' expected")),
        AString(std::u16string_view(u"expected a '(' or a '='")),
        AString(std::u16string_view(u"'(' or '[' expected")),
        AString(std::u16string_view(u"')' or ']' expected")),
        AString(std::u16string_view(u"expected a ')', ']' or a ','")),
        AString(std::u16string_view(u"identifier expected")),
        AString(std::u16string_view(u"invalid vector size")),
    };
    static const AString kNone;
    const auto index = static_cast<std::size_t>(mCode);
    return index < kTexts.size() ? kTexts[index] : kNone;
}

AString& CStreamio_object::ToText(AString& out, long floatFormat, int precision) const {
    CToken_ostring s(&DefaultTokenGrammar());
    s.SetPrecision(precision);
    s.SetScientific(floatFormat);
    Write(s);
    out = s.TakeText();
    return out;
}

AString& CStreamio_object::ToText(AString& out) const {
    CToken_ostring s(&DefaultTokenGrammar());
    Write(s);
    out = s.TakeText();
    return out;
}

AString& CStreamio_object::ToBinaryText(AString& out) const {
    CToken_ostring s(*this);
    Write(s);
    out = s.TakeText();
    return out;
}

bool CStreamio_object::FromText(const AString& text) {
    CToken_istring s(CToken_istring::InPlace{text}, &DefaultTokenGrammar());
    Read(s);
    return !s.Fail();
}

std::uint32_t CStreamio_object::GetBinarySize(CAbstract_ostream&) const {
    return 0;
}

void CStreamio_block_object::Read(CAbstract_istream& s) {
    mReadStatus = 0;
    const AString name = GetBlockName();
    if (!name.empty()) {
        CBlock block(name);
        block.Read(s);
        mReadStatus = ReadFromBlock(block);
        return;
    }
    if (!s.IsBlockBegin())
        return;
    CBlockItemPtr item;
    item.Read(s);
    if (!item || !SetItem(item))
        throw XStreamioError(ReadError::Read, s);
}

void CStreamio_block_object::Write(CAbstract_ostream& s) const {
    CBlock block(GetBlockName());
    const_cast<CStreamio_block_object*>(this)->WriteToBlock(block); // TransferBlock serves both directions
    block.Write(s);
}

std::uint32_t CStreamio_block_object::GetBinarySize(CAbstract_ostream& s) const {
    CBlockItemPtr item;
    return GetItem(item)->GetBinarySize(s);
}

CBlockItemPtr& CStreamio_block_object::GetItem(CBlockItemPtr& out) const {
    auto* block = new CBlock(GetBlockName());
    CBlockItemPtr item(block);
    const_cast<CStreamio_block_object*>(this)->WriteToBlock(*block);
    out = std::move(item);
    return out;
}

bool CStreamio_block_object::SetItem(const CBlockItemPtr& item) {
    mReadStatus = 0;
    const CBlock_ptr<CBlock> block(item);
    if (!block)
        return false;
    mReadStatus = ReadFromBlock(*block);
    return mReadStatus == 0;
}

std::int32_t CStreamio_block_object::ReadFromBlock(CBlock& block) {
    try {
        mReadStatus = TransferBlock(block, true);
    } catch (ReadError error) {
        mReadStatus = static_cast<std::int32_t>(error);
    }
    return mReadStatus;
}

bool CStreamio_block_object::WriteToBlock(CBlock& block) {
    try {
        return TransferBlock(block, false) == 0;
    } catch (ReadError error) {
        return error != ReadError::Ok;
    }
}

bool CStreamio_block_object::ReadAsPart(CBlock& block) {
    SetInBlock(true);
    const std::int32_t status = ReadFromBlock(block);
    SetInBlock(false);
    return status >= 0;
}

std::int32_t CStreamio_block_object::WriteAsPart(CBlock& block) {
    SetInBlock(true);
    block = CBlock(GetBlockName());
    const std::int32_t result = WriteToBlock(block) ? 1 : 0;
    SetInBlock(false);
    return result;
}

bool CStreamio_block_object::SetInBlock(bool inBlock) {
    return std::exchange(mInBlock, inBlock);
}

} // namespace io
