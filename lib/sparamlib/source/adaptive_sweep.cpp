#include <sparamlib/adaptive_sweep.h>

#include "point_items.h"

#include <sparamlib/network_terminal_data.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

using Points = std::vector<CNetworkData*>; // ascending

// The port impedances of a terminal point, if they are those of its rows alone.
std::unique_ptr<ComplexVector> DiagonalOf(const ComplexMatrix& reference) {
    auto diagonal = std::make_unique<ComplexVector>(reference.Rows());
    for (int i = 0; i < reference.Rows(); ++i) {
        for (int j = 0; j < reference.Columns(); ++j) {
            if (i == j)
                (*diagonal)[i] = reference[i][j];
            else if (reference[i][j] != Complex())
                return nullptr;
        }
    }
    return diagonal;
}

std::string FaultOf(const Points& points) {
    if (points.size() < 2)
        return "a sweep needs at least two frequencies";
    for (CNetworkData* point : points) {
        const std::string at = " at " + std::to_string(point->GetFrequency()) + " Hz";
        if (!std::isfinite(point->GetFrequency()) || point->GetFrequency() < 0.0)
            return "a frequency is negative or no number";
        const bool hasData = point->GetSMatrix(false) || point->GetYMatrix(false) || point->GetZMatrix(false);
        const ComplexMatrix* s = hasData ? point->GetSMatrix(true) : nullptr;
        if (!s || s->IsEmpty() || !HasSize(*s, point->GetMatrixSize()))
            return "there is no S matrix" + at;
        const auto* terminal = dynamic_cast<const CNetworkTerminalData*>(point);
        const ComplexMatrix* reference = terminal ? terminal->GetPortImpedance() : nullptr;
        if (reference && (!HasSize(*reference, s->Rows()) || !DiagonalOf(*reference)))
            return "the reference impedances aren't those of single ports" + at;
    }
    return {};
}

std::unique_ptr<ComplexVector> ImpedancesOf(CNetworkData& point) {
    std::unique_ptr<ComplexVector> impedances;
    if (auto* modal = dynamic_cast<CNetworkModalData*>(&point)) {
        CopyItem(impedances, modal->GetPortImpedance());
    } else if (const auto* terminal = dynamic_cast<const CNetworkTerminalData*>(&point)) {
        if (terminal->GetPortImpedance())
            impedances = DiagonalOf(*terminal->GetPortImpedance());
    }
    return impedances && HasSize(*impedances, point.GetMatrixSize()) ? std::move(impedances) : nullptr;
}

const ComplexVector* GammaOf(CNetworkData& point) {
    const auto* modal = dynamic_cast<const CNetworkModalData*>(&point);
    const ComplexVector* gamma = modal ? modal->GetGamma() : nullptr;
    return gamma && HasSize(*gamma, point.GetMatrixSize()) ? gamma : nullptr;
}

// Gives the points out, each once.
class Solver {
public:
    explicit Solver(const Points& points) : m_Left(points) {
        m_HasImpedances = std::all_of(points.begin(), points.end(),
                                      [](CNetworkData* point) { return ImpedancesOf(*point) != nullptr; });
        m_HasGamma = std::all_of(points.begin(), points.end(),
                                 [](CNetworkData* point) { return GammaOf(*point) != nullptr; });
    }
    bool IsExhausted() const { return m_Left.empty(); }

    // A point near the frequency, in the form of the solution.
    CNetworkData* Solve(double frequency, CZephModalSolution& solution) {
        const auto nearest = std::min_element(m_Left.begin(), m_Left.end(), [&](auto* a, auto* b) {
            return std::fabs(a->GetFrequency() - frequency) < std::fabs(b->GetFrequency() - frequency);
        });
        CNetworkData& data = **nearest;
        m_Left.erase(nearest);
        auto* point = static_cast<CZephModalData*>(solution.AddData(data.GetFrequency()));
        point->SetSMatrix(data.GetSMatrix(true), true);
        if (m_HasImpedances)
            point->SetZpi(ImpedancesOf(data).release(), false);
        if (m_HasGamma) {
            ComplexVector gamma(*GammaOf(data));
            point->SetGamma(&gamma, true);
        }
        return point;
    }

private:
    Points m_Left;
    bool m_HasImpedances;
    bool m_HasGamma;
};

