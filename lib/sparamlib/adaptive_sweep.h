// Which frequencies an adaptive sweep takes, and how well its fit holds, where dense data stand in for the solver.
//
//   AdaptiveSweep sweep = RunAdaptiveSweep(dense, {.tolerance = 1e-3});
//   for (const AdaptiveSweepSample& sample : sweep.samples)
//       ...
//   sweep.solution->WriteToBlock(block, false); // with its "InterpolationBasis"
//
// Each proposal is answered by the nearest point of the dense data that wasn't taken yet. The points of the result are a
// field solver's modal points: S, and, where all dense points have them, the port impedances (as Zpi) and, of modal data,
// Gamma. Their fits count as that of S does.
//
// The difference of two fits isn't the true error: on data with noise it may stop too early or never. A test that is passed
// by chance is the less likely the more must be passed in a row, at the cost of as many samples. The largest true error is
// that of the sweep as whoever reads the solution gets it, fitted in ascending order.
#pragma once

#include <sparamlib/zeph_modal_solution.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct AdaptiveSweepOptions {
    double tolerance = 1e-3;
    int maxBasis = 50; // samples
    int passes = 1;    // tests in a row that must be passed
};

struct AdaptiveSweepSample {
    double frequency;            // hertz
    std::optional<double> error; // the estimate after this sample; of the first two none, and where it fails
};

enum class AdaptiveSweepEnd {
    Converged,
    BasisFull,
    NoMoreData, // all points are taken
    Failed,     // the explorer can't go on
};

struct AdaptiveSweep {
    std::unique_ptr<CZephModalSolution> solution; // null for data that can't be swept
    std::string fault;                            // in words, then
    std::vector<AdaptiveSweepSample> samples;     // in the order taken
    AdaptiveSweepEnd end = AdaptiveSweepEnd::Failed;
    double largestError = 0.0; // of an element of S over all dense points
    double largestErrorFrequency = 0.0;
};

// Uses the solved points of `dense`; S is computed where it is absent. Data that can't be swept: fewer than two
// frequencies, a frequency that is negative or no number, a point without S, a terminal reference that isn't diagonal.
AdaptiveSweep RunAdaptiveSweep(CNetworkDataSolution& dense, const AdaptiveSweepOptions& options);
