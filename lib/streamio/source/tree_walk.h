// Walks over a tree without recursion: writing, sizing, taking apart.
#pragma once

#include <streamio/block.h>

namespace io {

// Writes an item as it writes itself. Throws XStreamioError for a tree that is nested deeper than
// kMaxNesting.
void WriteTree(const CBlock_item& root, CAbstract_ostream& s);

// The name of an item as it goes out in front of "=" or a bracket.
void WriteItemName(const CToken& name, CAbstract_ostream& s);

// The size of an item's binary form, stopping at 4294967295.
std::uint32_t SizeOfTree(const CBlock_item& root, CAbstract_ostream& s);

std::uint32_t SizeOfToken(const CToken& token);
// As a token that is written by itself: a name or an element. Numbers take the floating form then.
std::uint32_t SizeOfPlainToken(const CToken& token);

// What the items below `root` hold, the root's own content and, if asked, the root itself.
CMemoryStats StatsOfTree(const CBlock_item& root, bool addSelf);

// Releases the items of a block or the arguments of a function, however deep they nest.
class CTreeTeardown {
public:
    static void Release(CBlock::Items&& items);
    static void Release(CBlock_func::Args&& args);

private:
    static void Drain(std::vector<CBlockItemPtr>& pending);
    static void TakeChildren(CBlock_item& item, std::vector<CBlockItemPtr>& pending);
    static bool HasContainers(const CBlock_item& item);
    template <class List>
    static bool HoldsContainers(const List& list);
    template <class List>
    static void ReleaseList(List& list);
};

} // namespace io
