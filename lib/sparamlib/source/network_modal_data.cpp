#include <sparamlib/network_modal_data.h>

#include "point_items.h"
#include "reference_planes.h"
#include "work_matrices.h"

#include <matrix/wave_math.h>

#include <algorithm>

namespace {

// Each port's value for each of its rows. False unless there is one value for each port and there are n rows.
template <class T>
bool SpreadOverRows(const INetworkDataOwner& owner, const Vector<T>& perPort, int n, Vector<T>& rows) {
    if (perPort.Size() != owner.GetNumPorts())
        return false;
    rows.resize(n);
    int row = 0;
    for (int port = 0; port < perPort.Size(); ++port) {
        const int modes = owner.GetNumModes(static_cast<unsigned>(port));
        if (modes > n - row)
            return false;
        for (int mode = 0; mode < modes; ++mode)
            rows[row++] = perPort[port];
    }
    return row == n;
}

// (T D(v)) T^H
void TransformDiagonal(const ComplexMatrix& transform, const ComplexVector& diagonal,
                       const ComplexMatrix& conjugate, ComplexMatrix& out) {
    ComplexMatrix& product = GetWorkMatrices().product;
    MultiplyInto(product, transform, DiagonalMatrix(diagonal));
    MultiplyInto(out, product, conjugate);
}

} // namespace

CNetworkModalData::CNetworkModalData(const CNetworkModalData& other) : CNetworkData() {
    CNetworkModalData::operator=(other);
    m_Owner = other.m_Owner;
}

CNetworkModalData& CNetworkModalData::operator=(const CNetworkModalData& other) {
    if (this == &other)
        return *this;
    CNetworkData::operator=(other);
    CopyItem(m_PortImpedance, other.m_PortImpedance.get());
    if (!m_Rare && !other.m_Rare)
        return *this;
    Rare& rare = MakeRare();
    const Rare& source = other.GetRare();
    CopyItem(rare.gamma, source.gamma.get());
    CopyItem(rare.terminalTransform, source.terminalTransform.get());
    rare.terminalData.reset();
    if (source.terminalData) {
        rare.terminalData = std::make_unique<CNetworkTerminalData>(*source.terminalData);
        rare.terminalData->BindTo(this);
    }
    rare.postprocessedData.reset();
    return *this;
}

CNetworkModalData::~CNetworkModalData() {
    if (GetRare().link)
        m_Rare->link->point = nullptr;
}

std::int32_t CNetworkModalData::ReadFromBlock(io::CBlock& block) {
    const std::int32_t code = CNetworkData::ReadFromBlock(block);
    const int n = GetMatrixSize();
    if ((code != 0 && code != 1) || n < 1)
        return code;
    const auto readRare = [&](std::u16string_view name, auto Rare::*item) {
        io::CBlock* stored = FindBlock(block, name);
        return !stored || ReadStored(*stored, MakeRare().*item, n);
    };
    const bool good = ReadItem(block, u"PortImpedance", m_PortImpedance, n) &&
                      readRare(u"Gamma", &Rare::gamma) &&
                      readRare(u"TerminalTransform", &Rare::terminalTransform);
    return good ? code : 1;
}

bool CNetworkModalData::WriteToBlock(io::CBlock& block) {
    if (!CNetworkData::WriteToBlock(block))
        return false;
    WriteItem(block, u"PortImpedance", m_PortImpedance);
    WriteItem(block, u"Gamma", GetRare().gamma);
    WriteItem(block, u"TerminalTransform", GetRare().terminalTransform);
    return true;
}

const ComplexVector* CNetworkModalData::UsableImpedance() {
    const ComplexVector* impedance = GetPortImpedance();
    return impedance && HasSize(*impedance, GetMatrixSize()) ? impedance : nullptr;
}

ComplexMatrix* CNetworkModalData::GetSMatrix(bool create) {
    if (!create || m_SMatrix)
        return m_SMatrix.get();
    m_SDerived = true;
    ComplexMatrix& s = Create(m_SMatrix);
    const ComplexVector* impedance = UsableImpedance();
    if (const ComplexMatrix* y = Usable(m_YMatrix)) {
        if (impedance) {
            s = *y;
            MultiplyByRoots(s, *impedance);
            SolveWaveFraction(s, WaveFraction::PlusMinus, s);
        }
    } else if (const ComplexMatrix* z = Usable(m_ZMatrix); z && impedance) {
        s = *z;
        DivideByRoots(s, *impedance);
        SolveWaveFraction(s, WaveFraction::PlusOver, s);
    }
    if (CNetworkTerminalData* terminal = GetRare().terminalData.get())
        UpdateTerminalForm(s, terminal->m_SMatrix);
    return &s;
}

