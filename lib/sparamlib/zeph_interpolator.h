// A fast sweep of the field solver: its settings as they are stored, and the sweep that is fitted anew from the solved
// points. The link between the points and AdaptiveInterp (see adaptive_interp.h), which works on numbers.
//
//   CZephInterpolator sweep(solution.GetMatrixSize());
//   sweep.ReadFromBlock(*basis);
//   sweep.Replay(solution.GetSolvedPoints(), CZephInterpolator::kAllQuantities);
//   sweep.FillPoint(&point); // at the point's frequency
//
// The settings of a stored sweep aren't tested when they are read: a band that isn't one, a basis without room and a matrix
// without rows are assertions where the sweep is fitted, and beyond them a sweep that takes no sample. What is declared is
// no reason to set memory aside. Frequencies are in hertz. One thread at a time.
#pragma once

#include <sparamlib/adaptive_interp.h>
#include <sparamlib/frequency_map.h>

#include <cstdint>
#include <memory>

namespace io {
class CBlock;
}

class CZephInterpolator {
public:
    static constexpr unsigned kAllQuantities = 65535;

    explicit CZephInterpolator(int matSize);
    // The settings; what is fitted stays behind.
    CZephInterpolator(const CZephInterpolator& other);
    CZephInterpolator& operator=(const CZephInterpolator& other);
    virtual ~CZephInterpolator() = default;

    // The keys of the fields below from m_ErrorTolerance on; a missing one leaves its field. 0.
    virtual std::int32_t ReadFromBlock(io::CBlock& block);
    virtual bool WriteToBlock(io::CBlock& block) const;

    // Hands the quantities of a solved point to the sweep that `mask` selects: S 1, Zpi 2, Zpv 4, Zvi 8, Gamma 16, T 32,
    // P 64. A modal point may lack any of them, a terminal point S. False for what a terminal point lacks, for a
    // quantity that isn't taken (the others are), and for a point that is neither a CZephModalData nor a
    // CZephTerminalData. `countIt` counts the point among those of the basis.
    bool AddSample(CNetworkData* data, unsigned mask, bool countIt);
    // Fills a point of one of the two classes with all quantities of which there are samples. False for a quantity that
    // can't be evaluated (S is left out then), for a terminal point of a sweep without T or P, and without a sweep,
    // which is an assertion; the quantities in front of it are set. Below the band P is that of its low end.
    bool FillPoint(CNetworkData* data);
    // What AdaptiveInterp::NextFrequency gives: the frequency, 0.0 with a code of failure or of convergence.
    double NextSampleFrequency(int& code);
    // Brings the sweep to the state in which it ended, at m_LastBasisFreq; nothing where that isn't above 0.0. With
    // `wantNext` the frequency and code of the proposal that follows, else 0.0 and 0. That proposal fails if the
    // last frequency is that of the sample added first.
    double RestoreState(int& code, bool wantNext);
    // Fits the sweep from solved points, in ascending order, and restores its state. Without points there is no sweep.
    void Replay(const CFrequencyMap& points, unsigned mask);

    // Null before the first sample.
    AdaptiveInterp* GetSweep() const { return m_Interpolator.get(); }

    double m_ErrorTolerance = 0.0;
    std::int32_t m_MaxBasisSize = 50; // frequencies that the sweep may solve
    std::int32_t m_BasisSize = 0;     // frequencies held
    double m_LowSampleFreq = 0.0;
    double m_HighSampleFreq = 0.0;
    std::int32_t m_NumSamples = 0; // points of the output grid
    double m_LastBasisFreq = 0.0;  // the frequency added last

private:
    AdaptiveInterp& MakeSweep();

    int m_MatSize;
    std::unique_ptr<AdaptiveInterp> m_Interpolator; // made by the first sample
};
