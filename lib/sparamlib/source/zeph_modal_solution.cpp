#include <sparamlib/zeph_modal_solution.h>

#include "point_items.h"

#include <sparamlib/neville_interpolate_visitor.h>
#include <sparamlib/zeph_interpolate_visitor.h>
#include <streamio/streamio_manip.h>

#include <algorithm>
#include <cmath>

using io::CNamed_value_manip;

namespace {

constexpr double kPointTolerance = 1e-05; // hertz
constexpr double kMaxGridElements = 134217728.0;

double SnappedPart(double r, double tolerance) {
    for (double to : {1.0, -1.0, 0.0}) {
        if (std::fabs(r - to) <= tolerance)
            return to;
    }
    return r;
}

double StepOf(double low, double high, std::int32_t samples) {
    return (high - low) / (samples - 1);
}

} // namespace

CZephModalSolution::~CZephModalSolution() = default;

CZephModalSolution& CZephModalSolution::operator=(const CZephModalSolution& other) {
    if (this == &other)
        return *this;
    CNetworkModalSolution::operator=(other);
    m_PreferredImpedance = other.m_PreferredImpedance;
    m_LastSolvedFreq = other.m_LastSolvedFreq;
    m_ModalData = other.m_ModalData;
    m_LocalPostprocSetup.reset();
    if (other.m_LocalPostprocSetup)
        m_LocalPostprocSetup = std::make_unique<CNetworkPostprocSetup>(*other.m_LocalPostprocSetup);
    m_Interpolator.reset();
    if (other.m_Interpolator) {
        m_Interpolator = std::make_unique<CZephInterpolator>(*other.m_Interpolator);
        m_Interpolator->Replay(m_SolvedData, CZephInterpolator::kAllQuantities);
    }
    return *this;
}

std::unique_ptr<CNetworkDataSolution> CZephModalSolution::Clone() const {
    return std::make_unique<CZephModalSolution>(*this);
}

bool CZephModalSolution::HasDominantData() {
    if (m_SolvedData.IsEmpty())
        return false;
    CNetworkData* first = GetData(m_SolvedData.First().frequency, kPointTolerance, true, false);
    return !m_ModalData || dynamic_cast<CZephTerminalData*>(first);
}

CNetworkData* CZephModalSolution::GetData(double freq, double tol, bool interpolate, bool) {
    CNetworkData* point = CNetworkModalSolution::GetData(
        freq, tol, interpolate && m_SolutionType != SolutionType::DiscreteSweep, false);
    if (!point)
        return nullptr;
    if (!m_PostprocSetup && !m_ModalData) {
        if (auto* modal = dynamic_cast<CNetworkModalData*>(point))
            point = ServeTerminal(*modal);
    }
    const bool isSweep = m_SolutionType == SolutionType::ZephFastSweep ||
                         m_SolutionType == SolutionType::ZephInterpolatingSweep;
    if (isSweep && m_PostprocSetup && freq == 0.0 && m_SolvedData.First().frequency > freq)
        TreatDC(*point);
    return point;
}

CNetworkData* CZephModalSolution::ServeTerminal(CNetworkModalData& point) {
    auto terminal = std::make_unique<CZephTerminalData>(this, point.GetFrequency());
    terminal->SetSMatrix(point.GetSMatrix(false), true);
    terminal->SetYMatrix(point.GetYMatrix(false), true);
    terminal->SetZMatrix(point.GetZMatrix(false), true);
    if (auto* zeph = dynamic_cast<CZephModalData*>(&point); zeph && zeph->GetPMatrix())
        terminal->SetPMatrix(new ComplexMatrix(*zeph->GetPMatrix()), false);
    point.ReleaseTerminalData();
    if (auto before = point.ReleasePostprocessedData())
        m_ServedPoints.push_back(std::move(before));
    CNetworkData* served = terminal.get();
    point.SetPostprocessedData(std::move(terminal));
    return served;
}

void CZephModalSolution::ClearPostprocessedData() {
    if (!m_ModalData) {
        ForEachPoint(true, [this](CNetworkData& point) {
            auto* modal = dynamic_cast<CNetworkModalData*>(&point);
            if (auto served = modal ? modal->ReleasePostprocessedData() : nullptr)
                m_ServedPoints.push_back(std::move(served));
            return true;
        });
    }
    CNetworkModalSolution::ClearPostprocessedData();
}