ComplexMatrix* CNetworkModalData::GetYMatrix(bool create) {
    if (!create || m_YMatrix)
        return m_YMatrix.get();
    m_YDerived = true;
    ComplexMatrix& y = Create(m_YMatrix);
    const ComplexMatrix* s = Usable(m_SMatrix);
    if (const ComplexVector* impedance = s ? UsableImpedance() : nullptr) {
        SolveWaveFraction(*s, WaveFraction::PlusMinus, y);
        DivideByRoots(y, *impedance);
    } else if (const ComplexMatrix* z = Usable(m_ZMatrix)) {
        InvertInto(*z, y);
    }
    if (CNetworkTerminalData* terminal = GetRare().terminalData.get())
        UpdateTerminalForm(y, terminal->m_YMatrix);
    return &y;
}

ComplexMatrix* CNetworkModalData::GetZMatrix(bool create) {
    if (!create || m_ZMatrix)
        return m_ZMatrix.get();
    m_ZDerived = true;
    ComplexMatrix& z = Create(m_ZMatrix);
    if (const ComplexMatrix* s = Usable(m_SMatrix)) {
        if (const ComplexVector* impedance = UsableImpedance()) {
            SolveWaveFraction(*s, WaveFraction::MinusPlus, z);
            MultiplyByRoots(z, *impedance);
        }
    } else if (const ComplexMatrix* y = Usable(m_YMatrix)) {
        InvertInto(*y, z);
    }
    if (CNetworkTerminalData* terminal = GetRare().terminalData.get())
        UpdateTerminalForm(z, terminal->m_ZMatrix);
    return &z;
}

void CNetworkModalData::UpdateTerminalForm(const ComplexMatrix& computed,
                                           std::unique_ptr<ComplexMatrix>& form) const {
    const int n = computed.Rows();
    if (!UsableItem(form, n))
        form = MakeItem(form.get(), n);
    const ComplexMatrix* transform = Usable(GetRare().terminalTransform);
    if (!transform)
        return;
    WorkMatrices& work = GetWorkMatrices();
    InvertInto(*transform, work.root);
    MultiplyInto(work.product, *transform, computed);
    MultiplyInto(*form, work.product, work.root);
}

bool CNetworkModalData::SetValue(NetworkDataKind kind, const Complex& value, std::int32_t i, std::int32_t j) {
    const int n = GetMatrixSize();
    if (n < 1)
        return false;
    switch (kind) {
    case NetworkDataKind::PortImpedance:
        return i != j || SetElement(m_PortImpedance, n, value, i, j);
    case NetworkDataKind::Gamma:
        return i != j || SetElement(MakeRare().gamma, n, value, i, j);
    default:
        return CNetworkData::SetValue(kind, value, i, j);
    }
}

Complex CNetworkModalData::GetValue(NetworkDataKind kind, std::int32_t i, std::int32_t j) {
    if (GetMatrixSize() < 1)
        return {};
    switch (kind) {
    case NetworkDataKind::PortImpedance:
        return GetElement(m_PortImpedance.get(), i, j);
    case NetworkDataKind::Gamma:
        return GetElement(GetRare().gamma.get(), i, j);
    case NetworkDataKind::TerminalSMatrix:
    case NetworkDataKind::TerminalYMatrix:
    case NetworkDataKind::TerminalZMatrix:
    case NetworkDataKind::TerminalPortImpedance:
    case NetworkDataKind::TerminalGamma: {
        constexpr auto kFirst = static_cast<std::int32_t>(NetworkDataKind::TerminalSMatrix);
        CNetworkTerminalData* terminal = GetTerminalData(true);
        return terminal ? terminal->GetValue(
                              static_cast<NetworkDataKind>(static_cast<std::int32_t>(kind) / kFirst), i, j)
                        : Complex();
    }
    default:
        return CNetworkData::GetValue(kind, i, j);
    }
}

bool CNetworkModalData::SpreadPlanes(const RealVector& given, RealVector& rows) const {
    const int n = GetMatrixSize();
    if (!UsableItem(GetRare().gamma, n) || !Usable(m_SMatrix))
        return false;
    if (m_Owner && m_Owner->HasMultipleModes())
        return SpreadOverRows(*m_Owner, given, n, rows);
    rows = given;
    return given.Size() == n;
}

bool CNetworkModalData::Deembed(const RealVector& distances, bool lossless, bool gammaNormalized) {
    RealVector rows;
    if (!SpreadPlanes(distances, rows))
        return false;
    const double k0 = kTwoPi * m_Frequency / kSpeedOfLight;
    ComplexVector factors(rows.Size());
    for (int i = 0; i < rows.Size(); ++i) {
        const Complex& gamma = (*GetGamma())[i];
        const double d = rows[i];
        Complex exponent = gammaNormalized ? Complex(k0 * d * gamma.re, k0 * d * gamma.im)
                                           : Complex(gamma.re * d, gamma.im * d);
        if (lossless)
            exponent.re = 0.0;
        factors[i] = PlaneFactor(exponent);
    }
    MoveReferencePlanes(factors);
    return true;
}

bool CNetworkModalData::DeembedByDelay(const RealVector& delays) {
    RealVector rows;
    if (!SpreadPlanes(delays, rows))
        return false;
    MoveReferencePlanes(DelayFactors(m_Frequency, rows));
    return true;
}

