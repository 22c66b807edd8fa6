#include "tree_walk.h"

#include "integer_kind.h"

#include <streamio/binary_utils.h>
#include <streamio/token_ostring.h>

#include <algorithm>
#include <optional>
#include <typeinfo>

namespace io {

void WriteItemName(const CToken& name, CAbstract_ostream& s) {
    CToken::Scratch scratch;
    if (name.IsQuoted() && name.HasText())
        s.WriteText(name.GetText(scratch));
    else
        s.Write(name);
}

// Looks into items.
class CTreeWalk {
public:
    static bool IsBlock(const CBlock_item& item) { return item.mShape == CBlock_item::Shape::Block; }
    static bool IsFunc(const CBlock_item& item) { return item.mShape == CBlock_item::Shape::Func; }
    static bool IsLeaf(const CBlock_item& item) { return item.mShape == CBlock_item::Shape::Leaf; }
};

namespace {

// A block or function whose children are walked here; null for an item that does it itself.
struct Container {
    const CBlock* block = nullptr;
    const CBlock_func* func = nullptr;

    explicit Container(const CBlock_item& item) {
        if (CTreeWalk::IsBlock(item))
            block = static_cast<const CBlock*>(&item);
        else if (CTreeWalk::IsFunc(item))
            func = static_cast<const CBlock_func*>(&item);
    }
    explicit operator bool() const { return block || func; }
    std::size_t Count() const { return block ? block->GetSize() : func->GetSize(); }
    const CBlock_item* Child(std::size_t index) const {
        return block ? (block->begin() + static_cast<std::ptrdiff_t>(index))->Get() : (*func)[index].Get();
    }
};

// A class of one's own writes itself.
bool IsOwnClass(const CBlock_item& item) {
    if (CTreeWalk::IsBlock(item))
        return typeid(item) == typeid(CBlock);
    return CTreeWalk::IsFunc(item) &&
           (typeid(item) == typeid(CBlock_func) || typeid(item) == typeid(CBlock_time_func));
}

struct Frame {
    Container container;
    std::size_t next = 0;
};
using Frames = std::vector<Frame, PoolAllocator<Frame>>;

// Writes whole items into the library's own streams.
class CItemWriter {
public:
    explicit CItemWriter(CAbstract_ostream& s) {
        const std::type_info& type = typeid(s);
        if (type == typeid(CToken_ostring) || type == typeid(CToken_ostream)) {
            m_Buffer = static_cast<CToken_ostream&>(s).GetBuffer();
            m_Flags = static_cast<CToken_ostream&>(s).GetFormatFlags();
        }
    }

    // An item that holds no others; false where it has to write itself.
    bool WriteLeaf(const CBlock_item& item, ItemPlace place) const {
        if (!m_Buffer)
            return false;
        const std::type_info& type = typeid(item);
        if (type == typeid(CBlock_named_value)) {
            const auto& named = static_cast<const CBlock_named_value&>(item);
            return m_Buffer->WriteNamedValue(named.GetNameToken(), named.GetValue(), m_Flags, place);
        }
        if (type == typeid(CBlock_value))
            return m_Buffer->WriteValue(static_cast<const CBlock_value&>(item).GetValue(), m_Flags, place);
        if (type != typeid(CBlock_vec))
            return false;
        const auto& vec = static_cast<const CBlock_vec&>(item);
        return m_Buffer->WriteVec(vec.GetNameToken(), vec.GetSize() > 0 ? &vec[0] : nullptr, vec.GetSize(),
                                  m_Flags, place);
    }
    // A function of plain values.
    bool WriteFunc(const CToken& name, const CToken* values, std::size_t count, ItemPlace place) const {
        return m_Buffer && m_Buffer->WriteFunc(name, values, count, m_Flags, place);
    }
    bool WriteFuncBegin(const CToken& name, ItemPlace place) const {
        return m_Buffer && m_Buffer->WriteFuncBegin(name, m_Flags, place);
    }
    bool WriteFuncEnd(ItemPlace place) const { return m_Buffer && m_Buffer->WriteFuncEnd(m_Flags, place); }

private:
    CToken_streambuf* m_Buffer = nullptr;
    long m_Flags = 0;
};

// The same on any stream.
void WriteFunc(const CToken& name, const CToken* values, std::size_t count, bool binary,
               CAbstract_ostream& s) {
    WriteItemName(name, s);
    s.WriteChar(u'(');
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0 && !binary) {
            s.WriteChar(u',');
            s.WriteChar(u' ');
        }
        CBlock_value::WriteValue(values[i], s);
    }
    s.WriteChar(u')');
}