void CZephModalSolution::TreatDC(CNetworkData& point) const {
    ComplexMatrix* s = point.GetSMatrix(false);
    for (int e = 0; s && e < s->Size(); ++e) {
        Complex& element = s->Data()[e];
        element.im = 0.0;
        if (m_PostprocSetup->mDoDCSnapping)
            element.re = SnappedPart(element.re, m_PostprocSetup->mDCSnapTolerance);
    }
}

CNetworkData* CZephModalSolution::GetDominantData(double freq, double tol, bool interpolate) {
    const bool hasTerminals = !m_PortTable.terminals.empty();
    const bool hasModes = std::any_of(m_PortTable.modes.begin(), m_PortTable.modes.end(),
                                      [](std::int32_t count) { return count > 1; });
    if (hasModes && !hasTerminals)
        return nullptr;
    CNetworkData* point = GetData(freq, tol, interpolate, false);
    auto* modal = dynamic_cast<CZephModalData*>(point);
    if (!modal || !hasTerminals || !m_ModalData)
        return point;
    CZephTerminalData* form = modal->GetTMatrix() ? modal->GetTerminalData(true) : nullptr;
    if (form)
        form->SetOwner(this);
    return form;
}

int CZephModalSolution::GetNumFrequencies() const {
    return m_Interpolator ? m_Interpolator->m_NumSamples : GetNumSolvedFrequencies();
}

double CZephModalSolution::LowEnd() const {
    return m_PostprocSetup && m_PostprocSetup->mExtrapToDC ? 0.0 : m_Interpolator->m_LowSampleFreq;
}

int CZephModalSolution::GetFrequencies(std::vector<double>& out, bool withInterpolated) const {
    if (!m_Interpolator || !withInterpolated)
        return CNetworkModalSolution::GetFrequencies(out, false);
    const std::int32_t samples = m_Interpolator->m_NumSamples;
    if (samples <= kMaxGridSize) {
        const double low = LowEnd();
        const double step = StepOf(low, m_Interpolator->m_HighSampleFreq, samples);
        for (std::int32_t i = 0; i < samples - 1; ++i)
            out.push_back(i * step + low);
        out.push_back(m_Interpolator->m_HighSampleFreq);
    }
    return static_cast<int>(out.size());
}

int CZephModalSolution::GetInterpolatedFrequencies(std::vector<double>& out) const {
    return GetFrequencies(out, true);
}

bool CZephModalSolution::GetInterpolationRange(double& low, double& high) const {
    const bool isInterpolated = CNetworkModalSolution::GetInterpolationRange(low, high);
    if (m_Interpolator && !m_SolvedData.IsEmpty())
        low = LowEnd();
    return isInterpolated;
}

std::int32_t CZephModalSolution::ReadFromBlock(io::CBlock& block) {
    return ReadZephBlock(block, CZephInterpolator::kAllQuantities);
}

std::int32_t CZephModalSolution::ReadZephBlock(io::CBlock& block, unsigned mask) {
    std::int32_t code = CNetworkModalSolution::ReadFromBlock(block);
    if (code != 0 && code != 1)
        return code;
    m_ModalData = true;
    block >> CNamed_value_manip<bool>(u"ModalData", m_ModalData);
    block >> CNamed_value_manip<double>(u"LastSolvedFreq", m_LastSolvedFreq);
    AString preferred;
    block >> CNamed_value_manip<AString>(u"PreferredImpedance", preferred);
    m_PreferredImpedance = preferred == AString(u"Zvi")   ? NetworkDataKind::Zvi
                           : preferred == AString(u"Zpv") ? NetworkDataKind::Zpv
                                                          : NetworkDataKind::Zpi;
    if (io::CBlock* basis = FindBlock(block, u"InterpolationBasis")) {
        m_Interpolator = std::make_unique<CZephInterpolator>(GetMatrixSize());
        m_Interpolator->ReadFromBlock(*basis);
        m_SolutionType = SolutionType::ZephInterpolatingSweep;
        m_Interpolator->Replay(m_SolvedData, mask);
    } else if (m_SolutionType == SolutionType::None) {
        m_SolutionType = SolutionType::DiscreteSweep;
    }
    io::CBlock* local = FindBlock(block, u"LocalPostprocessing");
    if (code == 0 && local) {
        m_LocalPostprocSetup = std::make_unique<CNetworkPostprocSetup>(m_PortTable.modes);
        code = m_LocalPostprocSetup->ReadFromBlock(*local);
    }
    for (std::size_t row = 0; row < m_MatrixEntries.size(); ++row)
        m_MatrixEntries[row]->m_MatrixIndex = static_cast<std::int32_t>(row);
    return code;
}

