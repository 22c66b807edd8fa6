#include <sparamlib/network_modal_solution.h>

#include "point_items.h"

#include <sparamlib/zeph_modal_data.h>
#include <streamio/streamio_manip.h>
#include <utility/assertion.h>

using io::CNamed_value_manip;

namespace {

constexpr double kTerminalOhms = 50.0;

// A copy in the point's own class.
std::unique_ptr<CNetworkModalData> CopyOf(const CNetworkModalData& point) {
    if (const auto* zeph = dynamic_cast<const CZephModalData*>(&point))
        return std::make_unique<CZephModalData>(*zeph);
    return std::make_unique<CNetworkModalData>(point);
}

// The form of a copy that is about to go.
std::unique_ptr<CNetworkData> TakeTerminalForm(CNetworkModalData& copy, CNetworkPostprocSetup& setup) {
    auto* zeph = dynamic_cast<CZephModalData*>(&copy);
    if (!zeph) {
        copy.GetTerminalData(true);
        return copy.ReleaseTerminalData();
    }
    CZephDifferentialPairs pairs;
    for (const CZephDifferentialPair& pair : setup.mDiffPairs)
        pairs.push_back(&pair);
    const ComplexVector* impedances = setup.GetRenormImpedances();
    const bool isMade = zeph->GetTerminalData(
        pairs, impedances ? *impedances : ComplexVector(copy.GetMatrixSize(), Complex(kTerminalOhms)), true);
    return isMade ? zeph->ReleasePostprocessedData() : nullptr;
}

} // namespace

CNetworkModalSolution::~CNetworkModalSolution() = default;

CNetworkModalSolution& CNetworkModalSolution::operator=(const CNetworkModalSolution& other) {
    if (this == &other)
        return *this;
    CNetworkDataSolution::operator=(other);
    m_HigherOrderMode = other.m_HigherOrderMode;
    m_HasMultipleModes = other.m_HasMultipleModes;
    m_PortTable = other.m_PortTable;
    m_PostprocSetup.reset();
    if (other.m_PostprocSetup)
        m_PostprocSetup = std::make_unique<CNetworkPostprocSetup>(*other.m_PostprocSetup);
    return *this;
}

std::unique_ptr<CNetworkDataSolution> CNetworkModalSolution::Clone() const {
    return std::make_unique<CNetworkModalSolution>(*this);
}

int CNetworkModalSolution::GetNumPorts() const {
    return static_cast<int>(m_PortTable.names.size());
}

int CNetworkModalSolution::GetNumModes(unsigned port) const {
    return m_PortTable.ModesOf(port);
}

AString CNetworkModalSolution::GetMatrixEntryName(unsigned index) const {
    const CMatrixEntry* entry = CheckedEntry(index, "lib/sparamlib/source/NetworkModalSolution");
    return entry ? entry->m_ModalEntryName : AString();
}

CNetworkData* CNetworkModalSolution::GetData(double freq, double tol, bool interpolate, bool raw) {
    CNetworkData* point = CNetworkDataSolution::GetData(freq, tol, interpolate, false);
    if (!point || !m_PostprocSetup || raw || !m_PostprocSetup->IsActive())
        return point;
    auto* modal = dynamic_cast<CNetworkModalData*>(point);
    if (!modal)
        return nullptr;
    if (!modal->HasPostprocessedData()) {
        auto form = Postprocess(*modal);
        if (!form)
            return nullptr;
        form->SetOwner(this);
        modal->SetPostprocessedData(std::move(form));
    }
    return modal->GetPostprocessedData();
}

std::unique_ptr<CNetworkData> CNetworkModalSolution::Postprocess(CNetworkModalData& point) {
    CNetworkPostprocSetup& setup = *m_PostprocSetup;
    setup.ApplyCharImpedances(point);
    auto copy = CopyOf(point);
    copy->SetOwner(this);
    const RealVector* distances = setup.GetDeembedDistances();
    if (setup.IsDeembedActive() && distances && point.GetSMatrix(false)) {
        const bool isGammaNormalized = !dynamic_cast<CZephModalData*>(copy.get());
        copy->Deembed(*distances, setup.mLosslessDeembed, isGammaNormalized);
    }
    if (!setup.mIsModal)
        return TakeTerminalForm(*copy, setup);
    if (setup.IsRenormActive() && copy->GetPortImpedance()) {
        if (const ComplexVector* impedances = setup.GetRenormImpedances())
            copy->Renormalize(*impedances);
    }
    return copy;
}

CNetworkData* CNetworkModalSolution::GetDominantData(double freq, double tol, bool interpolate) {
    if (m_HigherOrderMode)
        return nullptr;
    CNetworkData* point = GetData(freq, tol, interpolate, false);
    auto* modal = m_HasMultipleModes ? dynamic_cast<CNetworkModalData*>(point) : nullptr;
    return modal ? modal->GetTerminalData(true) : point;
}

