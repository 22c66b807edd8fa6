#include <sparamlib/network_terminal_solution.h>

#include <algorithm>

std::unique_ptr<CNetworkDataSolution> CNetworkTerminalSolution::Clone() const {
    return std::make_unique<CNetworkTerminalSolution>(*this);
}

int CNetworkTerminalSolution::GetNumPorts() const {
    return static_cast<int>(m_PortTable.names.size());
}

int CNetworkTerminalSolution::GetNumModes(unsigned port) const {
    return m_PortTable.ModesOf(port);
}

CMatrixEntry* CNetworkTerminalSolution::FindMatrixEntry(const AString& name) const {
    const auto found = std::find_if(m_MatrixEntries.begin(), m_MatrixEntries.end(),
                                    [&](const auto& entry) { return entry->m_TerminalEntryName == name; });
    return found == m_MatrixEntries.end() ? nullptr : found->get();
}

AString CNetworkTerminalSolution::GetMatrixEntryName(unsigned index) const {
    const CMatrixEntry* entry = CheckedEntry(index, "lib/sparamlib/source/NetworkTerminalSolution");
    return entry ? entry->m_TerminalEntryName : AString();
}

CNetworkData* CNetworkTerminalSolution::GetDominantData(double freq, double tol, bool interpolate) {
    return GetData(freq, tol, interpolate, false);
}

std::int32_t CNetworkTerminalSolution::ReadFromBlock(io::CBlock& block) {
    const std::int32_t code = CNetworkDataSolution::ReadFromBlock(block);
    if (code != 0 && code != 1)
        return code;
    m_PortTable.Read(block);
    OnMatrixEntriesChanged();
    return code;
}

bool CNetworkTerminalSolution::WriteToBlock(io::CBlock& block, bool withInterpolated) {
    if (!CNetworkDataSolution::WriteToBlock(block, withInterpolated))
        return false;
    m_PortTable.Write(block);
    return true;
}

bool CNetworkTerminalSolution::Accept(INetworkSolutionVisitor& visitor) {
    return visitor.Visit(*this);
}

CNetworkData* CNetworkTerminalSolution::Interpolate(double freq, CInterpolateVisitor& visitor, bool) {
    auto point = std::make_unique<CNetworkTerminalData>(this, freq);
    const bool isFilled = visitor.VisitTerminal(this, point.get());
    return KeepIf(isFilled, std::move(point));
}

std::unique_ptr<CNetworkData> CNetworkTerminalSolution::CopyData(const CNetworkData* data) {
    return CopyAs<CNetworkTerminalData>(data);
}

std::unique_ptr<CNetworkData> CNetworkTerminalSolution::CreateData(double freq) {
    return std::make_unique<CNetworkTerminalData>(this, freq);
}

std::unique_ptr<CNetworkData> CNetworkTerminalSolution::CreateData() {
    return std::make_unique<CNetworkTerminalData>();
}

void CNetworkTerminalSolution::OnMatrixEntriesChanged() {
    m_PortTable.names.clear();
    for (const auto& entry : m_MatrixEntries)
        m_PortTable.names.push_back(entry->m_PortName);
}

void CNetworkTerminalSolution::BuildMatrixEntries() {
    m_MatrixEntries.clear();
    if (!CountRows(m_PortTable.modes))
        return;
    for (std::size_t port = 0; port < m_PortTable.Ports(); ++port) {
        const std::int32_t index = GetMatrixSize() + 1;
        for (std::int32_t terminal = 0; terminal < m_PortTable.modes[port]; ++terminal)
            m_MatrixEntries.push_back(std::make_unique<CMatrixEntry>(m_PortTable.names[port], index));
    }
}