bool CZephModalSolution::WriteToBlock(io::CBlock& block, bool withInterpolated) {
    if (!CNetworkModalSolution::WriteToBlock(block, withInterpolated))
        return false;
    const AString preferred = m_PreferredImpedance == NetworkDataKind::Zpi   ? u"Zpi"
                              : m_PreferredImpedance == NetworkDataKind::Zpv ? u"Zpv"
                                                                             : u"Zvi";
    block << CNamed_value_manip<bool>(u"ModalData", m_ModalData)
          << CNamed_value_manip<double>(u"LastSolvedFreq", m_LastSolvedFreq)
          << CNamed_value_manip<AString>(u"PreferredImpedance", preferred);
    if (m_Interpolator) {
        const io::CBlockPtr basis(new io::CBlock(AString(u"InterpolationBasis")));
        if (m_Interpolator->WriteToBlock(*basis.Get()))
            block.Add(basis);
    }
    if (m_LocalPostprocSetup) {
        const io::CBlockPtr local(new io::CBlock(AString(u"LocalPostprocessing")));
        if (m_LocalPostprocSetup->WriteToBlock(*local.Get()))
            block.Add(local);
    }
    return true;
}

bool CZephModalSolution::Accept(INetworkSolutionVisitor& visitor) {
    return visitor.Visit(*this);
}

CNetworkData* CZephModalSolution::Interpolate(double freq, CInterpolateVisitor& visitor, bool) {
    const bool isAnswered = m_Interpolator ? dynamic_cast<CZephInterpolateVisitor*>(&visitor) != nullptr
                                           : m_SolutionType == SolutionType::InterpolateNeville ||
                                                 (m_SolutionType == SolutionType::DiscreteSweep &&
                                                  dynamic_cast<CNevilleInterpolateVisitor*>(&visitor));
    if (!isAnswered)
        return nullptr;
    auto point = std::make_unique<CZephModalData>(this, freq);
    const bool isFilled = visitor.VisitZephModal(this, point.get());
    return KeepIf(isFilled, std::move(point));
}

bool CZephModalSolution::DeembedPorts(const RealVector& distances, bool lossless, bool) {
    const auto deembed = [&](CNetworkData& point) { return point.Deembed(distances, lossless, false); };
    if (!m_Interpolator) {
        ForEachPoint(false, deembed);
        return true;
    }
    const std::int32_t samples = m_Interpolator->m_NumSamples;
    const double rows = GetMatrixSize();
    if (samples > kMaxGridSize || samples * rows * rows > kMaxGridElements)
        return false;
    const double low = m_Interpolator->m_LowSampleFreq;
    const double step = samples > 1 ? StepOf(low, m_Interpolator->m_HighSampleFreq, samples) : 0.0;
    CZephInterpolateVisitor visitor;
    CFrequencyMap grid;
    for (std::int32_t i = 0; i < samples; ++i) {
        auto point = std::make_unique<CZephModalData>(this, i * step + low);
        visitor.VisitZephModal(this, point.get());
        deembed(*point);
        grid.Insert(std::move(point));
    }
    m_Interpolator.reset();
    m_SolutionType = SolutionType::DiscreteSweep;
    m_InterpolatedData.Clear();
    m_SolvedData = std::move(grid);
    return true;
}

bool CZephModalSolution::RenormalizePorts(const ComplexVector& impedances, bool) {
    ImpedanceOverrides rows;
    for (int row = 0; row < impedances.Size(); ++row)
        rows.emplace_back(row, impedances[row]);
    SetPostprocLists(rows, {});
    return true;
}

std::unique_ptr<CNetworkData> CZephModalSolution::CopyData(const CNetworkData* data) {
    return CopyAs<CZephModalData>(data);
}

std::unique_ptr<CNetworkData> CZephModalSolution::CreateData(double freq) {
    return std::make_unique<CZephModalData>(this, freq);
}

std::unique_ptr<CNetworkData> CZephModalSolution::CreateData() {
    return std::make_unique<CZephModalData>();
}