AdaptiveSweepEnd Run(Solver& solver, CZephInterpolator& basis, const AdaptiveSweepOptions& options,
                     AdaptiveSweep& sweep) {
    double frequency = basis.m_HighSampleFreq;
    int passed = 0;
    for (;;) {
        if (solver.IsExhausted())
            return AdaptiveSweepEnd::NoMoreData;
        if (basis.m_BasisSize >= options.maxBasis)
            return AdaptiveSweepEnd::BasisFull;
        CNetworkData* point = solver.Solve(frequency, *sweep.solution);
        basis.AddSample(point, CZephInterpolator::kAllQuantities, true);
        sweep.samples.push_back({point->GetFrequency(), std::nullopt});
        AdaptiveInterp& interp = *basis.GetSweep();
        interp.SetLastFreq(point->GetFrequency());
        const int code = interp.NextFrequency(frequency);
        if (code != kSweepWantsSample && code != kSweepConverged)
            return AdaptiveSweepEnd::Failed;
        if (sweep.samples.size() < 3)
            continue;
        sweep.samples.back().error = interp.GetLastError();
        passed = code == kSweepConverged ? passed + 1 : 0;
        if (passed >= options.passes)
            return AdaptiveSweepEnd::Converged;
        if (passed > 0) {
            frequency = interp.GetLastFreq();
            interp.Reopen();
        }
    }
}

void Compare(const Points& points, AdaptiveSweep& sweep) {
    for (CNetworkData* data : points) {
        CZephModalData point(sweep.solution.get(), data->GetFrequency());
        sweep.solution->GetInterpolator()->FillPoint(&point);
        const ComplexMatrix& s = *data->GetSMatrix(true);
        const ComplexMatrix* fitted = point.GetSMatrix(false);
        for (int e = 0; fitted && e < s.Size(); ++e) {
            const double error = abs(fitted->Data()[e] - s.Data()[e]);
            if (!(error <= sweep.largestError)) {
                sweep.largestError = error;
                sweep.largestErrorFrequency = data->GetFrequency();
            }
        }
    }
}

} // namespace

AdaptiveSweep RunAdaptiveSweep(CNetworkDataSolution& dense, const AdaptiveSweepOptions& options) {
    AdaptiveSweep sweep;
    Points points;
    for (const auto [frequency, point] : dense.GetSolvedPoints())
        points.push_back(point);
    sweep.fault = FaultOf(points);
    if (!sweep.fault.empty())
        return sweep;

    sweep.solution = std::make_unique<CZephModalSolution>();
    std::vector<CMatrixEntry*> entries;
    for (int row = 0; row < dense.GetMatrixSize(); ++row)
        entries.push_back(dense.GetMatrixEntry(static_cast<unsigned>(row)));
    sweep.solution->SetMatrixEntries(entries, true);
    sweep.solution->SetName(dense.GetName());
    sweep.solution->SetSolutionType(SolutionType::ZephInterpolatingSweep);

    auto basis = std::make_unique<CZephInterpolator>(dense.GetMatrixSize());
    basis->m_ErrorTolerance = options.tolerance;
    basis->m_MaxBasisSize = options.maxBasis;
    basis->m_LowSampleFreq = points.front()->GetFrequency();
    basis->m_HighSampleFreq = points.back()->GetFrequency();
    basis->m_NumSamples = static_cast<std::int32_t>(points.size());
    Solver solver(points);
    sweep.end = Run(solver, *basis, options, sweep);
    sweep.solution->SetLastSolvedFreq(basis->m_LastBasisFreq);

    auto replayed = std::make_unique<CZephInterpolator>(*basis);
    replayed->Replay(sweep.solution->GetSolvedPoints(), CZephInterpolator::kAllQuantities);
    sweep.solution->SetInterpolator(std::move(replayed));
    Compare(points, sweep);
    return sweep;
}
