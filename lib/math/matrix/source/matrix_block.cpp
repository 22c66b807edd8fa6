#include <matrix/matrix_block.h>

#include <charconv>

namespace {

using io::CBlock;
using io::CBlock_func;
using io::CBlock_item;
using io::CBlock_named_value;
using io::CBlockFuncArgPtr;
using io::CBlockItemPtr;
using io::CToken;
using io::TokenType;

AString RowName(int row) {
    char text[16] = "r";
    const auto end = std::to_chars(text + 1, text + sizeof(text), row).ptr;
    return AString(std::u16string(text, end));
}

void AddInteger(CBlock& block, const wchar16* name, int value) {
    block.Add(CBlockItemPtr(new CBlock_named_value(AString(name), CToken(TokenType::Int, value))));
}

void AddComplex(CBlock& block, const CToken& name, const Complex& value) {
    auto* item = new CBlock_func(name);
    block.Add(CBlockItemPtr(item));
    item->Reserve(2);
    *item << value.re << value.im;
}

CToken ComplexName() {
    return CToken(TokenType::SingleQuotedText, u"c");
}

void AddRow(CBlock& block, int row, const Complex* elements, int n) {
    auto* items = new CBlock(RowName(row));
    block.Add(CBlockItemPtr(items));
    items->Reserve(static_cast<std::size_t>(n));
    const CToken name = ComplexName();
    for (int j = 0; j < n; ++j)
        AddComplex(*items, name, elements[j]);
}

bool HasInteger(CBlock& block, std::u16string_view name, int absent, int expected) {
    const auto* item = dynamic_cast<const CBlock_named_value*>(block.FindItem(name));
    int value = absent;
    if (item && !item->GetInt(value))
        return false;
    return value == expected;
}

// The row's block, or null: what has the name but is no block doesn't count.
const CBlock* FindRow(CBlock& block, int row) {
    return dynamic_cast<const CBlock*>(block.FindItem(RowName(row)));
}

bool ReadRow(const CBlock* row, Complex* elements, int n) {
    int j = 0;
    if (row) {
        for (auto item = row->begin(); item != row->end() && j < n; ++item, ++j) {
            elements[j] = Complex();
            if (!ReadComplexItem(**item, elements[j]))
                return false;
        }
    }
    std::fill(elements + j, elements + n, Complex());
    return true;
}

} // namespace

void WriteComplexItem(CBlock& block, const Complex& value) {
    AddComplex(block, ComplexName(), value);
}

bool ReadComplexItem(const CBlock_item& item, Complex& value) {
    if (!item.IsFunc())
        return false;
    const auto& func = static_cast<const CBlock_func&>(item);
    if (func.begin() == func.end())
        return false;
    const CBlockFuncArgPtr* arg = &*func.begin();
    double re = 0.0;
    double im = value.im;
    if (!(*arg)->GetDouble(re))
        return false;
    if (func.GetSize() > 1 && !arg[1]->GetDouble(im))
        return false;
    value = {re, im};
    return true;
}

void WriteMatrixBlock(CBlock& block, const ComplexMatrix& matrix, const AString& name) {
    auto* target = new CBlock(name);
    block.Add(CBlockItemPtr(target));
    AddInteger(*target, u"m", matrix.Rows());
    AddInteger(*target, u"n", matrix.Columns());
    for (int i = 0; i < matrix.Rows(); ++i)
        AddRow(*target, i, matrix[i], matrix.Columns());
}

bool ReadMatrixBlock(CBlock& block, ComplexMatrix& matrix) {
    if (!HasInteger(block, u"m", 1, matrix.Rows()) || !HasInteger(block, u"n", 0, matrix.Columns()))
        return false;
    for (int i = 0; i < matrix.Rows(); ++i) {
        if (!ReadRow(FindRow(block, i), matrix[i], matrix.Columns()))
            return false;
    }
    return true;
}

void WriteVectorBlock(CBlock& block, const ComplexVector& vector, const AString& name) {
    auto* target = new CBlock(name);
    block.Add(CBlockItemPtr(target));
    AddInteger(*target, u"n", vector.Size());
    AddRow(*target, 0, vector.Data(), vector.Size());
}

bool ReadVectorBlock(CBlock& block, ComplexVector& vector) {
    const CBlock* row = FindRow(block, 0);
    const int items = row ? int(row->GetSize()) : 0;
    return HasInteger(block, u"n", items, vector.Size()) && ReadRow(row, vector.Data(), vector.Size());
}
