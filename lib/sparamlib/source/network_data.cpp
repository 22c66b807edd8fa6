#include <sparamlib/network_data.h>

#include "point_items.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr double kUnityTolerance = 1e-05;
constexpr double kFullReflection = 200000.0;

// The storage that a recomputation hands on; null at other times.
thread_local std::unique_ptr<ComplexMatrix> spare;

Complex StandingWaveRatio(const Complex& reflection) {
    const double m = abs(reflection);
    if (std::fabs(m - 1.0) < kUnityTolerance)
        return kFullReflection;
    const double d = 1.0 - m;
    return (m + 1.0) * d * (1.0 / (d * d));
}

} // namespace

CNetworkData::CNetworkData(const CNetworkData& other) : CStreamio_block_object() {
    CNetworkData::operator=(other);
    m_Owner = other.m_Owner;
}

CNetworkData::~CNetworkData() = default;

CNetworkData& CNetworkData::operator=(const CNetworkData& other) {
    if (this == &other)
        return *this;
    m_Frequency = other.m_Frequency;
    m_DataType = other.m_DataType;
    m_SDerived = other.m_SDerived;
    m_YDerived = other.m_YDerived;
    m_ZDerived = other.m_ZDerived;
    CopyItem(m_SMatrix, other.m_SMatrix.get());
    CopyItem(m_YMatrix, other.m_YMatrix.get());
    CopyItem(m_ZMatrix, other.m_ZMatrix.get());
    m_AuxValue = other.m_AuxValue;
    return *this;
}

// The tree that is measured is the one that is written: making it is the greater part of the work.
AString& CNetworkData::ToBinaryText(AString& out) const {
    io::CBlockItemPtr item;
    return GetItem(item)->ToBinaryText(out);
}

AString CNetworkData::GetBlockName() const {
    return u"DataPoint";
}

std::int32_t CNetworkData::TransferBlock(io::CBlock& block, bool read) {
    if (read)
        return ReadFromBlock(block);
    return WriteToBlock(block) ? 0 : 1;
}

std::int32_t CNetworkData::ReadFromBlock(io::CBlock& block) {
    if (const io::CBlock_named_value* frequency = block.FindNamedValue(u"Frequency"))
        frequency->GetDouble(m_Frequency);
    TransferEnumKeyword(block, true, u"DataType", 0, std::size(kDataTypeKeywords), kDataTypeKeywords,
                        m_DataType);
    const int n = GetMatrixSize();
    if (n < 1)
        return 0;
    struct Field {
        std::u16string_view name;
        std::unique_ptr<ComplexMatrix>& matrix;
        bool& derived;
    };
    for (const Field& field :
         {Field{u"SMatrix", m_SMatrix, m_SDerived}, Field{u"YMatrix", m_YMatrix, m_YDerived},
          Field{u"ZMatrix", m_ZMatrix, m_ZDerived}}) {
        io::CBlock* stored = FindBlock(block, field.name);
        if (!stored)
            continue;
        if (!ReadStored(*stored, field.matrix, n))
            return 1;
        field.derived = false;
    }
    return 0;
}

bool CNetworkData::WriteToBlock(io::CBlock& block) {
    block.Add(io::CBlockItemPtr(
        new io::CBlock_named_value(io::CToken(io::TokenType::SingleQuotedText, u"Frequency"),
                                   io::CToken(io::TokenType::Double, m_Frequency))));
    TransferEnumKeyword(block, false, u"DataType", 0, std::size(kDataTypeKeywords), kDataTypeKeywords,
                        m_DataType);
    if (!m_SDerived)
        WriteItem(block, u"SMatrix", m_SMatrix);
    if (!m_YDerived)
        WriteItem(block, u"YMatrix", m_YMatrix);
    if (!m_ZDerived)
        WriteItem(block, u"ZMatrix", m_ZMatrix);
    return true;
}

CMatrixEntry* CNetworkData::GetMatrixEntry(unsigned index) const {
    return m_Owner ? m_Owner->GetMatrixEntry(index) : nullptr;
}

ComplexMatrix* CNetworkData::GetSMatrix(bool) {
    return m_SMatrix.get();
}

ComplexMatrix* CNetworkData::GetYMatrix(bool) {
    return m_YMatrix.get();
}

ComplexMatrix* CNetworkData::GetZMatrix(bool) {
    return m_ZMatrix.get();
}

bool CNetworkData::SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) {
    const int n = GetMatrixSize();
    if (n < 1)
        return false;
    switch (kind) {
    case NetworkDataKind::SMatrix:
        return SetElement(m_SMatrix, n, value, i, j);
    case NetworkDataKind::YMatrix:
        return SetElement(m_YMatrix, n, value, i, j);
    case NetworkDataKind::ZMatrix:
        return SetElement(m_ZMatrix, n, value, i, j);
    case NetworkDataKind::Vswr:
        return true;
    default:
        return false;
    }
}

Complex CNetworkData::GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) {
    if (GetMatrixSize() < 1)
        return {};
    const auto s = [this] { return m_SMatrix ? m_SMatrix.get() : GetSMatrix(true); };
    switch (kind) {
    case NetworkDataKind::SMatrix:
        return GetElement(s(), i, j);
    case NetworkDataKind::YMatrix:
        return GetElement(m_YMatrix ? m_YMatrix.get() : GetYMatrix(true), i, j);
    case NetworkDataKind::ZMatrix:
        return GetElement(m_ZMatrix ? m_ZMatrix.get() : GetZMatrix(true), i, j);
    case NetworkDataKind::Vswr: {
        ComplexMatrix* matrix = s();
        const Complex* reflection = matrix ? FindElement(*matrix, i, i) : nullptr;
        return reflection ? StandingWaveRatio(*reflection) : Complex();
    }
    default:
        return {};
    }
}

bool CNetworkData::Deembed(const RealVector&, bool, bool) {
    return false;
}

bool CNetworkData::DeembedByDelay(const RealVector&) {
    return false;
}

bool CNetworkData::Renormalize(const ComplexVector&) {
    return false;
}

bool CNetworkData::Accept(INetworkDataVisitor& visitor) {
    return visitor.Visit(*this);
}

void CNetworkData::SetSMatrix(ComplexMatrix* matrix, bool copy) {
    StoreItem(m_SMatrix, matrix, copy);
}

void CNetworkData::SetYMatrix(ComplexMatrix* matrix, bool copy) {
    StoreItem(m_YMatrix, matrix, copy);
}

void CNetworkData::SetZMatrix(ComplexMatrix* matrix, bool copy) {
    StoreItem(m_ZMatrix, matrix, copy);
}

ComplexMatrix* CNetworkData::Usable(const std::unique_ptr<ComplexMatrix>& field) const {
    return UsableItem(field, std::max(GetMatrixSize(), 0));
}

ComplexMatrix& CNetworkData::Create(std::unique_ptr<ComplexMatrix>& field) {
    const int n = std::max(GetMatrixSize(), 0);
    if (spare && HasSize(*spare, n)) {
        field = std::move(spare);
        field->fill(Complex());
    } else {
        field = std::make_unique<ComplexMatrix>(n, n);
    }
    return *field;
}

ComplexMatrix* CNetworkData::Recompute(std::unique_ptr<ComplexMatrix>& field,
                                       ComplexMatrix* (CNetworkData::*get)(bool)) {
    spare = std::move(field);
    ComplexMatrix* result = (this->*get)(true);
    spare.reset();
    return result;
}
