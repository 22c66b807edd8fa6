#include "integer_kind.h"
#include "name_compare.h"
#include "tree_reader.h"
#include "tree_walk.h"

#include <streamio/block_item.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>
#include <streamio/token_ostring.h>

#include <utility/assertion.h>

#include <cstring>
#include <limits>
#include <memory>

namespace io {

namespace {

void AddCount(std::uint32_t& counter, std::size_t count) {
    const std::uint64_t sum = counter + static_cast<std::uint64_t>(count);
    counter = sum > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<std::uint32_t>(sum);
}

template <class T>
bool GetInteger(const CToken* token, T& out, double low, double high) {
    const double value = token ? token->GetDouble() : 0.0;
    if (!token || !token->IsNumber() || !(value >= low && value <= high))
        return false;
    out = static_cast<T>(value);
    return true;
}

} // namespace

CMemoryStats& CMemoryStats::operator+=(const CMemoryStats& other) {
    AddCount(blocks, other.blocks);
    AddCount(namedValues, other.namedValues);
    AddCount(values, other.values);
    AddCount(funcs, other.funcs);
    AddCount(vecs, other.vecs);
    AddCount(elements, other.elements);
    AddCount(itemBytes, other.itemBytes);
    AddCount(arrayBytes, other.arrayBytes);
    AddCount(strings, other.strings);
    AddCount(stringBytes, other.stringBytes);
    return *this;
}

void CMemoryStats::AddToken(const CToken& token) {
    if (const std::size_t bytes = token.GetTextMemory()) {
        AddCount(strings, 1);
        AddCount(stringBytes, bytes);
    }
}

CBlock_item::~CBlock_item() {
    TARVOK_ASSERT_TEXT(mRefCount == 0, "mRefCount == 0");
}

AString& CBlock_item::GetName(AString& out) const {
    out.clear();
    return out;
}

void CBlock_item::SetName(const AString&) {}

const CToken& CBlock_item::GetNameToken() const {
    static const CToken kNull;
    return kNull;
}

bool CBlock_item::IsEmpty() const {
    return GetSize() < 1;
}

bool CBlock_item::FromText(const AString& text) {
    CToken_istring s(CToken_istring::InPlace{text}, &DefaultTokenGrammar());
    CBlockItemPtr item;
    item.Read(s);
    if (!TakeContent(*item))
        throw XStreamioError(ReadError::Item, s);
    return !s.Fail();
}

void CBlockItemPtr::Read(CAbstract_istream& s) {
    *this = CTreeReader(s).ReadItem();
}
void CBlockFuncArgPtr::Read(CAbstract_istream& s) {
    *this = CTreeReader(s).ReadArg();
}

bool CBlock_token_arg::GetWideChars(wchar16* out) const {
    const CToken* token = GetFirstToken();
    if (!token || !token->IsText())
        return false;
    CToken::Scratch scratch;
    const std::u16string_view text = token->GetText(scratch);
    std::memcpy(out, text.data(), text.size() * sizeof(wchar16));
    out[text.size()] = 0;
    return true;
}

bool CBlock_token_arg::GetBool(bool& out) const {
    const CToken* token = GetFirstToken();
    if (!token || !IsBooleanKind(token->GetType()))
        return false;
    out = token->GetType() == TokenType::True;
    return true;
}

bool CBlock_token_arg::GetString(AString& out) const {
    const CToken* token = GetFirstToken();
    if (!token || !token->IsText())
        return false;
    token->GetText(out);
    return true;
}

bool CBlock_token_arg::GetUnsignedLong(unsigned long& out) const {
    return GetInteger(GetFirstToken(), out, 0, 4294967295.0);
}
bool CBlock_token_arg::GetUnsignedInt(unsigned int& out) const {
    return GetInteger(GetFirstToken(), out, 0, 4294967295.0);
}
bool CBlock_token_arg::GetUnsignedShort(unsigned short& out) const {
    return GetInteger(GetFirstToken(), out, 0, 65535);
}
bool CBlock_token_arg::GetLong(long& out) const {
    return GetInteger(GetFirstToken(), out, -2147483648.0, 2147483647.0);
}
bool CBlock_token_arg::GetInt(int& out) const {
    return GetInteger(GetFirstToken(), out, -2147483648.0, 2147483647.0);
}
bool CBlock_token_arg::GetShort(short& out) const {
    return GetInteger(GetFirstToken(), out, -32768, 32767);
}

bool CBlock_token_arg::GetFloat(float& out) const {
    double value = 0;
    if (!GetDouble(value))
        return false;
    // Beyond the range the conversion isn't defined; rounding to single precision gives an infinity there.
    constexpr double kBeyond = 3.4028235677973366e+38;
    if (value >= kBeyond || value <= -kBeyond)
        out = value > 0 ? std::numeric_limits<float>::infinity() : -std::numeric_limits<float>::infinity();
    else
        out = static_cast<float>(value);
    return true;
}

bool CBlock_token_arg::GetDouble(double& out) const {
    const CToken* token = GetFirstToken();
    if (!token || !token->IsNumber())
        return false;
    out = token->GetDouble();
    return true;
}

void CBlock_value::Read(CAbstract_istream& s) {
    CTreeReader(s).ReadValue(*this, false);
}
void CBlock_value::Write(CAbstract_ostream& s) const {
    WriteValue(mValue, s);
}
std::uint32_t CBlock_value::GetBinarySize(CAbstract_ostream&) const {
    return SizeOfToken(mValue);
}

CMemoryStats CBlock_value::GetMemoryStats(bool addSelf) const {
    CMemoryStats stats;
    if (addSelf) {
        ++stats.values;
        stats.itemBytes += sizeof(CBlock_value);
    }
    stats.AddToken(mValue);
    return stats;
}

bool CBlock_value::TakeContent(CBlock_item& other) {
    auto* value = dynamic_cast<CBlock_value*>(&other);
    if (!value || value->IsNamedValue() != IsNamedValue())
        return false;
    mValue = std::move(value->mValue);
    return true;
}

void CBlock_value::WriteValue(const CToken& value, CAbstract_ostream& s) {
    const TokenType kind = value.GetType();
    const double number = value.GetDouble();
    if (IsWrittenInteger(kind, number)) {
        switch (kind) {
        case TokenType::Short:
            return s.Write(static_cast<short>(number));
        case TokenType::Int:
            return s.Write(static_cast<int>(number));
        case TokenType::Long:
            return s.Write(static_cast<long>(number));
        case TokenType::UnsignedLong:
            return s.Write(static_cast<unsigned long>(number));
        default:
            return s.Write(static_cast<unsigned int>(number));
        }
    }
    if (kind != TokenType::Hex)
        return s.Write(value);
    const bool former = s.SetHex(true);
    s.Write(value);
    s.SetHex(former);
}

void CBlock_named_value::Read(CAbstract_istream& s) {
    CTreeReader(s).ReadValue(*this, true);
}

void CBlock_named_value::Write(CAbstract_ostream& s) const {
    WriteItemName(mName, s);
    s.WriteChar(u'=');
    WriteValue(mValue, s);
}

std::uint32_t CBlock_named_value::GetBinarySize(CAbstract_ostream&) const {
    return SizeOfPlainToken(mName) + 2 + SizeOfToken(mValue);
}

AString& CBlock_named_value::GetName(AString& out) const {
    mName.GetText(out);
    return out;
}

void CBlock_named_value::SetName(const AString& name) {
    mName = CToken(TokenType::SingleQuotedText, name);
}

CMemoryStats CBlock_named_value::GetMemoryStats(bool addSelf) const {
    CMemoryStats stats;
    if (addSelf) {
        ++stats.namedValues;
        stats.itemBytes += sizeof(CBlock_named_value);
    }
    stats.AddToken(mName);
    stats.AddToken(mValue);
    return stats;
}

bool CBlock_named_value::TakeContent(CBlock_item& other) {
    if (!CBlock_value::TakeContent(other))
        return false;
    mName = static_cast<CBlock_named_value&>(other).mName;
    return true;
}

CBlock_func::CBlock_func(const CBlock_func& other)
    : CBlock_func_arg(other), mName(other.mName), mArgs(other.Items()) {}

CBlock_func& CBlock_func::operator=(const CBlock_func& other) {
    if (this == &other)
        return *this;
    Args former = std::exchange(Items(), other.Items());
    mName = other.mName;
    mCursor = 0;
    mGood = true;
    CTreeTeardown::Release(std::move(former));
    return *this;
}

CBlock_func::~CBlock_func() {
    Clear();
    std::destroy_at(&mArgs);
}

void CBlock_func::Clear() {
    if (mPlainCount > 0)
        ReleasePlain();
    else if (!mArgs.empty())
        CTreeTeardown::Release(std::move(mArgs));
    mCursor = 0;
}

// Leaves no items.
void CBlock_func::ReleasePlain() const {
    std::destroy_n(mPlain, std::exchange(mPlainCount, std::uint8_t{0}));
    std::construct_at(&mArgs);
}

void CBlock_func::MakeItems() const {
    CToken values[kMostPlain];
    const std::size_t count = mPlainCount;
    std::move(mPlain, mPlain + count, values);
    ReleasePlain();
    mArgs.reserve(2 * kMostPlain); // more will come: that is why most are made
    for (std::size_t i = 0; i < count; ++i)
        mArgs.emplace_back(new CBlock_value(std::move(values[i])));
}

void CBlock_func::Read(CAbstract_istream& s) {
    CTreeReader(s).ReadFunc(*this);
}
void CBlock_func::Write(CAbstract_ostream& s) const {
    WriteTree(*this, s);
}
std::uint32_t CBlock_func::GetBinarySize(CAbstract_ostream& s) const {
    return SizeOfTree(*this, s);
}

AString& CBlock_func::GetName(AString& out) const {
    mName.GetText(out);
    return out;
}

void CBlock_func::SetName(const AString& name) {
    mName = CToken(TokenType::SingleQuotedText, name);
}
CMemoryStats CBlock_func::GetMemoryStats(bool addSelf) const {
    return StatsOfTree(*this, addSelf);
}

bool CBlock_func::TakeContent(CBlock_item& other) {
    auto* func = dynamic_cast<CBlock_func*>(&other);
    if (!func)
        return false;
    Clear();
    mName = func->mName;
    mArgs = std::move(func->Items());
    mGood = true;
    return true;
}

const CBlock_func_arg* CBlock_func::GetInnermostFirst() const {
    const CBlock_func_arg* first = Items().empty() ? nullptr : mArgs.front().Get();
    while (first && first->IsFunc()) {
        const auto* func = static_cast<const CBlock_func*>(first);
        first = func->Items().empty() ? nullptr : func->mArgs.front().Get();
    }
    return first;
}

bool CBlock_func::GetWideChars(wchar16* out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetWideChars(out);
}
bool CBlock_func::GetBool(bool& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetBool(out);
}
bool CBlock_func::GetString(AString& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetString(out);
}
bool CBlock_func::GetUnsignedLong(unsigned long& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetUnsignedLong(out);
}
bool CBlock_func::GetUnsignedInt(unsigned int& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetUnsignedInt(out);
}
bool CBlock_func::GetUnsignedShort(unsigned short& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetUnsignedShort(out);
}
bool CBlock_func::GetLong(long& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetLong(out);
}
bool CBlock_func::GetInt(int& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetInt(out);
}
bool CBlock_func::GetShort(short& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetShort(out);
}
bool CBlock_func::GetFloat(float& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetFloat(out);
}
bool CBlock_func::GetDouble(double& out) const {
    const CBlock_func_arg* first = GetInnermostFirst();
    return first && first->GetDouble(out);
}

void CBlock_func::Add(CBlockFuncArgPtr&& arg) {
    if (!arg)
        return;
    Items().push_back(std::move(arg));
    mCursor = 0;
    mGood = true;
}

void CBlock_func::AddValue(CToken value) {
    if (mPlainCount == kMostPlain || (mPlainCount == 0 && mArgs.capacity() > 0))
        return Add(CBlockFuncArgPtr(new CBlock_value(std::move(value))));
    if (mPlainCount == 0)
        std::destroy_at(&mArgs);
    std::construct_at(&mPlain[mPlainCount++], std::move(value));
    mCursor = 0;
    mGood = true;
}

CBlock_func& CBlock_func::operator<<(const CBlock_named_value& value) {
    Add(CBlockFuncArgPtr(new CBlock_named_value(value)));
    return *this;
}
CBlock_func& CBlock_func::operator<<(const AString& text) {
    AddValue(CToken(TokenType::SingleQuotedText, text));
    return *this;
}
CBlock_func& CBlock_func::operator<<(const wchar16* text) {
    AddValue(CToken(TokenType::SingleQuotedText, text));
    return *this;
}
CBlock_func& CBlock_func::operator<<(double value) {
    AddValue(CToken(TokenType::Double, value));
    return *this;
}
CBlock_func& CBlock_func::operator<<(int value) {
    AddValue(CToken(TokenType::Int, value));
    return *this;
}
CBlock_func& CBlock_func::operator<<(bool value) {
    AddValue(CToken(value ? TokenType::True : TokenType::False));
    return *this;
}

const CBlock_func_arg* CBlock_func::NextPlain() {
    if (!mGood || mCursor >= Items().size() || !mArgs[mCursor]->IsValue())
        return nullptr;
    return mArgs[mCursor].Get();
}

void CBlock_func::Step(bool good) {
    mGood = good;
    mCursor += good ? 1 : 0;
}

CBlock_func& CBlock_func::operator>>(AString& text) {
    const CBlock_func_arg* arg = NextPlain();
    Step(arg && arg->GetString(text));
    return *this;
}
CBlock_func& CBlock_func::operator>>(double& value) {
    const CBlock_func_arg* arg = NextPlain();
    Step(arg && arg->GetDouble(value));
    return *this;
}
CBlock_func& CBlock_func::operator>>(int& value) {
    const CBlock_func_arg* arg = NextPlain();
    Step(arg && arg->GetInt(value));
    return *this;
}
CBlock_func& CBlock_func::operator>>(bool& value) {
    const CBlock_func_arg* arg = NextPlain();
    Step(arg && arg->GetBool(value));
    return *this;
}

bool CBlock_func::FindNamed(CBlockFuncArgPtr& out, const wchar16* name) {
    const std::u16string_view wanted = name ? std::u16string_view(name) : std::u16string_view();
    for (std::size_t i = 0; i < Items().size(); ++i) {
        const std::size_t index = (mCursor + i) % mArgs.size();
        const CToken& token = mArgs[index]->GetNameToken();
        CToken::Scratch scratch;
        // An argument without a name answers to the empty one; a name that is no text answers to none.
        const bool comparable = token.IsText() || token.HasText() || token.GetType() == TokenType::Null;
        if (!comparable || !EqualFolded(token.GetText(scratch), wanted))
            continue;
        mCursor = static_cast<std::uint32_t>(index);
        mGood = true;
        out = mArgs[index];
        return true;
    }
    mGood = false;
    out = CBlockFuncArgPtr();
    return false;
}

CBlock_func& CBlock_func::GetNamedValue(CBlock_named_value& value) {
    AString name;
    value.GetName(name);
    CBlockFuncArgPtr found;
    if (!FindNamed(found, name.c_str()))
        return *this;
    const auto* named = found->IsNamed() ? dynamic_cast<const CBlock_named_value*>(found.Get()) : nullptr;
    if (named)
        value.SetValue(named->GetValue());
    else
        mGood = false;
    return *this;
}

CBlock_time_func::CBlock_time_func(const AString& name, std::time_t when) : CBlock_func(name) {
    std::tm local{};
    if (when < 0 || !localtime_r(&when, &local))
        return;
    const auto add = [this](const wchar16* key, int value) {
        *this << CBlock_named_value(AString(key), CToken(TokenType::Int, value));
    };
    add(u"year", local.tm_year + 1900);
    add(u"month", local.tm_mon + 1);
    add(u"day", local.tm_mday);
    add(u"hour", local.tm_hour);
    add(u"min", local.tm_min);
    add(u"sec", local.tm_sec);
}

std::time_t CBlock_time_func::GetTime() {
    const auto get = [this](const wchar16* key) {
        CBlock_named_value value{AString(key)};
        int number = 0;
        if (GetNamedValue(value).IsGood())
            value.GetInt(number);
        return number;
    };
    std::tm local{};
    // In 64 bits: a stored year may be anything.
    const std::int64_t year = std::int64_t{get(u"year")} - 1900;
    const std::int64_t month = std::int64_t{get(u"month")} - 1;
    if (year < INT32_MIN || month < INT32_MIN)
        return -1;
    local.tm_year = static_cast<int>(year);
    local.tm_mon = static_cast<int>(month);
    local.tm_mday = get(u"day");
    local.tm_hour = get(u"hour");
    local.tm_min = get(u"min");
    local.tm_sec = get(u"sec");
    local.tm_isdst = -1;
    return std::mktime(&local);
}

void CBlock_vec::Read(CAbstract_istream& s) {
    CTreeReader(s).ReadVec(*this);
}

void CBlock_vec::Write(CAbstract_ostream& s) const {
    WriteItemName(mName, s);
    s.WriteChar(u'[');
    s.Write(static_cast<unsigned int>(mElements.size()));
    s.WriteChar(u':');
    if (!mElements.empty()) {
        if (!s.IsBinary())
            s.WriteChar(u' ');
        s.WriteElements(mElements.data(), mElements.size());
    }
    s.WriteChar(u']');
}

std::uint32_t CBlock_vec::GetBinarySize(CAbstract_ostream&) const {
    std::uint64_t size = SizeOfPlainToken(mName) + 6u +
                         SizeOfToken(CToken(TokenType::UnsignedInt, static_cast<double>(mElements.size())));
    for (const CToken& element : mElements)
        size += SizeOfPlainToken(element);
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, 0xFFFFFFFF));
}

AString& CBlock_vec::GetName(AString& out) const {
    mName.GetText(out);
    return out;
}

void CBlock_vec::SetName(const AString& name) {
    mName = CToken(TokenType::SingleQuotedText, name);
}
void CBlock_vec::Clear() {
    mElements.clear();
}
void CBlock_vec::Add(CToken element) {
    mElements.push_back(std::move(element));
}

CMemoryStats CBlock_vec::GetMemoryStats(bool addSelf) const {
    CMemoryStats stats;
    if (addSelf) {
        ++stats.vecs;
        stats.itemBytes += sizeof(CBlock_vec);
    }
    AddCount(stats.elements, mElements.size());
    AddCount(stats.arrayBytes, mElements.capacity() * sizeof(CToken));
    stats.AddToken(mName);
    for (const CToken& element : mElements)
        stats.AddToken(element);
    return stats;
}

bool CBlock_vec::TakeContent(CBlock_item& other) {
    auto* vec = dynamic_cast<CBlock_vec*>(&other);
    if (!vec)
        return false;
    mName = vec->mName;
    mElements = std::move(vec->mElements);
    return true;
}

} // namespace io
