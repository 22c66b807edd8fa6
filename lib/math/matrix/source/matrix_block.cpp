#include <matrix/matrix_block.h>

#include <charconv>

namespace {

static_assert(sizeof(Complex) == 2 * sizeof(double));

using io::CBlock;
using io::CBlock_func;
using io::CBlock_item;
using io::CBlock_named_value;
using io::CBlockFuncArgPtr;
using io::CBlockItemPtr;
using io::CToken;
using io::TokenType;

class RowName {
public:
    explicit RowName(int row) {
        char digits[12];
        const auto end = std::to_chars(digits, std::end(digits), row).ptr;
        m_Length = std::size_t(std::copy(digits, end, m_Text + 1) - m_Text);
    }
    operator std::u16string_view() const { return {m_Text, m_Length}; }

private:
    wchar16 m_Text[13] = u"r";
    std::size_t m_Length;
};

CToken Name(std::u16string_view name) {
    return CToken(TokenType::SingleQuotedText, name);
}

void AddInteger(CBlock& block, std::u16string_view name, int value) {
    block.Add(CBlockItemPtr(new CBlock_named_value(Name(name), CToken(TokenType::Int, value))));
}

void AddRow(CBlock& block, int row, const Complex* elements, int n) {
    auto* items = new CBlock(Name(RowName(row)));
    block.Add(CBlockItemPtr(items));
    if (n > 0)
        items->AddPairs(Name(u"c"), reinterpret_cast<const double*>(elements), static_cast<std::size_t>(n));
}

bool HasInteger(CBlock& block, std::u16string_view name, int absent, int expected) {
    const CBlock_named_value* item = block.FindNamedValue(name);
    int value = absent;
    return (!item || item->GetInt(value)) && value == expected;
}

// The row's block, or null: what has the name but is no block doesn't count.
const CBlock* FindRow(CBlock& block, int row) {
    const CBlock_item* item = block.FindItem(RowName(row));
    return item && item->IsBlock() ? static_cast<const CBlock*>(item) : nullptr;
}

// Whether the items are "m", "n" and the rows in their order, as they are written, so that nothing has to be looked up.
bool IsInOrder(const CBlock& block, int rows) {
    if (block.GetSize() != static_cast<std::size_t>(rows) + 2)
        return false;
    CToken::Scratch scratch;
    auto item = block.begin();
    for (const std::u16string_view name : {std::u16string_view(u"m"), std::u16string_view(u"n")}) {
        if ((*item++)->GetNameToken().GetText(scratch) != name)
            return false;
    }
    for (int row = 0; row < rows; ++row, ++item) {
        if (!(*item)->IsBlock() || (*item)->GetNameToken().GetText(scratch) != RowName(row))
            return false;
    }
    return true;
}

bool IsInteger(const CBlock_item& item, int expected) {
    int value = 0;
    return item.IsNamedValue() && static_cast<const CBlock_named_value&>(item).GetInt(value) &&
           value == expected;
}

bool ReadRow(const CBlock* row, Complex* elements, int n) {
    int j = 0;
    if (const CToken* values = row ? row->GetPairs() : nullptr) {
        for (const int stored = int(std::min(row->GetSize(), std::size_t(n))); j < stored; ++j, values += 2)
            elements[j] = {values[0].GetDouble(), values[1].GetDouble()};
    } else if (row) {
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
    block.AddPairs(Name(u"c"), reinterpret_cast<const double*>(&value), 1);
}

bool ReadComplexItem(const CBlock_item& item, Complex& value) {
    if (!item.IsFunc())
        return false;
    const auto& func = static_cast<const CBlock_func&>(item);
    if (const CToken* values = func.GetPlainValues()) {
        const bool hasImaginary = func.GetSize() > 1;
        if (!values[0].IsNumber() || (hasImaginary && !values[1].IsNumber()))
            return false;
        value = {values[0].GetDouble(), hasImaginary ? values[1].GetDouble() : value.im};
        return true;
    }
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

void WriteMatrixBlock(CBlock& block, const ComplexMatrix& matrix, std::u16string_view name) {
    auto* target = new CBlock(Name(name));
    block.Add(CBlockItemPtr(target));
    AddInteger(*target, u"m", matrix.Rows());
    AddInteger(*target, u"n", matrix.Columns());
    for (int i = 0; i < matrix.Rows(); ++i)
        AddRow(*target, i, matrix[i], matrix.Columns());
}

bool ReadMatrixBlock(CBlock& block, ComplexMatrix& matrix) {
    if (IsInOrder(block, matrix.Rows()) && IsInteger(**block.begin(), matrix.Rows()) &&
        IsInteger(*block.begin()[1], matrix.Columns())) {
        auto row = block.begin() + 2;
        for (int i = 0; i < matrix.Rows(); ++i, ++row) {
            if (!ReadRow(static_cast<const CBlock*>(row->Get()), matrix[i], matrix.Columns()))
                return false;
        }
        return true;
    }
    if (!HasInteger(block, u"m", 1, matrix.Rows()) || !HasInteger(block, u"n", 0, matrix.Columns()))
        return false;
    for (int i = 0; i < matrix.Rows(); ++i) {
        if (!ReadRow(FindRow(block, i), matrix[i], matrix.Columns()))
            return false;
    }
    return true;
}

void WriteVectorBlock(CBlock& block, const ComplexVector& vector, std::u16string_view name) {
    auto* target = new CBlock(Name(name));
    block.Add(CBlockItemPtr(target));
    AddInteger(*target, u"n", vector.Size());
    AddRow(*target, 0, vector.Data(), vector.Size());
}

bool ReadVectorBlock(CBlock& block, ComplexVector& vector) {
    const CBlock* row = FindRow(block, 0);
    const int items = row ? int(row->GetSize()) : 0;
    return HasInteger(block, u"n", items, vector.Size()) && ReadRow(row, vector.Data(), vector.Size());
}
