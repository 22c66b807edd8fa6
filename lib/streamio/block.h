// The tree of a stored block: named values, functions, vectors and blocks in the order in which they were
// read or added.
//
//   CBlock block;
//   block.Read(stream);
//   CBlock_named_value count(u"Count");
//   int n = 0;
//   if (block.GetNamedValue(count).IsGood() && count.GetInt(n)) ...
//
// Reading never throws for what stands in the text: errors are recorded with their line in the block where
// they are, and the rest of such a line is skipped. Names are found without regard to case, the earliest of
// equal ones first; a lookup that fails clears `IsGood` and leaves its argument. Copies share the items. One
// thread at a time.
#pragma once

#include <streamio/block_item.h>

#include <list>
#include <map>
#include <memory>
#include <optional>

namespace io {

class CBlock : public CBlock_item {
public:
    using Items = std::vector<CBlockItemPtr, PoolAllocator<CBlockItemPtr>>;
    using Errors = std::vector<XStreamioError>;

    // Orders names without regard to case.
    struct NameLess {
        using is_transparent = void;
        bool operator()(const CToken& a, const CToken& b) const;
        bool operator()(const CToken& a, std::u16string_view b) const;
        bool operator()(std::u16string_view a, const CToken& b) const;
    };
    using NameIndex =
        std::multimap<CToken, CBlockItemPtr, NameLess, PoolAllocator<std::pair<const CToken, CBlockItemPtr>>>;

    CBlock() : CBlock(CToken(TokenType::SingleQuotedText)) {}
    explicit CBlock(const AString& name) : CBlock(CToken(TokenType::SingleQuotedText, name)) {}
    explicit CBlock(CToken name) : mName(std::move(name)) { mShape = Shape::Block; }
    // The name and the items, which are shared; not the errors.
    CBlock(const CBlock& other);
    CBlock& operator=(const CBlock& other);
    ~CBlock() override;

    void Read(CAbstract_istream& s) override;
    void Write(CAbstract_ostream& s) const override;
    // Replaces the content; false if there are errors at any level.
    bool FromText(const AString& text) override;
    std::uint32_t GetBinarySize(CAbstract_ostream& s) const override;
    AString& GetName(AString& out) const override;
    void SetName(const AString& name) override;
    const CToken& GetNameToken() const override { return mName; }
    bool IsNamed() const override { return true; }
    std::size_t GetSize() const override { return mPairs.empty() ? mItems.size() : mPairs.size() / 2; }
    void Clear() override;
    bool IsBlock() const override { return true; }
    CMemoryStats GetMemoryStats(bool addSelf) const override;
    virtual Errors::const_iterator ErrorsBegin() const { return mErrors.begin(); }
    virtual Errors::const_iterator ErrorsEnd() const { return mErrors.end(); }

    // A null pointer is ignored.
    void Add(const CBlockItemPtr& item) { Add(CBlockItemPtr(item)); }
    void Add(CBlockItemPtr&& item) {
        if (item && !mNameIndex && mPairs.empty() && mItems.size() < mItems.capacity()) [[likely]]
            mItems.push_back(std::move(item));
        else
            AddAnew(std::move(item));
    }
    void Reserve(std::size_t count) { mItems.reserve(count); }
    // Appends `count` functions of that name, each with the next two of the values: a row of complex numbers.
    void AddPairs(const CToken& name, const double* values, std::size_t count);
    CBlock& operator<<(const CBlockItemPtr& item);
    CBlock& operator<<(const CBlock& block) { return AddBlock(block); }
    CBlock& operator<<(const CBlock_func& func) { return AddFunc(func); }
    CBlock& operator<<(const CBlock_named_value& value) { return AddNamedValue(value); }
    CBlock& AddBlock(const CBlock& block);
    CBlock& AddFunc(const CBlock_func& func);
    CBlock& AddNamedValue(const CBlock_named_value& value);

    // The named items in the order of their names. The index is made at the first lookup and kept up from
    // then on.
    NameIndex::iterator Find(std::u16string_view name);
    NameIndex::iterator NamesEnd() { return Names().end(); }
    // The item leaves the block; gives the next position in the order of names.
    NameIndex::iterator Erase(NameIndex::iterator position);

    // The earliest item of that name, or null; `IsGood` says which.
    CBlock_item* FindItem(std::u16string_view name);
    // The same if it is a named value, else null.
    const CBlock_named_value* FindNamedValue(std::u16string_view name);
    // The argument's name is looked up; its content is replaced, its name stays.
    CBlock& GetNamedValue(CBlock_named_value& value);
    CBlock& GetFunc(CBlock_func& func);
    CBlock& GetBlock(CBlock& block);
    CBlock& GetFuncArg(CBlockFuncArgPtr& arg);
    // The result of the last lookup.
    bool IsGood() const { return mGood; }
    void SetGood(bool good) { mGood = good; }

    bool HasErrors(bool recursive) const;
    // Adds "name:line: text" for each error, in the order of lines; blocks that have errors of their own
    // aren't descended into. True if there was any.
    bool CollectErrors(std::list<AString>& out, bool recursive) const;

    Items::const_iterator begin() const { return AllItems().begin(); }
    Items::const_iterator end() const { return AllItems().end(); }
    std::size_t size() const { return GetSize(); }
    // The values of all items, two of each, while the items are functions of one name with two numbers each that nobody
    // has asked for one by one: then they take no items. Null if not; `GetSize` says how many functions.
    const CToken* GetPairs() const { return mPairs.empty() ? nullptr : mPairs.data() + 1; }
    // The name of those functions.
    const CToken& GetPairName() const { return mPairs.front(); }

protected:
    bool TakeContent(CBlock_item& other) override;

private:
    friend class CTreeReader;
    friend class CTreeTeardown;

    void AddAnew(CBlockItemPtr&& item);
    NameIndex& Names();
    void CopyItems(const CBlock& other);
    CBlock_item* FindItem(const CToken& name);
    Items& AllItems() const {
        if (!mPairs.empty())
            MakeItems();
        return mItems;
    }
    void MakeItems() const;
    // Whether a function of that name with two numbers may join the pairs.
    bool TakesPair(const CToken& name) const {
        return mPairs.empty() ? mItems.empty() && !mNameIndex && name.IsText() : mPairs.front() == name;
    }

    CToken mName;
    // The items, held in one of two ways: the second is the functions' name and their values.
    mutable Items mItems;
    mutable CTokenArray mPairs;
    std::unique_ptr<NameIndex> mNameIndex; // null until the first lookup
    Errors mErrors;
    bool mGood = true;
};

// A pointer to a block that is an item as well.
class CBlockPtr {
public:
    CBlockPtr() = default;
    explicit CBlockPtr(CBlock* block) : m_Block(block) {}
    CBlockPtr(const CBlockPtr&) = default;
    CBlockPtr& operator=(const CBlockPtr&) = default;
    virtual ~CBlockPtr() = default;

    operator CBlockItemPtr() const { return CBlockItemPtr(m_Block.Get()); }
    CBlock* Get() const { return m_Block.Get(); }
    CBlock* operator->() const { return m_Block.Get(); }
    explicit operator bool() const { return static_cast<bool>(m_Block); }

private:
    CBlock_ptr<CBlock> m_Block;
};

} // namespace io
