#include <sparamlib/network_modal_data.h>
#include <sparamlib/network_terminal_data.h>

#include "point_items.h"
#include "reference_planes.h"
#include "work_matrices.h"

#include <matrix/wave_math.h>

CNetworkTerminalData::CNetworkTerminalData(const CNetworkTerminalData& other) : CNetworkData() {
    CNetworkTerminalData::operator=(other);
    m_Owner = other.m_Owner;
}

CNetworkTerminalData& CNetworkTerminalData::operator=(const CNetworkTerminalData& other) {
    if (this == &other)
        return *this;
    CNetworkData::operator=(other);
    CopyItem(m_Gamma, other.m_Gamma.get());
    CopyItem(m_PortImpedance, other.m_PortImpedance.get());
    CopyItem(m_Transform, other.m_Transform.get());
    m_ModalLink = other.m_ModalLink;
    return *this;
}

CNetworkTerminalData::~CNetworkTerminalData() = default;

void CNetworkTerminalData::BindTo(CNetworkModalData* modal) {
    if (!modal) {
        m_ModalLink = nullptr;
        return;
    }
    refptr<ModalLink>& link = modal->MakeRare().link;
    if (!link) {
        link = new ModalLink;
        link->point = modal;
    }
    m_ModalLink = link;
}

CNetworkModalData* CNetworkTerminalData::GetModalData(bool) const {
    return m_ModalLink ? m_ModalLink->point : nullptr;
}

std::int32_t CNetworkTerminalData::ReadFromBlock(io::CBlock& block) {
    const std::int32_t code = CNetworkData::ReadFromBlock(block);
    const int n = GetMatrixSize();
    if ((code != 0 && code != 1) || n < 1)
        return code;
    const bool good = ReadItem(block, u"PortImpedance", m_PortImpedance, n) &&
                      ReadItem(block, u"Gamma", m_Gamma, n) && ReadItem(block, u"Transform", m_Transform, n);
    return good ? code : 1;
}

bool CNetworkTerminalData::WriteToBlock(io::CBlock& block) {
    if (!CNetworkData::WriteToBlock(block))
        return false;
    WriteItem(block, u"PortImpedance", m_PortImpedance);
    WriteItem(block, u"Gamma", m_Gamma);
    WriteItem(block, u"Transform", m_Transform);
    return true;
}

const ComplexMatrix* CNetworkTerminalData::ImpedanceRoot(double power) const {
    const ComplexMatrix* impedance = Usable(m_PortImpedance);
    ComplexMatrix& root = GetWorkMatrices().root;
    const bool good =
        impedance && (power > 0 ? MatrixSqrt(*impedance, root) : MatrixPower(*impedance, power, root));
    return good ? &root : nullptr;
}

void CNetworkTerminalData::Enclose(const ComplexMatrix& root, const ComplexMatrix& m, ComplexMatrix& out) {
    ComplexMatrix& product = GetWorkMatrices().product;
    MultiplyInto(product, root, m);
    MultiplyInto(out, product, root);
}

ComplexMatrix* CNetworkTerminalData::GetSMatrix(bool create) {
    if (!create || m_SMatrix)
        return m_SMatrix.get();
    m_SDerived = true;
    if (CNetworkModalData* modal = GetModalData(false)) {
        modal->GetSMatrix(true);
        return m_SMatrix.get();
    }
    ComplexMatrix& s = Create(m_SMatrix);
    const ComplexMatrix* y = Usable(m_YMatrix);
    const ComplexMatrix* source = y ? y : Usable(m_ZMatrix);
    if (!source)
        return &s;
    const ComplexMatrix* root = ImpedanceRoot(y ? 0.5 : -0.5);
    if (!root) {
        m_SMatrix.reset();
        return nullptr;
    }
    Enclose(*root, *source, s);
    SolveWaveFraction(s, y ? WaveFraction::PlusMinus : WaveFraction::PlusOver, s);
    return &s;
}

ComplexMatrix* CNetworkTerminalData::GetYMatrix(bool create) {
    if (!create || m_YMatrix)
        return m_YMatrix.get();
    m_YDerived = true;
    if (CNetworkModalData* modal = GetModalData(false)) {
        modal->GetYMatrix(true);
        return m_YMatrix.get();
    }
    ComplexMatrix& y = Create(m_YMatrix);
    Derive(m_ZMatrix, WaveFraction::PlusMinus, -0.5, y);
    return &y;
}

ComplexMatrix* CNetworkTerminalData::GetZMatrix(bool create) {
    if (!create || m_ZMatrix)
        return m_ZMatrix.get();
    m_ZDerived = true;
    if (CNetworkModalData* modal = GetModalData(false)) {
        modal->GetZMatrix(true);
        return m_ZMatrix.get();
    }
    ComplexMatrix& z = Create(m_ZMatrix);
    Derive(m_YMatrix, WaveFraction::MinusPlus, 0.5, z);
    return &z;
}

