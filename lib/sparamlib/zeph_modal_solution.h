// The solution that a field solver delivers in modes: its points are CZephModalData, it may hold a fast sweep that answers
// any frequency, and it can serve its points as terminal points.
//
//   CZephModalSolution solution;
//   solution.ReadFromBlock(block);                                     // fits the sweep of "InterpolationBasis"
//   CNetworkData* point = solution.GetData(1.234e9, 0.0, true, false); // from the sweep, post-processed, at 0 Hz real
//
// The sweep is made of the solved points and its settings; it is never stored, but fitted anew by reading and copying. What
// answers a frequency that isn't held:
//
//   type                       with a sweep   without
//   DiscreteSweep              -              -
//   InterpolateNeville         -              all solved points (see neville_interpolate_visitor.h)
//   Zeph...Sweep               the sweep      -
//
// At exactly 0 Hz, below the first solved point, a point of a Zeph...Sweep that has a post-processing setup is given a real
// S, and with the setup's DC snapping elements near 1, -1 and 0 are set to that. It is done to the S that GetData gives,
// in place: Y, Z and the point from which it was post-processed stay as they are.
//
// Points without post-processing are served as terminal points if the solution isn't one of modal data: a new one at each
// request, with S, Y, Z and P of the solved point. All of them stay good until the solution is destroyed, and so
// grow with the requests.
//
// De-embedding a sweep makes it discrete: its whole output grid is computed, de-embedded and kept as solved points.
// Renormalising goes by the setup and touches no point. A solution with neither a sweep nor a stated type is read as a
// discrete sweep. Otherwise as CNetworkModalSolution.
#pragma once

#include <sparamlib/network_modal_solution.h>
#include <sparamlib/zeph_interpolator.h>
#include <sparamlib/zeph_modal_data.h>

class CZephModalSolution : public CNetworkModalSolution {
public:
    // Points of a sweep's output grid that are computed; a larger one is refused.
    static constexpr std::int32_t kMaxGridSize = 262144;

    CZephModalSolution() : CNetworkModalSolution(ObjectType::ZephModal) {}
    CZephModalSolution(const CZephModalSolution& other) : CZephModalSolution() { *this = other; }
    // The copy's sweep is fitted from the copy's points.
    CZephModalSolution& operator=(const CZephModalSolution& other);
    ~CZephModalSolution() override;

    std::unique_ptr<CNetworkDataSolution> Clone() const override;
    bool SupportsDiscreteInterpolation() const override { return true; }
    // `raw` has no effect.
    CNetworkData* GetData(double freq, double tol, bool interpolate, bool raw) override;
    // GetData; a modal point's terminal form, if there are terminals and the solution is one of modal data: null then
    // without T. Null for ports with several modes without terminals.
    CNetworkData* GetDominantData(double freq, double tol, bool interpolate) override;
    // Of a sweep its grid; interpolated points don't count.
    int GetNumFrequencies() const override;
    // Of a sweep, with interpolated ones, its grid, whose last point is exactly the high end, and which begins at 0 Hz if
    // the setup extrapolates to DC; nothing for a grid beyond kMaxGridSize. Else the solved frequencies.
    int GetFrequencies(std::vector<double>& out, bool withInterpolated) const override;
    int GetInterpolatedFrequencies(std::vector<double>& out) const override;
    // Up to the last solved frequency.
    bool GetInterpolationRange(double& low, double& high) const override;
    // ReadZephBlock with all quantities.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    using CNetworkModalSolution::WriteToBlock;
    bool WriteToBlock(io::CBlock& block, bool withInterpolated) override;
    bool Accept(INetworkSolutionVisitor& visitor) override;
    // By VisitZephModal, at any frequency; with a sweep by a CZephInterpolateVisitor only, without for the types
    // InterpolateNeville and, by a CNevilleInterpolateVisitor, DiscreteSweep.
    CNetworkData* Interpolate(double freq, CInterpolateVisitor& visitor, bool outsideRange) override;
    // `withInterpolated` has no effect. True; false, and nothing changes, for a sweep whose grid is beyond kMaxGridSize
    // or has more than 2^27 elements of S.
    bool DeembedPorts(const RealVector& distances, bool lossless, bool withInterpolated) override;
    // One for each row. True.
    bool RenormalizePorts(const ComplexVector& impedances, bool withInterpolated) override;
    std::unique_ptr<CNetworkData> CopyData(const CNetworkData* data) override;
    std::unique_ptr<CNetworkData> CreateData(double freq) override;
    std::unique_ptr<CNetworkData> CreateData() override;
    NetworkDataKind GetPreferredImpedance() const override { return m_PreferredImpedance; }
    void ClearPostprocessedData() override;

    // Behind the base's items "ModalData", "LastSolvedFreq", "PreferredImpedance" and the blocks "InterpolationBasis"
    // and "LocalPostprocessing". A basis makes the type ZephInterpolatingSweep, whatever was stated. `mask` selects the
    // quantities that are fitted (see CZephInterpolator::AddSample). The base's code, or, if that is 0, that of the local
    // setup.
    virtual std::int32_t ReadZephBlock(io::CBlock& block, unsigned mask);

    CZephInterpolator* GetInterpolator() const { return m_Interpolator.get(); }
    void SetInterpolator(std::unique_ptr<CZephInterpolator> sweep) { m_Interpolator = std::move(sweep); }
    bool IsModalData() const { return m_ModalData; }
    void SetModalData(bool isModal) { m_ModalData = isModal; }
    // Zpi, Zvi or Zpv.
    void SetPreferredImpedance(NetworkDataKind kind) { m_PreferredImpedance = kind; }
    // The solver's own record.
    double GetLastSolvedFreq() const { return m_LastSolvedFreq; }
    void SetLastSolvedFreq(double freq) { m_LastSolvedFreq = freq; }
    // Stored and copied, not applied; or null.
    const CNetworkPostprocSetup* GetLocalPostprocSetup() const { return m_LocalPostprocSetup.get(); }

protected:
    bool HasDominantData() override;

private:
    double LowEnd() const;
    CNetworkData* ServeTerminal(CNetworkModalData& point);
    void TreatDC(CNetworkData& point) const;

    NetworkDataKind m_PreferredImpedance = NetworkDataKind::Zpi;
    double m_LastSolvedFreq = 0.0;
    std::unique_ptr<CZephInterpolator> m_Interpolator;
    bool m_ModalData = true;
    std::unique_ptr<CNetworkPostprocSetup> m_LocalPostprocSetup;
    std::vector<std::unique_ptr<CNetworkData>> m_ServedPoints; // that newer ones replaced
};