std::int32_t CNetworkModalSolution::ReadFromBlock(io::CBlock& block) {
    std::int32_t code = CNetworkDataSolution::ReadFromBlock(block);
    if (code != 0 && code != 1)
        return code;
    block >> CNamed_value_manip<bool>(u"HigherOrderMode", m_HigherOrderMode);
    m_PortTable.Read(block);
    if (io::CBlock* stored = FindBlock(block, u"Postprocessing")) {
        CNetworkPostprocSetup setup(m_PortTable.modes);
        code = setup.ReadFromBlock(*stored);
        SetPostprocSetup(&setup);
    }
    OnMatrixEntriesChanged();
    return code;
}

bool CNetworkModalSolution::WriteToBlock(io::CBlock& block, bool withInterpolated) {
    if (!CNetworkDataSolution::WriteToBlock(block, withInterpolated))
        return false;
    block << CNamed_value_manip<bool>(u"HigherOrderMode", m_HigherOrderMode);
    m_PortTable.Write(block);
    return true;
}

bool CNetworkModalSolution::Accept(INetworkSolutionVisitor& visitor) {
    return visitor.Visit(*this);
}

CNetworkData* CNetworkModalSolution::Interpolate(double freq, CInterpolateVisitor& visitor, bool) {
    auto point = std::make_unique<CNetworkModalData>(this, freq);
    const bool isFilled = visitor.VisitModal(this, point.get());
    return KeepIf(isFilled, std::move(point));
}

bool CNetworkModalSolution::RenormalizePorts(const ComplexVector& impedances, bool withInterpolated) {
    if (!m_PostprocSetup)
        return CNetworkDataSolution::RenormalizePorts(impedances, withInterpolated);
    ImpedanceOverrides rows;
    for (int row = 0; row < impedances.Size(); ++row)
        rows.emplace_back(row, impedances[row]);
    SetPostprocLists(rows, {});
    return true;
}

std::unique_ptr<CNetworkData> CNetworkModalSolution::CopyData(const CNetworkData* data) {
    return CopyAs<CNetworkModalData>(data);
}

std::unique_ptr<CNetworkData> CNetworkModalSolution::CreateData(double freq) {
    return std::make_unique<CNetworkModalData>(this, freq);
}

std::unique_ptr<CNetworkData> CNetworkModalSolution::CreateData() {
    return std::make_unique<CNetworkModalData>();
}

void CNetworkModalSolution::OnMatrixEntriesChanged() {
    m_HasMultipleModes = false;
    if (m_MatrixEntries.empty())
        return;
    m_PortTable.names.clear();
    m_PortTable.modes.clear();
    for (const auto& entry : m_MatrixEntries) {
        if (!m_PortTable.names.empty() && entry->m_PortName == m_PortTable.names.back()) {
            ++m_PortTable.modes.back();
            m_HasMultipleModes = true;
        } else {
            m_PortTable.names.push_back(entry->m_PortName);
            m_PortTable.modes.push_back(1);
        }
    }
}

void CNetworkModalSolution::BuildMatrixEntries() {
    m_MatrixEntries.clear();
    m_HasMultipleModes = false;
    TARVOK_ASSERT_AT("lib/sparamlib/source/NetworkModalSolution", __LINE__,
                     m_PortTable.names.size() == m_PortTable.modes.size(),
                     "m_PortNames.size() == m_NumberOfModes.size()");
    if (!CountRows(m_PortTable.modes))
        return;
    for (std::size_t port = 0; port < m_PortTable.Ports(); ++port) {
        for (std::int32_t mode = 1; mode <= m_PortTable.modes[port]; ++mode)
            m_MatrixEntries.push_back(std::make_unique<CMatrixEntry>(m_PortTable.names[port], mode,
                                                                     static_cast<std::int32_t>(port)));
        m_HasMultipleModes = m_HasMultipleModes || m_PortTable.modes[port] > 1;
    }
}

void CNetworkModalSolution::ClearPostprocessedData() {
    ForEachPoint(true, [](CNetworkData& point) {
        if (auto* modal = dynamic_cast<CNetworkModalData*>(&point))
            modal->SetPostprocessedData(nullptr);
        return true;
    });
}

void CNetworkModalSolution::SetPostprocSetup(const CNetworkPostprocSetup* setup) {
    m_PostprocSetup = setup ? std::make_unique<CNetworkPostprocSetup>(*setup) : nullptr;
    ClearPostprocessedData();
}

void CNetworkModalSolution::SetPostprocLists(const ImpedanceOverrides& impedances,
                                             const DistanceOverrides& distances) {
    if (!m_PostprocSetup)
        m_PostprocSetup = std::make_unique<CNetworkPostprocSetup>(m_PortTable.modes);
    m_PostprocSetup->SetOverrides(impedances, distances);
    ClearPostprocessedData();
}