void CNetworkModalData::MoveReferencePlanes(const ComplexVector& factors) {
    MovePlanes(*m_SMatrix, factors);
    if (m_YMatrix) {
        Recompute(m_YMatrix, &CNetworkData::GetYMatrix);
        m_YDerived = false;
    }
    if (m_ZMatrix) {
        Recompute(m_ZMatrix, &CNetworkData::GetZMatrix);
        m_ZDerived = false;
    }
}

bool CNetworkModalData::Renormalize(const ComplexVector& impedances) {
    if (!m_PortImpedance)
        return false;
    const ComplexMatrix* y = GetYMatrix(true);
    if (!y)
        return false;
    const int n = GetMatrixSize();
    if (!HasSize(*y, n) || !HasSize(*m_PortImpedance, n))
        return false;
    ComplexVector spread;
    const bool isForRows = impedances.Size() == n;
    if (!isForRows &&
        (!m_Owner || !m_Owner->HasMultipleModes() || !SpreadOverRows(*m_Owner, impedances, n, spread)))
        return false;
    const ComplexVector& rows = isForRows ? impedances : spread;
    for (int i = 0; i < n; ++i) {
        if (IsNewImpedance(rows[i]))
            (*m_PortImpedance)[i] = rows[i];
    }
    const bool hadS = m_SMatrix != nullptr;
    Recompute(m_SMatrix, &CNetworkData::GetSMatrix);
    const ComplexMatrix* transform = Usable(GetRare().terminalTransform);
    if (GetRare().terminalData && transform) {
        auto& form = m_Rare->terminalData->m_PortImpedance;
        if (!form)
            form = MakeItem(form.get(), n);
        TransformDiagonal(*transform, *m_PortImpedance, ConjugateTranspose(*transform), *form);
    }
    if (hadS)
        m_SDerived = false;
    return m_SMatrix != nullptr;
}

bool CNetworkModalData::Accept(INetworkDataVisitor& visitor) {
    return visitor.Visit(*this);
}

CNetworkData* CNetworkModalData::GetPostprocessedData() {
    CNetworkData* data = GetRare().postprocessedData.get();
    return data ? data : this;
}

ComplexVector* CNetworkModalData::GetPortImpedance() {
    return m_PortImpedance.get();
}

CNetworkTerminalData* CNetworkModalData::GetTerminalData(bool create) {
    if (CNetworkTerminalData* form = GetRare().terminalData.get(); form || !create)
        return form;
    const int n = GetMatrixSize();
    const ComplexMatrix* transform = Usable(GetRare().terminalTransform);
    const ComplexMatrix* s = Usable(m_SMatrix);
    if (!transform || !s || !UsableItem(GetRare().gamma, n) || !UsableItem(m_PortImpedance, n))
        return nullptr;
    const ComplexMatrix conjugate = ConjugateTranspose(*transform);
    auto form = std::make_unique<CNetworkTerminalData>(m_Owner, m_Frequency);
    form->BindTo(this);
    form->m_Gamma = MakeItem(form->m_Gamma.get(), n);
    TransformDiagonal(*transform, *GetGamma(), conjugate, *form->m_Gamma);
    form->m_PortImpedance = MakeItem(form->m_PortImpedance.get(), n);
    TransformDiagonal(*transform, *m_PortImpedance, conjugate, *form->m_PortImpedance);
    form->m_SMatrix = MakeItem(form->m_SMatrix.get(), n);
    MultiplyInto(GetWorkMatrices().product, *transform, *s);
    MultiplyInto(*form->m_SMatrix, GetWorkMatrices().product, conjugate);
    form->m_Transform = std::make_unique<ComplexMatrix>(*transform);
    m_Rare->terminalData = std::move(form);
    return m_Rare->terminalData.get();
}

void CNetworkModalData::SetGamma(ComplexVector* gamma, bool copy) {
    if (gamma || m_Rare)
        StoreItem(MakeRare().gamma, gamma, copy);
}

void CNetworkModalData::SetPortImpedance(ComplexVector* impedances, bool copy) {
    StoreItem(m_PortImpedance, impedances, copy);
}

void CNetworkModalData::SetTerminalTransform(const ComplexMatrix* transform) {
    if (transform || m_Rare)
        CopyItem(MakeRare().terminalTransform, transform);
}

void CNetworkModalData::SetPortImpedanceElement(std::int32_t i, const Complex& value) {
    SetElement(m_PortImpedance, GetMatrixSize(), value, i, i);
}

std::unique_ptr<CNetworkTerminalData> CNetworkModalData::ReleaseTerminalData() {
    return m_Rare ? std::move(m_Rare->terminalData) : nullptr;
}

void CNetworkModalData::SetPostprocessedData(std::unique_ptr<CNetworkData> data) {
    if (data || m_Rare)
        MakeRare().postprocessedData = std::move(data);
}

std::unique_ptr<CNetworkData> CNetworkModalData::ReleasePostprocessedData() {
    return m_Rare ? std::move(m_Rare->postprocessedData) : nullptr;
}
