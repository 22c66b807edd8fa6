#include <sparamlib/zeph_modal_data.h>

#include "point_items.h"
#include "work_matrices.h"

#include <matrix/wave_math.h>

#include <algorithm>

namespace {

ComplexVector Roots(const ComplexVector& values, int n) {
    ComplexVector roots(n);
    for (int i = 0; i < n; ++i)
        roots[i] = sqrt(values[i]);
    return roots;
}

// T D, where D refers modes to other impedances.
void ScaleModes(ComplexMatrix& t, const ComplexVector& oldZ, const ComplexVector& newZ) {
    ComplexVector d(t.Columns(), Complex(1.0));
    for (int i = 0; i < std::min({t.Columns(), oldZ.Size(), newZ.Size()}); ++i)
        d[i] = sqrt(newZ[i] / oldZ[i]);
    ComplexMatrix& scaled = GetWorkMatrices().product;
    MultiplyInto(scaled, t, DiagonalMatrix(d));
    t = scaled;
}

} // namespace

CZephModalData::CZephModalData(const CZephModalData& other) : CNetworkModalData() {
    CZephModalData::operator=(other);
    m_Owner = other.m_Owner;
}

CZephModalData& CZephModalData::operator=(const CZephModalData& other) {
    if (this == &other)
        return *this;
    CNetworkModalData::operator=(other);
    CopyItem(m_Zpi, other.m_Zpi.get());
    CopyItem(m_Zpv, other.m_Zpv.get());
    CopyItem(m_Zvi, other.m_Zvi.get());
    CopyItem(m_TMatrix, other.m_TMatrix.get());
    CopyItem(m_PMatrix, other.m_PMatrix.get());
    return *this;
}

CZephModalData::~CZephModalData() = default;

std::int32_t CZephModalData::ReadFromBlock(io::CBlock& block) {
    const std::int32_t code = CNetworkModalData::ReadFromBlock(block);
    const int n = GetMatrixSize();
    if ((code != 0 && code != 1) || n < 1)
        return code;
    const bool good = ReadItem(block, u"Zpi", m_Zpi, n) && ReadItem(block, u"Zpv", m_Zpv, n) &&
                      ReadItem(block, u"Zvi", m_Zvi, n) &&
                      ReadItem(block, u"TerminalTMatrix", m_TMatrix, n) &&
                      ReadItem(block, u"TerminalPMatrix", m_PMatrix, n);
    return good ? code : 1;
}

bool CZephModalData::WriteToBlock(io::CBlock& block) {
    if (!CNetworkModalData::WriteToBlock(block))
        return false;
    WriteItem(block, u"Zpi", m_Zpi);
    WriteItem(block, u"Zpv", m_Zpv);
    WriteItem(block, u"Zvi", m_Zvi);
    WriteItem(block, u"TerminalTMatrix", m_TMatrix);
    WriteItem(block, u"TerminalPMatrix", m_PMatrix);
    return true;
}

ComplexMatrix* CZephModalData::GetSMatrix(bool) {
    return m_SMatrix.get();
}

ComplexMatrix* CZephModalData::GetYMatrix(bool create) {
    return m_SMatrix ? CNetworkModalData::GetYMatrix(create) : nullptr;
}

ComplexMatrix* CZephModalData::GetZMatrix(bool create) {
    return m_SMatrix ? CNetworkModalData::GetZMatrix(create) : nullptr;
}

bool CZephModalData::SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) {
    const int n = GetMatrixSize();
    if (n < 1)
        return false;
    switch (kind) {
    case NetworkDataKind::Zpi:
        return SetElement(m_Zpi, n, value, i, i);
    case NetworkDataKind::Zpv:
        return SetElement(m_Zpv, n, value, i, i);
    case NetworkDataKind::Zvi:
        return SetElement(m_Zvi, n, value, i, i);
    case NetworkDataKind::TMatrix:
        return SetElement(m_TMatrix, n, value, i, j);
    case NetworkDataKind::PMatrix:
        return SetElement(m_PMatrix, n, value, i, j);
    default:
        return CNetworkModalData::SetValue(kind, value, i, j);
    }
}

