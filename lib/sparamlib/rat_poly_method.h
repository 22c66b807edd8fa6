// Where a sweep's next sample should go, and how far its fit still is from convergence: by the difference of two fits,
// one with all samples (A) and one that lacks some of them (B).
//
//   ratPoly_method explorer;
//   int code = explorer.Explore(&frequencies, samples, nB, &order);
//   double next = explorer.m_NextFreq, error = explorer.m_Error;
//
// The difference is integrated over each interval between neighbouring frequencies. The next frequency is the middle of
// the interval with the greatest integral; the error is the greatest integral over the interval's width, a mean
// difference. With more than 9 entries only those are integrated that have at least a tenth of the greatest difference by
// a cheap estimate.
//
// The estimate of an interval is half that of the interval before plus its own: the running value lives with the
// explorer and starts at 0. Two explorers may be at work on two threads; one belongs to one thread.
//
// An integral is extrapolated from 5 levels of the midpoint rule or more, up to 14, to within 1e-3 of itself or 1e-6,
// whichever is larger. A pole on the way that takes all of them is a matter of seconds.
#pragma once

#include <sparamlib/rat_poly_interpolator.h>

#include <vector>

// Done without remark; converged; a new sample is wanted; the basis is full; bad call or inconsistent state; numeric
// failure of the explorer.
enum SweepCode : int {
    kSweepDone = 0,
    kSweepConverged = 1,
    kSweepWantsSample = 2,
    kSweepIsFull = 3,
    kSweepBadCall = 4,
    kSweepNumericFailure = 5
};

class reflectExplor {
public:
    // For each entry its samples, by the index of the frequency.
    using Samples = std::vector<ComplexVector>;

    virtual ~reflectExplor() = default;
    virtual double Difference(double x, int entry) const = 0;
    virtual double Magnitude(double x, int entry) const = 0;
    // A is the fit of the `n` samples with these indices, or the first `n`, B that of `nB` samples. kSweepDone;
    // kSweepBadCall for counts that don't fit, fewer than two samples and no entry; kSweepNumericFailure for an integral that
    // doesn't converge. What isn't done leaves m_NextFreq and m_Error undefined.
    virtual int Explore(int n, const IndexVector* subset, const RealVector* xa, const Samples& samples,
                        int nB, const IndexVector* subsetB) = 0;
    virtual int Explore(int n, const RealVector* xa, const Samples& samples, int nB,
                        const IndexVector* subsetB) = 0;
    virtual int Explore(const RealVector* xa, const Samples& samples, int nB, const IndexVector* subsetB) = 0;

    int m_NumFreqs = 0;          // in m_Freqs
    RealVector m_Freqs;          // of A, ascending
    double m_Error = 0.0;        // result
    double m_NextFreq = 0.0;     // result
    Complex m_Scale{1.0};        // samples are divided by it
    std::vector<int> m_Selected; // the entries that count; empty means all
};

class ratPoly_method : public reflectExplor {
public:
    // |A - B| and |A| at s = j x; 0 for an entry beyond the last.
    double Difference(double x, int entry) const override;
    double Magnitude(double x, int entry) const override;
    int Explore(int n, const IndexVector* subset, const RealVector* xa, const Samples& samples, int nB,
                const IndexVector* subsetB) override;
    int Explore(int n, const RealVector* xa, const Samples& samples, int nB,
                const IndexVector* subsetB) override;
    int Explore(const RealVector* xa, const Samples& samples, int nB, const IndexVector* subsetB) override;

    int m_NumEntries = 0;

private:
    bool IsEntry(int entry) const { return entry >= 0 && entry < m_NumEntries; }
    // |A - B| at each frequency.
    void Differences(int entry, const std::vector<double>& x, std::vector<double>& out) const;
    void SelectEntries();
    // Raises `greatest` of each interval to the entry's integral, whose first levels have their places in `firstLevels`.
    // False if an integral fails.
    bool Integrate(int entry, const std::vector<double>& firstLevels, std::vector<double>& greatest) const;

    std::vector<CRatPolyFit> m_FitA;
    std::vector<CRatPolyFit> m_FitB;
    double m_Estimate = 0.0;
};
