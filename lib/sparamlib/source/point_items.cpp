#include "point_items.h"

#include <matrix/matrix_block.h>
#include <sparamlib/port_table.h>

#include <utility>

namespace {

// A matrix and a vector have a block for each row.
bool IsBackedUp(const io::CBlock& stored, int elements) {
    std::size_t items = 0;
    for (const auto& row : stored)
        items += row->IsBlock() ? row->GetSize() : 0;
    return IsStoredShare(items, static_cast<std::size_t>(elements));
}

int ElementsOf(const ComplexMatrix*, int n) {
    return n * n;
}
int ElementsOf(const ComplexVector*, int n) {
    return n;
}

bool Read(io::CBlock& stored, ComplexMatrix& matrix) {
    return ReadMatrixBlock(stored, matrix);
}
bool Read(io::CBlock& stored, ComplexVector& vector) {
    return ReadVectorBlock(stored, vector);
}

template <class T>
bool ReadInto(io::CBlock& stored, std::unique_ptr<T>& item, int n) {
    if (n <= kMaxMatrixSize && IsBackedUp(stored, ElementsOf(item.get(), n))) {
        if (!UsableItem(item, n))
            item = MakeItem(item.get(), n);
        if (Read(stored, *item))
            return true;
    }
    item.reset();
    return false;
}

} // namespace

io::CBlock* FindBlock(io::CBlock& block, std::u16string_view name) {
    io::CBlock_item* item = block.FindItem(name);
    return item && item->IsBlock() ? static_cast<io::CBlock*>(item) : nullptr;
}

bool ReadStored(io::CBlock& stored, std::unique_ptr<ComplexMatrix>& item, int n) {
    return ReadInto(stored, item, n);
}
bool ReadStored(io::CBlock& stored, std::unique_ptr<ComplexVector>& item, int n) {
    return ReadInto(stored, item, n);
}

void WriteItem(io::CBlock& block, const wchar16* name, const std::unique_ptr<ComplexMatrix>& item) {
    if (item)
        WriteMatrixBlock(block, *item, name);
}
void WriteItem(io::CBlock& block, const wchar16* name, const std::unique_ptr<ComplexVector>& item) {
    if (item)
        WriteVectorBlock(block, *item, name);
}

std::int32_t ReadPairs(io::CBlock& block, std::u16string_view name,
                       std::vector<CZephDifferentialPair>& pairs) {
    const io::CBlock* stored = FindBlock(block, name);
    if (!stored)
        return 0;
    for (const auto& item : *stored) {
        if (!item->IsBlock())
            continue;
        CZephDifferentialPair pair;
        const std::int32_t code = pair.ReadFromBlock(static_cast<io::CBlock&>(*item));
        if (code != 0 && code != 1)
            return code;
        pairs.push_back(std::move(pair));
    }
    return 0;
}
