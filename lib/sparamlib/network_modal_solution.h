// A network whose matrix rows are the modes of ports; its points are CNetworkModalData.
//
//   CNetworkModalSolution solution;
//   solution.ReadFromBlock(block);
//   CNetworkPostprocSetup setup(solution.GetPortModes());
//   setup.SetDefaults(true, &fifties, nullptr);
//   solution.SetPostprocSetup(&setup);
//   CNetworkData* seen = solution.GetData(1e9, 0.0, true, false); // renormalised
//   CNetworkData* solved = solution.GetData(1e9, 0.0, true, true); // as it was solved
//
// Beside the matrix entries there is a table of ports with the number of their modes: neighbouring entries with one port
// name are one port. It is made from the entries where there are any. The tables may disagree in length; nothing
// outside of one is looked at.
//
// With a post-processing setup that is active (see network_postproc_setup.h) GetData gives the solved point's
// post-processed form, which is built at the first request and kept with that point, until the setup changes. Building
// it writes the characteristic impedances that the setup chooses into a field solver's solved point. De-embedding comes
// first, then renormalisation or the terminal form:
//
//   output     without a vector of impedances        without what the step needs
//   modal      not renormalised                      S or port impedance absent: that step is skipped
//   terminal   field solver's points at 50 ohm       no transform, T or P: null
//
// The terminal form of a point that already had one, because it was asked for its terminal values, is that one as it
// stands, without the de-embedding.
//
// Interpolation works on solved points as they are, at any frequency inside and outside of the solved range. Otherwise
// as CNetworkDataSolution.
#pragma once

#include <sparamlib/network_data_solution.h>
#include <sparamlib/network_modal_data.h>
#include <sparamlib/network_postproc_setup.h>
#include <sparamlib/port_table.h>

class CNetworkModalSolution : public CNetworkDataSolution {
public:
    CNetworkModalSolution() : CNetworkModalSolution(ObjectType::Modal) {}
    CNetworkModalSolution(const CNetworkModalSolution& other) : CNetworkModalSolution() { *this = other; }
    // The copy's setup is a copy as well.
    CNetworkModalSolution& operator=(const CNetworkModalSolution& other);
    ~CNetworkModalSolution() override;

    std::unique_ptr<CNetworkDataSolution> Clone() const override;
    int GetNumPorts() const override;
    // 0 for a port outside the table.
    int GetNumModes(unsigned port) const override;
    // The modal entry name.
    AString GetMatrixEntryName(unsigned index) const override;
    // With `raw` never post-processed.
    CNetworkData* GetData(double freq, double tol, bool interpolate, bool raw) override;
    // GetData; of ports with several modes the point's terminal form, or null if it has none. Always null for a solution
    // of a higher order mode.
    CNetworkData* GetDominantData(double freq, double tol, bool interpolate) override;
    // Behind the base's items "HigherOrderMode", the function items "PortNames", "PortModes" and "PortTerminals", whose
    // arguments are appended to what the tables hold, and the block "Postprocessing", which replaces the setup. The
    // base's code, or that of the setup's reading.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    using CNetworkDataSolution::WriteToBlock;
    // The same items, each table unless it is empty. The setup isn't written.
    bool WriteToBlock(io::CBlock& block, bool withInterpolated) override;
    bool Accept(INetworkSolutionVisitor& visitor) override;
    // By VisitModal, at any frequency; `outsideRange` has no effect.
    CNetworkData* Interpolate(double freq, CInterpolateVisitor& visitor, bool outsideRange) override;
    // With a setup the points stay: the impedances, one for each row, become the setup's overrides, and the result is
    // true. The setup merges overrides with defaults once, so that a second call changes nothing in what GetData gives.
    bool RenormalizePorts(const ComplexVector& impedances, bool withInterpolated) override;
    std::unique_ptr<CNetworkData> CopyData(const CNetworkData* data) override;
    std::unique_ptr<CNetworkData> CreateData(double freq) override;
    std::unique_ptr<CNetworkData> CreateData() override;
    // Makes the port table from the entries, if there are any.
    void OnMatrixEntriesChanged() override;
    // For each port as many entries as it has modes, with the port's name, modes from 1 up and the port's number as
    // matrix index. None at all beyond the rows that a matrix can have. Names and counts of different number are an
    // assertion.
    void BuildMatrixEntries() override;

    // Some port has more than one entry.
    bool HasMultipleModes() const override { return m_HasMultipleModes; }
    // Destroys the post-processed points.
    virtual void ClearPostprocessedData();

    // A copy of the setup, or with null none, comes into force.
    void SetPostprocSetup(const CNetworkPostprocSetup* setup);
    const CNetworkPostprocSetup* GetPostprocSetup() const { return m_PostprocSetup.get(); }
    // Gives both lists to the setup as overrides; there is one afterwards.
    void SetPostprocLists(const ImpedanceOverrides& impedances, const DistanceOverrides& distances);

    bool IsHigherOrderMode() const { return m_HigherOrderMode; }
    void SetHigherOrderMode(bool isHigher) { m_HigherOrderMode = isHigher; }
    const std::vector<AString>& GetPortNames() const { return m_PortTable.names; }
    const std::vector<std::int32_t>& GetPortModes() const { return m_PortTable.modes; }
    const std::vector<AString>& GetPortTerminals() const { return m_PortTable.terminals; }

protected:
    explicit CNetworkModalSolution(ObjectType type) : CNetworkDataSolution(type) {}

    bool m_HigherOrderMode = false;
    bool m_HasMultipleModes = false;
    std::unique_ptr<CNetworkPostprocSetup> m_PostprocSetup;
    PortTable m_PortTable;

private:
    // The post-processed form of a point, or null.
    std::unique_ptr<CNetworkData> Postprocess(CNetworkModalData& point);
};
