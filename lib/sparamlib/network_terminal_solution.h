// A network whose matrix rows are the terminals of ports; its points are CNetworkTerminalData.
//
//   CNetworkTerminalSolution solution;
//   solution.SetMatrixEntries(entries, true);
//   solution.AddData(1e9)->SetSMatrix(&s, true);
//   int row = solution.FindMatrixEntry(u"P1:T1")->m_MatrixIndex;
//
// Beside the matrix entries there is a table of ports: a name for each entry (as many as there are rows, without regard
// to equal ones), and the counts and terminal names that a block gave. A block without "Ports" therefore ends with no
// port. The tables may disagree in length; nothing outside of one is looked at. Points aren't post-processed, and
// frequencies that the solution doesn't hold are interpolated for the type "InterpolateNeville" only, at any frequency.
// Otherwise as CNetworkDataSolution.
#pragma once

#include <sparamlib/network_data_solution.h>
#include <sparamlib/network_terminal_data.h>
#include <sparamlib/port_table.h>

class CNetworkTerminalSolution : public CNetworkDataSolution {
public:
    CNetworkTerminalSolution() : CNetworkTerminalSolution(ObjectType::Terminal) {}
    CNetworkTerminalSolution(const CNetworkTerminalSolution& other) : CNetworkTerminalSolution() {
        *this = other;
    }
    CNetworkTerminalSolution& operator=(const CNetworkTerminalSolution& other) = default;

    std::unique_ptr<CNetworkDataSolution> Clone() const override;
    int GetNumPorts() const override;
    // 0 for a port outside the table.
    int GetNumModes(unsigned port) const override;
    // By the terminal entry name, exactly.
    CMatrixEntry* FindMatrixEntry(const AString& name) const override;
    // The terminal entry name.
    AString GetMatrixEntryName(unsigned index) const override;
    // GetData.
    CNetworkData* GetDominantData(double freq, double tol, bool interpolate) override;
    // Behind the base's items the function items "PortNames", "PortModes" and "PortTerminals", whose arguments are
    // appended to what the tables hold; then the names are taken from the entries. The base's code.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    using CNetworkDataSolution::WriteToBlock;
    // The same items, each unless it is empty.
    bool WriteToBlock(io::CBlock& block, bool withInterpolated) override;
    bool Accept(INetworkSolutionVisitor& visitor) override;
    // By VisitTerminal, at any frequency; `outsideRange` has no effect.
    CNetworkData* Interpolate(double freq, CInterpolateVisitor& visitor, bool outsideRange) override;
    std::unique_ptr<CNetworkData> CopyData(const CNetworkData* data) override;
    std::unique_ptr<CNetworkData> CreateData(double freq) override;
    std::unique_ptr<CNetworkData> CreateData() override;
    void OnMatrixEntriesChanged() override;
    // For each port as many entries as it has terminals, with the port's name, mode 0 and, for all of them, the number
    // of the entries of earlier ports plus 1 as matrix index. None at all beyond the rows that a matrix can have.
    void BuildMatrixEntries() override;

    const std::vector<AString>& GetPortNames() const { return m_PortTable.names; }
    const std::vector<std::int32_t>& GetPortModes() const { return m_PortTable.modes; }
    const std::vector<AString>& GetPortTerminals() const { return m_PortTable.terminals; }

protected:
    explicit CNetworkTerminalSolution(ObjectType type) : CNetworkDataSolution(type) {}

    PortTable m_PortTable;
};