Complex CZephModalData::GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) {
    if (GetMatrixSize() < 1)
        return {};
    switch (kind) {
    case NetworkDataKind::PortImpedance:
        return GetElement(GetPortImpedance(), i, j);
    case NetworkDataKind::Zpi:
        return GetElement(m_Zpi.get(), i, j);
    case NetworkDataKind::Zpv:
        return GetElement(m_Zpv.get(), i, j);
    case NetworkDataKind::Zvi:
        return GetElement(m_Zvi.get(), i, j);
    case NetworkDataKind::TMatrix:
        return GetElement(m_TMatrix.get(), i, j);
    case NetworkDataKind::PMatrix:
        return GetElement(m_PMatrix.get(), i, j);
    case NetworkDataKind::SMatrix:
    case NetworkDataKind::YMatrix:
    case NetworkDataKind::ZMatrix:
    case NetworkDataKind::Gamma:
    case NetworkDataKind::Vswr:
        return CNetworkModalData::GetValue(kind, i, j);
    default:
        return {};
    }
}

bool CZephModalData::Renormalize(const ComplexVector& impedances) {
    const ComplexVector* old = GetPortImpedance();
    if (!old)
        return false;
    if (m_TMatrix)
        ScaleModes(*m_TMatrix, *old, impedances);
    if (!Usable(m_SMatrix) || !HasSize(impedances, m_SMatrix->Rows()) || !HasSize(*old, m_SMatrix->Rows()))
        return false;

    ComplexMatrix& s = *m_SMatrix;
    const int n = s.Rows();
    WorkMatrices& work = GetWorkMatrices();
    const ComplexMatrix one = IdentityMatrix(n);
    work.root = one;
    work.root -= s;
    InvertInto(work.root, work.root);
    work.product = one;
    work.product += s;
    MultiplyInto(s, work.product, work.root);
    const ComplexVector oldRoots = Roots(*old, n);
    const ComplexVector newRoots = Roots(impedances, n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j)
            s[i][j] = s[i][j] * oldRoots[i] * oldRoots[j] / (newRoots[i] * newRoots[j]);
    }
    work.root = s;
    work.root += one;
    InvertInto(work.root, work.root);
    work.product = s;
    work.product -= one;
    MultiplyInto(s, work.root, work.product);
    CopyItem(m_PortImpedance, &impedances);
    return true;
}

bool CZephModalData::Accept(INetworkDataVisitor& visitor) {
    return visitor.Visit(*this);
}

ComplexVector* CZephModalData::GetPortImpedance() {
    if (m_PortImpedance || !m_Owner)
        return m_PortImpedance.get();
    switch (m_Owner->GetPreferredImpedance()) {
    case NetworkDataKind::Zpi:
        return m_Zpi.get();
    case NetworkDataKind::Zpv:
        return m_Zpv.get();
    default:
        return m_Zvi.get();
    }
}

CZephTerminalData* CZephModalData::FindForm(bool create) {
    auto* form = dynamic_cast<CZephTerminalData*>(GetRare().postprocessedData.get());
    if (!form && create)
        SetPostprocessedData(nullptr);
    return form;
}

CZephTerminalData* CZephModalData::KeepForm(std::unique_ptr<CZephTerminalData> form) {
    if (!form->GetTMatrix() || !form->GetPMatrix())
        return nullptr;
    CZephTerminalData* kept = form.get();
    SetPostprocessedData(std::move(form));
    return kept;
}

CZephTerminalData* CZephModalData::GetTerminalData(bool create) {
    CZephTerminalData* form = FindForm(create);
    return form || !create ? form : KeepForm(std::make_unique<CZephTerminalData>(this));
}

CZephTerminalData* CZephModalData::GetTerminalData(const CZephDifferentialPairs& pairs,
                                                   const ComplexVector& impedances, bool create) {
    CZephTerminalData* form = FindForm(create);
    if (form || !create)
        return form;
    if (!m_TMatrix || !HasSize(impedances, GetMatrixSize()))
        return nullptr;
    return KeepForm(std::make_unique<CZephTerminalData>(this, impedances, pairs));
}

void CZephModalData::SetZpi(ComplexVector* impedances, bool copy) {
    StoreItem(m_Zpi, impedances, copy);
}

void CZephModalData::SetZpv(ComplexVector* impedances, bool copy) {
    StoreItem(m_Zpv, impedances, copy);
}

void CZephModalData::SetZvi(ComplexVector* impedances, bool copy) {
    StoreItem(m_Zvi, impedances, copy);
}

void CZephModalData::SetTMatrix(ComplexMatrix* matrix, bool copy) {
    StoreItem(m_TMatrix, matrix, copy);
}

void CZephModalData::SetPMatrix(ComplexMatrix* matrix, bool copy) {
    StoreItem(m_PMatrix, matrix, copy);
}
