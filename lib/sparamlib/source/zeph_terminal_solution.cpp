#include <sparamlib/zeph_terminal_solution.h>

#include "function_items.h"
#include "point_items.h"

#include <sparamlib/zeph_interpolate_visitor.h>
#include <sparamlib/zeph_modal_data.h>

#include <utility>

CZephTerminalSolution::~CZephTerminalSolution() = default;

CZephTerminalSolution& CZephTerminalSolution::operator=(const CZephTerminalSolution& other) {
    if (this == &other)
        return *this;
    CNetworkTerminalSolution::operator=(other);
    m_DiffPairs = other.m_DiffPairs;
    m_ReferenceImpedance = other.m_ReferenceImpedance;
    m_Interpolator.reset();
    if (other.m_Interpolator) {
        m_Interpolator = std::make_unique<CZephInterpolator>(*other.m_Interpolator);
        m_Interpolator->Replay(m_SolvedData, CZephInterpolator::kAllQuantities);
    }
    return *this;
}

std::unique_ptr<CNetworkDataSolution> CZephTerminalSolution::Clone() const {
    return std::make_unique<CZephTerminalSolution>(*this);
}

CNetworkData* CZephTerminalSolution::GetDominantData(double freq, double tol, bool interpolate) {
    return GetData(freq, tol, interpolate, false);
}

std::int32_t CZephTerminalSolution::ReadFromBlock(io::CBlock& block) {
    const std::int32_t code = CNetworkTerminalSolution::ReadFromBlock(block);
    if (code != 0 && code != 1)
        return code;
    const std::int32_t pairCode = ReadPairs(block, u"DifferentialPairs", m_DiffPairs);
    if (pairCode != 0 && pairCode != 1)
        return pairCode;
    m_ReferenceImpedance = ComplexVector(GetMatrixSize());
    if (const io::CBlock_func* impedances = FindFunction(block, u"ReferenceImpedance"))
        FillVector(*impedances, m_ReferenceImpedance);
    if (io::CBlock* basis = FindBlock(block, u"InterpolationBasis")) {
        m_Interpolator = std::make_unique<CZephInterpolator>(GetMatrixSize());
        m_Interpolator->ReadFromBlock(*basis);
        m_SolutionType = SolutionType::ZephInterpolatingSweep;
        m_Interpolator->Replay(m_SolvedData, CZephInterpolator::kAllQuantities);
    }
    RebuildEntries();
    return code;
}

bool CZephTerminalSolution::WriteToBlock(io::CBlock& block, bool withInterpolated) {
    if (!CNetworkTerminalSolution::WriteToBlock(block, withInterpolated))
        return false;
    const io::CBlockPtr pairs(new io::CBlock(AString(u"DifferentialPairs")));
    for (const CZephDifferentialPair& pair : m_DiffPairs) {
        const io::CBlockPtr stored(new io::CBlock(AString(u"Pair")));
        if (!pair.WriteToBlock(*stored.Get()))
            return false;
        pairs->Add(stored);
    }
    block.Add(pairs);
    AddFunction(block, u"ReferenceImpedance", [this](io::CBlock_func& function) {
        for (int i = 0; i < m_ReferenceImpedance.Size(); ++i)
            function << m_ReferenceImpedance[i].re << m_ReferenceImpedance[i].im;
    });
    if (m_Interpolator) {
        const io::CBlockPtr basis(new io::CBlock(AString(u"InterpolationBasis")));
        if (m_Interpolator->WriteToBlock(*basis.Get()))
            block.Add(basis);
    }
    return true;
}

AString CZephTerminalSolution::EntryName(std::size_t port) const {
    const AString& name = m_PortTable.names[port];
    for (const CZephDifferentialPair& pair : m_DiffPairs) {
        if (pair.m_PortName != name)
            continue;
        if (pair.m_PosTerminalIndex == static_cast<std::int32_t>(port))
            return pair.m_DiffName;
        if (pair.m_NegTerminalIndex == static_cast<std::int32_t>(port))
            return pair.m_CommonName;
    }
    AString entry(name);
    entry += u":";
    if (port < m_PortTable.terminals.size())
        entry += m_PortTable.terminals[port];
    return entry;
}

void CZephTerminalSolution::RebuildEntries() {
    m_MatrixEntries.clear();
    if (!CountRows(m_PortTable.modes))
        return;
    for (std::size_t port = 0; port < m_PortTable.Ports(); ++port) {
        const AString name = EntryName(port);
        for (std::int32_t i = 0; i < m_PortTable.modes[port]; ++i) {
            m_MatrixEntries.push_back(std::make_unique<CMatrixEntry>(m_PortTable.names[port], i + 1,
                                                                     static_cast<std::int32_t>(port)));
            m_MatrixEntries.back()->m_TerminalEntryName = name;
            m_MatrixEntries.back()->m_AliasName = name;
        }
    }
}

bool CZephTerminalSolution::Accept(INetworkSolutionVisitor& visitor) {
    return visitor.Visit(*this);
}

CNetworkData* CZephTerminalSolution::Interpolate(double freq, CInterpolateVisitor& visitor, bool) {
    if (!m_Interpolator || !dynamic_cast<CZephInterpolateVisitor*>(&visitor))
        return nullptr;
    auto point = std::make_unique<CZephTerminalData>(this, freq);
    const bool isFilled = visitor.VisitZephTerminal(this, point.get());
    return KeepIf(isFilled, std::move(point));
}

bool CZephTerminalSolution::RenormalizePorts(const ComplexVector& impedances, bool) {
    const auto renormalize = [&](const CFrequencyMap& points) {
        for (const auto [frequency, point] : points) {
            if (auto* terminal = dynamic_cast<CZephTerminalData*>(point))
                terminal->RenormalizeVectors(m_ReferenceImpedance, impedances);
        }
    };
    renormalize(m_SolvedData);
    if (!m_Interpolator)
        return true;
    m_Interpolator = std::make_unique<CZephInterpolator>(*m_Interpolator);
    m_Interpolator->Replay(m_SolvedData, CZephInterpolator::kAllQuantities);
    renormalize(m_InterpolatedData);
    return true;
}

std::unique_ptr<CNetworkData> CZephTerminalSolution::CopyData(const CNetworkData* data) {
    if (!data)
        return CreateData();
    std::unique_ptr<CZephTerminalData> copy;
    if (const auto* terminal = dynamic_cast<const CZephTerminalData*>(data)) {
        copy = std::make_unique<CZephTerminalData>(*terminal);
    } else if (const auto* modal = dynamic_cast<const CZephModalData*>(data)) {
        // The form is bound to its modal point, of which nothing but that changes.
        copy = std::make_unique<CZephTerminalData>(const_cast<CZephModalData*>(modal));
    }
    if (copy)
        copy->SetOwner(this);
    return copy;
}

std::unique_ptr<CNetworkData> CZephTerminalSolution::CreateData(double freq) {
    auto point = std::make_unique<CZephTerminalData>(this, freq);
    if (m_Interpolator && !m_Interpolator->FillPoint(point.get()))
        return nullptr;
    return point;
}

std::unique_ptr<CNetworkData> CZephTerminalSolution::CreateData() {
    return std::make_unique<CZephTerminalData>();
}