void CNetworkTerminalData::Derive(const std::unique_ptr<ComplexMatrix>& inverse, WaveFraction form,
                                  double power, ComplexMatrix& out) const {
    const ComplexMatrix* s = Usable(m_SMatrix);
    if (!s) {
        if (const ComplexMatrix* m = Usable(inverse))
            InvertInto(*m, out);
        return;
    }
    SolveWaveFraction(*s, form, out);
    if (!m_PortImpedance)
        return;
    if (const ComplexMatrix* root = ImpedanceRoot(power))
        Enclose(*root, out, out);
    else
        out.fill(Complex());
}

bool CNetworkTerminalData::SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i,
                                    std::int32_t j) {
    const int n = GetMatrixSize();
    if (n < 1)
        return false;
    switch (kind) {
    case NetworkDataKind::PortImpedance:
        return SetElement(m_PortImpedance, n, value, i, j);
    case NetworkDataKind::Gamma:
        return SetElement(m_Gamma, n, value, i, j);
    default:
        return CNetworkData::SetValue(kind, value, i, j);
    }
}

Complex CNetworkTerminalData::GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) {
    if (GetMatrixSize() < 1)
        return {};
    switch (kind) {
    case NetworkDataKind::PortImpedance:
        return GetElement(m_PortImpedance.get(), i, j);
    case NetworkDataKind::Gamma:
        return GetElement(m_Gamma.get(), i, j);
    default:
        return CNetworkData::GetValue(kind, i, j);
    }
}

bool CNetworkTerminalData::DeembedTerminals(const RealVector& distances, bool lossless) {
    const int n = GetMatrixSize();
    const ComplexMatrix* gamma = Usable(m_Gamma);
    if (!gamma || distances.Size() != n || !Usable(m_SMatrix))
        return false;
    const double k0 = kTwoPi * m_Frequency / kSpeedOfLight;
    ComplexVector lengths(n);
    for (int i = 0; i < n; ++i)
        lengths[i] = {k0 * distances[i], 0.0};
    ComplexVector factors = *gamma * lengths;
    for (int i = 0; i < n; ++i) {
        if (lossless)
            factors[i].re = 0.0;
        factors[i] = PlaneFactor(factors[i]);
    }
    MoveReferencePlanes(factors);
    return true;
}

bool CNetworkTerminalData::DeembedByDelay(const RealVector& delays) {
    if (delays.Size() != GetMatrixSize() || !Usable(m_SMatrix))
        return false;
    MoveReferencePlanes(DelayFactors(m_Frequency, delays));
    return true;
}

void CNetworkTerminalData::MoveReferencePlanes(const ComplexVector& factors) {
    MovePlanes(*m_SMatrix, factors);
    if (m_YMatrix)
        Recompute(m_YMatrix, &CNetworkData::GetYMatrix);
    if (m_ZMatrix)
        Recompute(m_ZMatrix, &CNetworkData::GetZMatrix);
}

bool CNetworkTerminalData::CanRenormalize() {
    if (!Usable(m_SMatrix) || !Usable(m_PortImpedance))
        return false;
    if (!m_YMatrix)
        GetYMatrix(true);
    return Usable(m_YMatrix) != nullptr;
}

bool CNetworkTerminalData::Renormalize(const ComplexVector& impedances) {
    const int n = GetMatrixSize();
    if (!CanRenormalize() || impedances.Size() != n)
        return false;
    for (int i = 0; i < n; ++i) {
        if (IsNewImpedance(impedances[i]))
            (*m_PortImpedance)[i][i] = impedances[i];
    }
    return Recompute(m_SMatrix, &CNetworkData::GetSMatrix) != nullptr;
}

bool CNetworkTerminalData::RenormalizeMatrix(const ComplexMatrix& impedances) {
    if (!CanRenormalize() || !HasSize(impedances, GetMatrixSize()))
        return false;
    *m_PortImpedance = impedances;
    return Recompute(m_SMatrix, &CNetworkData::GetSMatrix) != nullptr;
}

bool CNetworkTerminalData::Accept(INetworkDataVisitor& visitor) {
    return visitor.Visit(*this);
}

void CNetworkTerminalData::SetGamma(ComplexMatrix* gamma, bool copy) {
    StoreItem(m_Gamma, gamma, copy);
}

void CNetworkTerminalData::SetPortImpedance(ComplexMatrix* impedances, bool copy) {
    StoreItem(m_PortImpedance, impedances, copy);
}