// The items of a block that are pairs; false if they aren't.
bool WritePairs(const CBlock* block, const CItemWriter& writer, bool binary, CAbstract_ostream& s) {
    const CToken* values = block ? block->GetPairs() : nullptr;
    if (!values)
        return false;
    for (std::size_t i = 0; i < block->GetSize(); ++i, values += 2) {
        if (writer.WriteFunc(block->GetPairName(), values, 2, ItemPlace::Line))
            continue;
        WriteFunc(block->GetPairName(), values, 2, binary, s);
        s.EnsureNewLine();
    }
    return true;
}

std::uint64_t SizeOfFunc(const CToken& name, const CToken* values, std::size_t count) {
    std::uint64_t size = SizeOfPlainToken(name) + 4u;
    for (std::size_t i = 0; i < count; ++i)
        size += SizeOfToken(values[i]);
    return size;
}

// Of the items of a block that are pairs, with their line ends; 0 if they aren't.
std::uint64_t SizeOfPairs(const CBlock* block) {
    const CToken* values = block ? block->GetPairs() : nullptr;
    std::uint64_t size = 0;
    for (std::size_t i = 0; values && i < block->GetSize(); ++i, values += 2)
        size += 1 + SizeOfFunc(block->GetPairName(), values, 2);
    return size;
}

} // namespace

void WriteTree(const CBlock_item& root, CAbstract_ostream& s) {
    const bool binary = s.IsBinary();
    const CItemWriter writer(s);
    Frames frames;
    frames.reserve(8);
    const auto separate = [&](ItemPlace place) {
        if (place == ItemPlace::LaterArg && !binary) {
            s.WriteChar(u',');
            s.WriteChar(u' ');
        }
    };
    // What is the root of the tree stands where it was put.
    const auto open = [&](const CBlock_item& item, std::optional<ItemPlace> place) {
        if (frames.size() >= kMaxNesting)
            throw XStreamioError(ReadError::Write, s);
        frames.push_back({Container(item)});
        if (CTreeWalk::IsBlock(item)) {
            s.WriteBlockBegin(item.GetNameToken());
        } else if (!place || !writer.WriteFuncBegin(item.GetNameToken(), *place)) {
            separate(place.value_or(ItemPlace::FirstArg));
            WriteItemName(item.GetNameToken(), s);
            s.WriteChar(u'(');
        }
        if (frames.size() < kMaxNesting && WritePairs(frames.back().container.block, writer, binary, s))
            frames.back().next = item.GetSize();
    };
    open(root, std::nullopt);
    while (!frames.empty()) {
        Frame& frame = frames.back();
        const Container container = frame.container;
        if (frame.next == container.Count()) {
            frames.pop_back();
            const bool line = !frames.empty() && frames.back().container.block;
            if (container.block)
                s.WriteBlockEnd(container.block->GetNameToken());
            else if (writer.WriteFuncEnd(line ? ItemPlace::Line : ItemPlace::FirstArg))
                continue;
            else
                s.WriteChar(u')');
            if (line)
                s.EnsureNewLine();
            continue;
        }
        const ItemPlace place = container.block   ? ItemPlace::Line
                                : frame.next == 0 ? ItemPlace::FirstArg
                                                  : ItemPlace::LaterArg;
        const CBlock_item* item = container.Child(frame.next++);
        if (!item) {
            separate(place);
            continue;
        }
        if (CTreeWalk::IsLeaf(*item) && writer.WriteLeaf(*item, place))
            continue;
        if (IsOwnClass(*item)) {
            const CBlock_func* func = Container(*item).func;
            const CToken* values = func && frames.size() < kMaxNesting ? func->GetPlainValues() : nullptr;
            if (!values) {
                open(*item, place);
                continue;
            }
            if (writer.WriteFunc(func->GetNameToken(), values, func->GetSize(), place))
                continue;
            separate(place);
            WriteFunc(func->GetNameToken(), values, func->GetSize(), binary, s);
        } else {
            separate(place);
            item->Write(s);
        }
        if (container.block)
            s.EnsureNewLine();
    }
}

