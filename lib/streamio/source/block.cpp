#include "name_compare.h"
#include "tree_reader.h"
#include "tree_walk.h"

#include <streamio/block.h>
#include <streamio/token_grammar_default.h>
#include <streamio/token_istring.h>

#include <utility/assertion.h>

#include <algorithm>
#include <iterator>

namespace io {

namespace {

int Compare(const CToken& a, std::u16string_view b) {
    CToken::Scratch scratch;
    return CompareFolded(a.GetText(scratch), b);
}

// A name without a text isn't found, not even by the empty one.
bool IsFindable(const CToken& key) {
    return key.IsText() || key.HasText();
}

} // namespace

bool CBlock::NameLess::operator()(const CToken& a, const CToken& b) const {
    CToken::Scratch scratch;
    return Compare(a, b.GetText(scratch)) < 0;
}
bool CBlock::NameLess::operator()(const CToken& a, std::u16string_view b) const {
    return Compare(a, b) < 0;
}
bool CBlock::NameLess::operator()(std::u16string_view a, const CToken& b) const {
    return Compare(b, a) > 0;
}

CBlock::CBlock(const CBlock& other) : CBlock_item(other), mName(other.mName), mItems(other.AllItems()) {}

CBlock& CBlock::operator=(const CBlock& other) {
    if (this != &other)
        mName = other.mName;
    CopyItems(other);
    return *this;
}

CBlock::~CBlock() {
    mNameIndex.reset();
    if (!mItems.empty())
        CTreeTeardown::Release(std::move(mItems));
}

void CBlock::CopyItems(const CBlock& other) {
    TARVOK_ASSERT_TEXT(this != &other, "this != &a_block");
    if (this == &other)
        return;
    // The source may be an item of this block: it is kept until its items are here.
    Items former = std::exchange(AllItems(), other.AllItems());
    mNameIndex.reset();
    mErrors.clear();
    CTreeTeardown::Release(std::move(former));
}

void CBlock::Read(CAbstract_istream& s) {
    CTreeReader(s).ReadBlock(*this);
}
void CBlock::Write(CAbstract_ostream& s) const {
    WriteTree(*this, s);
}

bool CBlock::FromText(const AString& text) {
    Clear();
    CToken_istring s(CToken_istring::InPlace{text}, &DefaultTokenGrammar());
    Read(s);
    return !HasErrors(true);
}

std::uint32_t CBlock::GetBinarySize(CAbstract_ostream& s) const {
    return SizeOfTree(*this, s);
}

AString& CBlock::GetName(AString& out) const {
    mName.GetText(out);
    return out;
}

void CBlock::SetName(const AString& name) {
    mName = CToken(TokenType::SingleQuotedText, name);
}

void CBlock::Clear() {
    mNameIndex.reset();
    if (!mItems.empty())
        CTreeTeardown::Release(std::move(mItems));
    mPairs.clear();
    mErrors.clear();
}

CMemoryStats CBlock::GetMemoryStats(bool addSelf) const {
    return StatsOfTree(*this, addSelf);
}

bool CBlock::TakeContent(CBlock_item& other) {
    auto* block = dynamic_cast<CBlock*>(&other);
    if (!block)
        return false;
    *this = *block;
    return true;
}

// An item for which there is no room yet, or that the index is to know.
void CBlock::AddAnew(CBlockItemPtr&& item) {
    if (!item)
        return;
    if (mNameIndex && item->IsNamed())
        mNameIndex->emplace(item->GetNameToken(), item);
    constexpr std::size_t kFirstRoom = 4;
    Items& items = AllItems();
    if (items.size() == items.capacity())
        items.reserve(std::max(kFirstRoom, 2 * items.size()));
    items.push_back(std::move(item));
}

void CBlock::AddPairs(const CToken& name, const double* values, std::size_t count) {
    if (count == 0)
        return;
    if (!TakesPair(name)) {
        for (const double* const end = values + 2 * count; values != end; values += 2) {
            const CBlockItemPtr item(new CBlock_func(name));
            static_cast<CBlock_func&>(*item) << values[0] << values[1];
            Add(item);
        }
        return;
    }
    mPairs.reserve(std::max<std::size_t>(mPairs.size(), 1) + 2 * count);
    if (mPairs.empty())
        mPairs.push_back(name);
    std::transform(values, values + 2 * count, std::back_inserter(mPairs),
                   [](double value) { return CToken(TokenType::Double, value); });
}

void CBlock::MakeItems() const {
    Items items;
    items.reserve(GetSize());
    for (std::size_t i = 1; i + 1 < mPairs.size(); i += 2) {
        auto* func = new CBlock_func(GetPairName());
        items.emplace_back(func);
        func->AddValue(mPairs[i]);
        func->AddValue(mPairs[i + 1]);
    }
    mItems = std::move(items);
    mPairs = {};
}

CBlock& CBlock::operator<<(const CBlockItemPtr& item) {
    Add(item);
    return *this;
}

CBlock& CBlock::AddBlock(const CBlock& block) {
    Add(CBlockItemPtr(new CBlock(block)));
    return *this;
}

CBlock& CBlock::AddFunc(const CBlock_func& func) {
    Add(CBlockItemPtr(new CBlock_func(func)));
    return *this;
}

CBlock& CBlock::AddNamedValue(const CBlock_named_value& value) {
    Add(CBlockItemPtr(new CBlock_named_value(value)));
    return *this;
}

CBlock::NameIndex& CBlock::Names() {
    if (!mNameIndex) {
        mNameIndex = std::make_unique<NameIndex>();
        for (const CBlockItemPtr& item : AllItems()) {
            if (item->IsNamed())
                mNameIndex->emplace(item->GetNameToken(), item);
        }
    }
    return *mNameIndex;
}

CBlock::NameIndex::iterator CBlock::Find(std::u16string_view name) {
    NameIndex& names = Names();
    const auto found = names.lower_bound(name);
    mGood = found != names.end() && IsFindable(found->first) && Compare(found->first, name) == 0;
    return mGood ? found : names.end();
}

CBlock::NameIndex::iterator CBlock::Erase(NameIndex::iterator position) {
    NameIndex& names = Names();
    if (position == names.end())
        return position;
    const CBlock_item* target = position->second.Get();
    TARVOK_ASSERT_TEXT(target, "block_item != 0");
    const auto item = std::find_if(mItems.begin(), mItems.end(),
                                   [target](const CBlockItemPtr& other) { return other.Get() == target; });
    if (item != mItems.end())
        mItems.erase(item);
    return names.erase(position);
}

CBlock_item* CBlock::FindItem(std::u16string_view name) {
    constexpr std::size_t kFewItems = 8; // an index of these would take longer than looking at each
    if (mNameIndex || GetSize() > kFewItems) {
        const auto found = Find(name);
        return mGood ? found->second.Get() : nullptr;
    }
    const Items& items = AllItems();
    const auto found = std::find_if(items.begin(), items.end(), [name](const CBlockItemPtr& item) {
        CToken::Scratch scratch;
        return item->IsNamed() && EqualFolded(item->GetNameToken().GetText(scratch), name);
    });
    mGood = found != items.end() && IsFindable((*found)->GetNameToken());
    return mGood ? found->Get() : nullptr;
}

CBlock_item* CBlock::FindItem(const CToken& name) {
    CToken::Scratch scratch;
    return FindItem(name.GetText(scratch));
}

const CBlock_named_value* CBlock::FindNamedValue(std::u16string_view name) {
    const CBlock_item* item = FindItem(name);
    mGood = item && item->IsNamedValue();
    return mGood ? static_cast<const CBlock_named_value*>(item) : nullptr;
}

CBlock& CBlock::GetNamedValue(CBlock_named_value& value) {
    CToken::Scratch scratch;
    if (const CBlock_named_value* found = FindNamedValue(value.GetNameToken().GetText(scratch)))
        value.SetValue(found->GetValue());
    return *this;
}

CBlock& CBlock::GetFunc(CBlock_func& func) {
    const auto* found = dynamic_cast<const CBlock_func*>(FindItem(func.GetNameToken()));
    mGood = found != nullptr;
    if (found)
        func = *found;
    return *this;
}

CBlock& CBlock::GetBlock(CBlock& block) {
    const auto* found = dynamic_cast<const CBlock*>(FindItem(block.GetNameToken()));
    mGood = found != nullptr;
    if (found)
        block.CopyItems(*found);
    return *this;
}

CBlock& CBlock::GetFuncArg(CBlockFuncArgPtr& arg) {
    CBlock_item* item = arg ? FindItem(arg->GetNameToken()) : nullptr;
    auto* found = dynamic_cast<CBlock_func_arg*>(item);
    mGood = found != nullptr;
    if (found)
        arg = CBlockFuncArgPtr(found);
    return *this;
}

bool CBlock::HasErrors(bool recursive) const {
    if (!recursive)
        return !mErrors.empty();
    std::vector<const CBlock*> pending{this};
    while (!pending.empty()) {
        const CBlock* block = pending.back();
        pending.pop_back();
        if (!block->mErrors.empty())
            return true;
        for (const CBlockItemPtr& item : block->mItems) {
            if (item->IsBlock())
                pending.push_back(static_cast<const CBlock*>(item.Get()));
        }
    }
    return false;
}

bool CBlock::CollectErrors(std::list<AString>& out, bool recursive) const {
    struct Line {
        std::int32_t line;
        AString text;
    };
    std::vector<Line> lines;
    std::vector<const CBlock*> pending{this};
    while (!pending.empty()) {
        const CBlock* block = pending.back();
        pending.pop_back();
        for (const XStreamioError& error : block->mErrors) {
            AString text;
            block->GetName(text);
            text += u':';
            for (const char digit : std::to_string(error.mLine))
                text += static_cast<wchar16>(digit);
            text += u": ";
            text += error.GetText();
            lines.push_back({error.mLine, std::move(text)});
        }
        if (!block->mErrors.empty() || !recursive)
            continue;
        for (auto item = block->mItems.rbegin(); item != block->mItems.rend(); ++item) {
            if ((*item)->IsBlock())
                pending.push_back(static_cast<const CBlock*>(item->Get()));
        }
    }
    std::stable_sort(lines.begin(), lines.end(),
                     [](const Line& a, const Line& b) { return a.line < b.line; });
    for (Line& line : lines)
        out.push_back(std::move(line.text));
    return !lines.empty();
}

} // namespace io
