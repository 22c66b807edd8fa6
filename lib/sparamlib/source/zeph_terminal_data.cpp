#include <sparamlib/zeph_modal_data.h>
#include <sparamlib/zeph_terminal_data.h>

#include "point_items.h"

#include <matrix/wave_math.h>
#include <utility/assertion.h>

#include <algorithm>

#define TARVOK_TERMINAL_ASSERT(expression)                                                                   \
    TARVOK_ASSERT_AT("lib/sparamlib/source/ZephTerminalData", __LINE__, expression, #expression)

namespace {

constexpr double kReferenceOhms = 50.0;

ComplexVector Roots(const ComplexVector& z) {
    ComplexVector roots(z.Size());
    for (int i = 0; i < z.Size(); ++i)
        roots[i] = sqrt(z[i]);
    return roots;
}

ComplexVector Reciprocals(const ComplexVector& roots) {
    ComplexVector reciprocals(roots.Size());
    for (int i = 0; i < roots.Size(); ++i)
        reciprocals[i] = 1.0 / roots[i];
    return reciprocals;
}

// D M, where D is the diagonal matrix of the factors.
ComplexMatrix ScaledRows(const ComplexVector& factors, const ComplexMatrix& m) {
    ComplexMatrix scaled(m);
    for (int i = 0; i < m.Rows(); ++i) {
        for (int j = 0; j < m.Columns(); ++j)
            scaled[i][j] = factors[i] * m[i][j];
    }
    return scaled;
}

} // namespace

CZephTerminalData::CZephTerminalData(const CZephTerminalData& other) : CNetworkTerminalData() {
    CZephTerminalData::operator=(other);
    m_Owner = other.m_Owner;
}

CZephTerminalData& CZephTerminalData::operator=(const CZephTerminalData& other) {
    if (this == &other)
        return *this;
    CNetworkTerminalData::operator=(other);
    CopyItem(m_TMatrix, other.m_TMatrix.get());
    CopyItem(m_PMatrix, other.m_PMatrix.get());
    return *this;
}

CZephTerminalData::CZephTerminalData(CZephModalData* baseData) {
    ComputeForm(baseData, nullptr, {});
}

CZephTerminalData::CZephTerminalData(CZephModalData* baseData, const ComplexVector& impedances,
                                     const CZephDifferentialPairs& pairs) {
    ComputeForm(baseData, &impedances, pairs);
}

CZephTerminalData::~CZephTerminalData() = default;

void CZephTerminalData::ComputeForm(CZephModalData* baseData, const ComplexVector* impedances,
                                    const CZephDifferentialPairs& pairs) {
    TARVOK_TERMINAL_ASSERT(baseData != 0);
    if (!baseData)
        return;
    TARVOK_TERMINAL_ASSERT(baseData->GetTMatrix() != 0);
    TARVOK_TERMINAL_ASSERT(baseData->GetPMatrix() != 0);
    BindTo(baseData);
    m_Frequency = baseData->GetFrequency();
    CopyItem(m_TMatrix, baseData->GetTMatrix());
    CopyItem(m_PMatrix, baseData->GetPMatrix());
    const int n = baseData->GetMatrixSize();
    if (n < 1 || !UsableItem(m_TMatrix, n) || !UsableItem(m_PMatrix, n))
        return;
    ApplyPairs(pairs);

    const ComplexVector z = impedances ? *impedances : ComplexVector(n, Complex(kReferenceOhms));
    const ComplexMatrix* s = baseData->GetSMatrix(false);
    const bool hasS = s && HasSize(*s, n) && HasSize(z, n);
    ComplexMatrix x;
    if (hasS) {
        ComputeXMatrix(x);
        ComputeTerminalSMatrix(x, *s, z);
        ComputeTerminalYMatrix(x, *s);
        ComputeTerminalZMatrix(x, *s);
    }
    ComplexMatrix work;
    ComputePortImpedance(*m_TMatrix, *m_PMatrix, hasS ? &x : nullptr, work);
}

void CZephTerminalData::ApplyPairs(const CZephDifferentialPairs& pairs) {
    const int n = m_TMatrix->Rows();
    ComplexMatrix d = IdentityMatrix(n);
    for (const CZephDifferentialPair* pair : pairs) {
        const int p = pair ? pair->m_PosTerminalIndex : -1;
        const int q = pair ? pair->m_NegTerminalIndex : -1;
        if (p < 0 || p >= n || q < 0 || q >= n)
            return;
        d[p][p] = 0.5;
        d[p][q] = 1.0;
        d[q][p] = -0.5;
        d[q][q] = 1.0;
    }
    if (pairs.empty() || InvertInto(d, d) != kSolved)
        return;
    const ComplexMatrix t = *m_TMatrix;
    MultiplyInto(*m_TMatrix, d, t);
}

void CZephTerminalData::ComputeXMatrix(ComplexMatrix& out) const {
    if (m_TMatrix && m_PMatrix && m_TMatrix->Columns() == m_PMatrix->Columns())
        MatrixSolve(ConjugateTranspose(*m_TMatrix), ConjugateTranspose(*m_PMatrix), out);
    else
        out.fill(Complex());
}

void CZephTerminalData::ComputeTerminalSMatrix(const ComplexMatrix& x, const ComplexMatrix& s,
                                               const ComplexVector& z) {
    const int n = s.Rows();
    const ComplexMatrix& t = *m_TMatrix;
    const ComplexMatrix a = ScaledRows(z, x);
    ComplexMatrix g;
    MatrixSolve(t + a, t - a, g);
    const ComplexVector roots = Roots(z);
    ComplexMatrix m = ScaledRows(Reciprocals(roots), t) + ScaledRows(roots, x);
    ComplexMatrix w = g * s;
    for (int i = 0; i < n; ++i)
        w[i][i].re += 1.0;
    InvertInto(w, w);
    const ComplexMatrix k = (g + s) * w;
    const ComplexMatrix product = m * k;
    InvertInto(m, m);
    if (!m_SMatrix)
        m_SMatrix = MakeItem(m_SMatrix.get(), n);
    MultiplyInto(*m_SMatrix, product, m);
}

void CZephTerminalData::ComputeTerminalYMatrix(const ComplexMatrix& x, const ComplexMatrix& s) {
    const ComplexMatrix one = IdentityMatrix(s.Rows());
    const ComplexMatrix q = MatrixInverse(one + s) * (one - s);
    if (!m_YMatrix)
        m_YMatrix = MakeItem(m_YMatrix.get(), s.Rows());
    MultiplyInto(*m_YMatrix, x, q * MatrixInverse(*m_TMatrix));
}

void CZephTerminalData::ComputeTerminalZMatrix(const ComplexMatrix& x, const ComplexMatrix& s) {
    const ComplexMatrix one = IdentityMatrix(s.Rows());
    const ComplexMatrix q = MatrixInverse(one - s) * (one + s);
    if (!m_ZMatrix)
        m_ZMatrix = MakeItem(m_ZMatrix.get(), s.Rows());
    MultiplyInto(*m_ZMatrix, *m_TMatrix, q * MatrixInverse(x));
}

void CZephTerminalData::ComputePortImpedance(const ComplexMatrix& t, const ComplexMatrix&,
                                             const ComplexMatrix* x, ComplexMatrix& work) {
    if (x) {
        InvertInto(*x, work);
    } else {
        ComplexMatrix computed(t.Rows(), t.Columns());
        ComputeXMatrix(computed);
        InvertInto(computed, work);
    }
    if (!m_PortImpedance)
        m_PortImpedance = MakeItem(m_PortImpedance.get(), t.Rows());
    if (t.Columns() == work.Rows())
        MultiplyInto(*m_PortImpedance, t, work);
    else
        m_PortImpedance->fill(Complex());
}

void CZephTerminalData::ComputeYFromS(const ComplexVector& impedances) {
    TARVOK_TERMINAL_ASSERT(m_SMatrix != 0);
    if (!m_SMatrix)
        return;
    const int n = m_SMatrix->Rows();
    if (!UsableItem(m_YMatrix, n))
        m_YMatrix = MakeItem(m_YMatrix.get(), n);
    if (!HasSize(impedances, n)) {
        m_YMatrix->fill(Complex());
        return;
    }
    const ComplexMatrix d = DiagonalMatrix(Reciprocals(Roots(impedances)));
    ComplexMatrix q;
    SolveWaveFraction(*m_SMatrix, WaveFraction::PlusMinus, q);
    MultiplyInto(*m_YMatrix, d * q, d);
}

void CZephTerminalData::ComputeZFromS(const ComplexVector& impedances) {
    TARVOK_TERMINAL_ASSERT(m_SMatrix != 0);
    if (!m_SMatrix)
        return;
    const int n = m_SMatrix->Rows();
    if (!UsableItem(m_ZMatrix, n))
        m_ZMatrix = MakeItem(m_ZMatrix.get(), n);
    if (!HasSize(impedances, n)) {
        m_ZMatrix->fill(Complex());
        return;
    }
    const ComplexMatrix d = DiagonalMatrix(Roots(impedances));
    ComplexMatrix q;
    SolveWaveFraction(*m_SMatrix, WaveFraction::MinusPlus, q);
    MultiplyInto(*m_ZMatrix, d * q, d);
}

bool CZephTerminalData::RenormalizeVectors(const ComplexVector& oldImpedances,
                                           const ComplexVector& newImpedances) {
    const int n = m_SMatrix ? m_SMatrix->Rows() : 0;
    if (!UsableItem(m_SMatrix, n) || !HasSize(oldImpedances, n) || !HasSize(newImpedances, n))
        return false;
    const ComplexVector oldRoots = Roots(oldImpedances);
    const ComplexVector newRoots = Roots(newImpedances);
    ComplexMatrix q;
    SolveWaveFraction(*m_SMatrix, WaveFraction::PlusMinus, q);
    const ComplexMatrix e =
        DiagonalMatrix(Reciprocals(oldRoots)) * (q * MatrixInverse(DiagonalMatrix(oldRoots)));
    const ComplexMatrix f = e * DiagonalMatrix(newRoots);
    const ComplexMatrix d = DiagonalMatrix(Reciprocals(newRoots));
    MultiplyInto(*m_SMatrix, MatrixInverse(d + f), d - f);
    return true;
}

std::int32_t CZephTerminalData::ReadFromBlock(io::CBlock& block) {
    const std::int32_t code = CNetworkData::ReadFromBlock(block);
    const int n = GetMatrixSize();
    if ((code != 0 && code != 1) || n < 1)
        return code;
    const bool good = ReadItem(block, u"TMatrix", m_TMatrix, n) && ReadItem(block, u"PMatrix", m_PMatrix, n);
    return good ? 0 : 1;
}

bool CZephTerminalData::WriteToBlock(io::CBlock& block) {
    if (!CNetworkData::WriteToBlock(block))
        return false;
    WriteItem(block, u"TMatrix", m_TMatrix);
    WriteItem(block, u"PMatrix", m_PMatrix);
    return true;
}

ComplexMatrix* CZephTerminalData::GetSMatrix(bool) {
    return m_SMatrix.get();
}

ComplexMatrix* CZephTerminalData::GetYMatrix(bool create) {
    if (!create || m_YMatrix)
        return m_YMatrix.get();
    return m_SMatrix ? CNetworkTerminalData::GetYMatrix(true) : nullptr;
}

ComplexMatrix* CZephTerminalData::GetZMatrix(bool create) {
    if (!create || m_ZMatrix)
        return m_ZMatrix.get();
    return m_SMatrix ? CNetworkTerminalData::GetZMatrix(true) : nullptr;
}

bool CZephTerminalData::SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) {
    const int n = GetMatrixSize();
    if (n < 1)
        return false;
    switch (kind) {
    case NetworkDataKind::SMatrix:
    case NetworkDataKind::YMatrix:
    case NetworkDataKind::ZMatrix:
        return CNetworkData::SetValue(kind, value, i, j);
    case NetworkDataKind::PortImpedance:
        return SetElement(m_PortImpedance, n, value, i, j);
    case NetworkDataKind::TMatrix:
        return SetElement(m_TMatrix, n, value, i, j);
    case NetworkDataKind::PMatrix:
        return SetElement(m_PMatrix, n, value, i, j);
    default:
        return false;
    }
}

Complex CZephTerminalData::GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) {
    if (GetMatrixSize() < 1)
        return {};
    switch (kind) {
    case NetworkDataKind::PortImpedance:
        return GetElement(m_PortImpedance.get(), i, j);
    case NetworkDataKind::TMatrix:
        return GetElement(m_TMatrix.get(), i, j);
    case NetworkDataKind::PMatrix:
        return GetElement(m_PMatrix.get(), i, j);
    default:
        return CNetworkData::GetValue(kind, i, j);
    }
}

bool CZephTerminalData::Accept(INetworkDataVisitor& visitor) {
    return visitor.Visit(*this);
}

bool CZephTerminalData::DeembedTerminals(const RealVector&, bool) {
    return false;
}

void CZephTerminalData::SetTMatrix(ComplexMatrix* matrix, bool copy) {
    StoreItem(m_TMatrix, matrix, copy);
}

void CZephTerminalData::SetPMatrix(ComplexMatrix* matrix, bool copy) {
    StoreItem(m_PMatrix, matrix, copy);
}
