#include "point_items.h"

#include <matrix/matrix_block.h>

namespace {

// Beyond this many elements a stored matrix must hold its share of them.
constexpr std::int64_t kTrustedElements = 65536;
constexpr std::int64_t kStoredShare = 8;

bool IsAllowed(const io::CBlock&, const ComplexVector*, int) {
    return true;
}

bool IsAllowed(const io::CBlock& stored, const ComplexMatrix*, int n) {
    const std::int64_t elements = std::int64_t{n} * n;
    if (elements <= kTrustedElements)
        return true;
    std::int64_t items = 0;
    for (const auto& row : stored) {
        if (row->IsBlock())
            items += static_cast<std::int64_t>(row->GetSize());
    }
    return items >= elements / kStoredShare;
}

bool Read(io::CBlock& stored, ComplexMatrix& matrix) {
    return ReadMatrixBlock(stored, matrix);
}
bool Read(io::CBlock& stored, ComplexVector& vector) {
    return ReadVectorBlock(stored, vector);
}

template <class T>
bool ReadInto(io::CBlock& stored, std::unique_ptr<T>& item, int n) {
    if (IsAllowed(stored, item.get(), n)) {
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