std::uint32_t SizeOfToken(const CToken& token) {
    const TokenType kind = token.GetType();
    const double value = token.GetDouble();
    if (IsWrittenInteger(kind, value))
        return value < 0
                   ? 5u
                   : 1u + static_cast<std::uint32_t>(TrimmedIntegerLength(static_cast<std::uint32_t>(value)));
    switch (kind) {
    case TokenType::Null:
    case TokenType::Eof:
    case TokenType::Error:
        return 0;
    case TokenType::True:
    case TokenType::False:
    case TokenType::Eol:
        return 1;
    case TokenType::Double:
    case TokenType::Float:
    case TokenType::Hex:
        return 1u + static_cast<std::uint32_t>(TrimmedDoubleLength(value));
    default:
        break;
    }
    if (token.IsNumber())
        return 9;
    if (const std::size_t length = token.GetPackedLength())
        return static_cast<std::uint32_t>(BinaryTextSize(length));
    CToken::Scratch scratch;
    return static_cast<std::uint32_t>(
        std::min<std::size_t>(BinaryTextSize(Utf8Length(token.GetText(scratch))), 0xFFFFFFFF));
}

std::uint32_t SizeOfPlainToken(const CToken& token) {
    return token.IsNumber() ? 1u + static_cast<std::uint32_t>(TrimmedDoubleLength(token.GetDouble()))
                            : SizeOfToken(token);
}

std::uint32_t SizeOfTree(const CBlock_item& root, CAbstract_ostream& s) {
    std::uint64_t size = 0;
    Frames frames;
    const auto open = [&](const CBlock_item& item) {
        CToken::Scratch scratch;
        if (item.IsBlock())
            size += 2 * BinaryTextSize(Utf8Length(item.GetNameToken().GetText(scratch))) +
                    BinaryTextSize(Utf8Length(s.GetBeginKeyword())) +
                    BinaryTextSize(Utf8Length(s.GetEndKeyword())) + 2;
        else
            size += SizeOfPlainToken(item.GetNameToken()) + 4;
        Frame& frame = frames.emplace_back(Frame{Container(item)});
        if (const std::uint64_t pairs = SizeOfPairs(frame.container.block)) {
            size += pairs;
            frame.next = item.GetSize();
        }
    };
    open(root);
    while (!frames.empty()) {
        Frame& frame = frames.back();
        const Container container = frame.container;
        if (frame.next == container.Count()) {
            frames.pop_back();
            continue;
        }
        const CBlock_item* item = container.Child(frame.next++);
        if (!item)
            continue;
        if (container.block && !item->IsBlock())
            size += 1;
        const CBlock_func* func = Container(*item).func;
        const CToken* values = func && IsOwnClass(*item) ? func->GetPlainValues() : nullptr;
        if (values) {
            size += SizeOfFunc(func->GetNameToken(), values, func->GetSize());
        } else if (IsOwnClass(*item)) {
            open(*item);
        } else {
            size += item->GetBinarySize(s);
        }
    }
    return static_cast<std::uint32_t>(std::min<std::uint64_t>(size, 0xFFFFFFFF));
}

