// The solution that a field solver delivers in terminals: its points are CZephTerminalData, and it may hold a fast sweep
// that answers any frequency.
//
//   CZephTerminalSolution solution;
//   solution.ReadFromBlock(block);
//   solution.RenormalizePorts(fifties, true); // the sweep is fitted anew from the renormalised points
//   CNetworkData* point = solution.GetData(1.234e9, 0.0, true, false);
//
// S of every point refers to the reference impedances, one for each row. They stay as they were read: a second
// renormalisation starts from them, not from the first one's target, and Y and Z of a point that is interpolated after a
// renormalisation come from its S at these impedances, too. Interpolation is by the sweep only, never by Neville; a point
// at 0 Hz is like any other.
//
// The entries are made from the port tables after reading: port p is terminal p, and its entries are named by the
// differential pair that has p as a terminal, else "port:terminal". Otherwise as CNetworkTerminalSolution.
#pragma once

#include <sparamlib/network_terminal_solution.h>
#include <sparamlib/zeph_interpolator.h>
#include <sparamlib/zeph_terminal_data.h>

class CZephTerminalSolution : public CNetworkTerminalSolution {
public:
    CZephTerminalSolution() : CNetworkTerminalSolution(ObjectType::ZephTerminal) {}
    CZephTerminalSolution(const CZephTerminalSolution& other) : CZephTerminalSolution() { *this = other; }
    // The copy's sweep is fitted from the copy's points.
    CZephTerminalSolution& operator=(const CZephTerminalSolution& other);
    ~CZephTerminalSolution() override;

    std::unique_ptr<CNetworkDataSolution> Clone() const override;
    // GetData.
    CNetworkData* GetDominantData(double freq, double tol, bool interpolate) override;
    // Behind the base's items the block "DifferentialPairs", whose pairs are appended to those held, the function item
    // "ReferenceImpedance" (zeros without it; more elements than there are rows are an assertion, and left out) and
    // the block "InterpolationBasis", which makes the type ZephInterpolatingSweep. The base's code, or that of a pair
    // that fails, which ends the reading.
    std::int32_t ReadFromBlock(io::CBlock& block) override;
    using CNetworkTerminalSolution::WriteToBlock;
    // The same items; the first two always. False if a pair fails.
    bool WriteToBlock(io::CBlock& block, bool withInterpolated) override;
    bool Accept(INetworkSolutionVisitor& visitor) override;
    // By VisitZephTerminal of a CZephInterpolateVisitor, with a sweep only, at any frequency.
    CNetworkData* Interpolate(double freq, CInterpolateVisitor& visitor, bool outsideRange) override;
    // RenormalizeVectors from the reference impedances on each solved point and, with a sweep, on each interpolated one,
    // after the sweep was fitted anew. `withInterpolated` has no effect. True.
    bool RenormalizePorts(const ComplexVector& impedances, bool withInterpolated) override;
    // A field solver's points only: of a modal one its terminal form, bound to it.
    std::unique_ptr<CNetworkData> CopyData(const CNetworkData* data) override;
    // With a sweep filled from it; null if that fails.
    std::unique_ptr<CNetworkData> CreateData(double freq) override;
    std::unique_ptr<CNetworkData> CreateData() override;

    CZephInterpolator* GetInterpolator() const { return m_Interpolator.get(); }
    void SetInterpolator(std::unique_ptr<CZephInterpolator> sweep) { m_Interpolator = std::move(sweep); }
    const ComplexVector& GetReferenceImpedance() const { return m_ReferenceImpedance; }
    void SetReferenceImpedance(const ComplexVector& impedances) { m_ReferenceImpedance = impedances; }

    std::vector<CZephDifferentialPair> m_DiffPairs;

private:
    void ReplaySweep();
    void RebuildEntries();
    AString EntryName(std::size_t port) const;

    ComplexVector m_ReferenceImpedance;
    std::unique_ptr<CZephInterpolator> m_Interpolator;
};
