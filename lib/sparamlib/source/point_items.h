// What a point consists of: matrices n by n and vectors of n elements, each owned by the point or absent.
#pragma once

#include <matrix/cmat.h>
#include <matrix/vec.h>
#include <sparamlib/zeph_differential_pair.h>
#include <streamio/block.h>

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

inline std::unique_ptr<ComplexMatrix> MakeItem(const ComplexMatrix*, int n) {
    return std::make_unique<ComplexMatrix>(n, n);
}
inline std::unique_ptr<ComplexVector> MakeItem(const ComplexVector*, int n) {
    return std::make_unique<ComplexVector>(n);
}

inline bool HasSize(const ComplexMatrix& matrix, int n) {
    return matrix.Rows() == n && matrix.Columns() == n;
}
inline bool HasSize(const ComplexVector& vector, int n) {
    return vector.Size() == n;
}

inline Complex* FindElement(ComplexMatrix& matrix, std::int32_t i, std::int32_t j) {
    return i >= 0 && i < matrix.Rows() && j >= 0 && j < matrix.Columns() ? &matrix[i][j] : nullptr;
}
inline Complex* FindElement(ComplexVector& vector, std::int32_t i, std::int32_t) {
    return i >= 0 && i < vector.Size() ? &vector[i] : nullptr;
}

// The item if it is present with its size, else null.
template <class T>
T* UsableItem(const std::unique_ptr<T>& item, int n) {
    return item && HasSize(*item, n) ? item.get() : nullptr;
}

// A deep copy that keeps the storage of an item of the same shape; null takes the item away.
template <class T>
void CopyItem(std::unique_ptr<T>& item, const T* source) {
    if (!source)
        item.reset();
    else if (item)
        *item = *source;
    else
        item = std::make_unique<T>(*source);
}

// Copies the value, or takes it over; null takes the item away.
template <class T>
void StoreItem(std::unique_ptr<T>& item, T* value, bool copy) {
    if (copy)
        CopyItem(item, value);
    else if (item.get() != value)
        item.reset(value);
}

// False outside of the item; an absent one is otherwise made of zeros first.
template <class T>
bool SetElement(std::unique_ptr<T>& item, int n, const Complex& value, std::int32_t i, std::int32_t j) {
    if (!item && i >= 0 && i < n && j >= 0 && j < n)
        item = MakeItem(item.get(), n);
    Complex* element = item ? FindElement(*item, i, j) : nullptr;
    if (element)
        *element = value;
    return element != nullptr;
}

// (0, 0) of an absent item and outside of it.
template <class T>
Complex GetElement(T* item, std::int32_t i, std::int32_t j) {
    const Complex* element = item ? FindElement(*item, i, j) : nullptr;
    return element ? *element : Complex();
}

// Whether a renormalisation takes this impedance; one near zero leaves the old one.
inline bool IsNewImpedance(const Complex& value) {
    return abs(value) > 1e-10;
}

// Whether what is stored of a matrix or vector is enough to make it: a short text can't ask for any amount of memory.
inline bool IsStoredShare(std::size_t stored, std::size_t elements) {
    constexpr std::size_t kTrusted = 64;
    constexpr std::size_t kShare = 8;
    return elements <= kTrusted || stored >= elements / kShare;
}

// The block of that name in the other one, whose property it stays; or null.
io::CBlock* FindBlock(io::CBlock& block, std::u16string_view name);

// Reads an item's own block. False, and the item is absent, if it doesn't fit.
bool ReadStored(io::CBlock& stored, std::unique_ptr<ComplexMatrix>& item, int n);
bool ReadStored(io::CBlock& stored, std::unique_ptr<ComplexVector>& item, int n);

// The same for the block of that name, if there is one; if not, true.
template <class T>
bool ReadItem(io::CBlock& block, std::u16string_view name, std::unique_ptr<T>& item, int n) {
    io::CBlock* stored = FindBlock(block, name);
    return !stored || ReadStored(*stored, item, n);
}

// Appends the item's block, if the item is present.
void WriteItem(io::CBlock& block, const wchar16* name, const std::unique_ptr<ComplexMatrix>& item);
void WriteItem(io::CBlock& block, const wchar16* name, const std::unique_ptr<ComplexVector>& item);

// Appends the differential pairs of the block of that name, whatever its blocks are called. 0 or 1, or the code of a pair
// that fails, which ends the reading.
std::int32_t ReadPairs(io::CBlock& block, std::u16string_view name,
                       std::vector<CZephDifferentialPair>& pairs);