CMemoryStats StatsOfTree(const CBlock_item& root, bool addSelf) {
    CMemoryStats stats;
    Frames frames;
    const auto open = [&](const CBlock_item& item, bool counted) {
        if (counted) {
            ++(item.IsBlock() ? stats.blocks : stats.funcs);
            stats.itemBytes +=
                static_cast<std::uint32_t>(item.IsBlock() ? sizeof(CBlock) : sizeof(CBlock_func));
        }
        stats.AddToken(item.GetNameToken());
        const std::size_t pointer = item.IsBlock() ? sizeof(CBlockItemPtr) : sizeof(CBlockFuncArgPtr);
        stats.arrayBytes += static_cast<std::uint32_t>(item.GetSize() * pointer);
        frames.push_back({Container(item)});
    };
    open(root, addSelf);
    while (!frames.empty()) {
        Frame& frame = frames.back();
        if (frame.next == frame.container.Count()) {
            frames.pop_back();
            continue;
        }
        const CBlock_item* item = frame.container.Child(frame.next++);
        if (!item)
            continue;
        if (Container(*item))
            open(*item, true);
        else
            stats += item->GetMemoryStats(true);
    }
    return stats;
}

template <class List>
bool CTreeTeardown::HoldsContainers(const List& list) {
    // The last ones first: tables of functions stand behind the values that describe them.
    return std::any_of(list.rbegin(), list.rend(),
                       [](const auto& item) { return item && !CTreeWalk::IsLeaf(*item); });
}

inline bool CTreeTeardown::HasContainers(const CBlock_item& item) {
    if (CTreeWalk::IsFunc(item)) {
        const auto& func = static_cast<const CBlock_func&>(item);
        return func.mPlainCount == 0 && HoldsContainers(func.mArgs);
    }
    return CTreeWalk::IsBlock(item) && HoldsContainers(static_cast<const CBlock&>(item).mItems);
}

void CTreeTeardown::TakeChildren(CBlock_item& item, std::vector<CBlockItemPtr>& pending) {
    if (CTreeWalk::IsBlock(item)) {
        auto& block = static_cast<CBlock&>(item);
        block.mNameIndex.reset(); // holds its items too
        for (CBlockItemPtr& child : block.mItems) {
            if (child && HasContainers(*child))
                pending.push_back(std::move(child));
        }
        block.mItems.clear();
    } else if (CTreeWalk::IsFunc(item)) {
        auto& func = static_cast<CBlock_func&>(item);
        for (CBlockFuncArgPtr& child : func.mArgs) {
            if (child && HasContainers(*child))
                pending.emplace_back(child);
        }
        func.mArgs.clear();
    }
}

void CTreeTeardown::Drain(std::vector<CBlockItemPtr>& pending) {
    while (!pending.empty()) {
        const CBlockItemPtr item = std::move(pending.back());
        pending.pop_back();
        // Children that hold more than leaves wait here, so that its own destruction goes no deeper than two.
        if (item.IsOnly())
            TakeChildren(*item, pending);
    }
}

template <class List>
void CTreeTeardown::ReleaseList(List& list) {
    std::vector<CBlockItemPtr> pending;
    constexpr std::size_t kAhead = 4;
    for (std::size_t i = 0; i < list.size(); ++i) {
        auto& item = list[i];
        if (i + kAhead < list.size())
            __builtin_prefetch(list[i + kAhead].Get());
        // What holds leaves only may go by itself: its destruction goes no deeper.
        if (item && HasContainers(*item)) {
            pending.emplace_back(std::move(item));
            item = {};
            Drain(pending);
        }
    }
}

void CTreeTeardown::Release(CBlock::Items&& items) {
    if (HoldsContainers(items))
        ReleaseList(items);
    items.clear();
}
void CTreeTeardown::Release(CBlock_func::Args&& args) {
    if (HoldsContainers(args))
        ReleaseList(args);
    args.clear();
}

} // namespace io
