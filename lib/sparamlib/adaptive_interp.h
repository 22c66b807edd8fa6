// The samples of a fast sweep, the rational fits through them, and which frequency to solve next.
//
//   AdaptiveInterp sweep(low, high, n, 1e-3, 50);
//   double frequency = 0.0;
//   while (sweep.NextFrequency(frequency) == kSweepWantsSample)
//       sweep.AddSample(0, frequency, Solve(frequency));
//   const Complex* s = sweep.Evaluate(0, 1.5e9); // n * n elements
//
// There are seven kinds of quantity, each a matrix n by n or a vector of n elements; elements go rows first. What is fitted
// of kinds 1 to 4 is the square of the quantity over K, and a value is K times a root:
//
//   kind  quantity   form     fitted as    K                    branch by the sample at
//   0     S          matrix   itself
//   1     Zpi        vector   (z / K)^2    50                   the low end
//   2     Zpv        vector   (z / K)^2    50                   the low end
//   3     Zvi        vector   (z / K)^2    50                   the low end
//   4     Gamma      vector   (z / K)^2    2 pi high / c        the high end
//   5     T          matrix   itself
//   6     P          matrix   itself
//
// The branch is the sign of the imaginary part of a value whose real part is below 1e-06: not negative, unless the sample
// at that very frequency was there and had a real part below 1e-06 and a negative imaginary part.
//
// The first three frequencies are the high end, the low end and the middle. From there on the newest sample is left out of a
// second fit, and the difference of the two says how far the first still is from convergence (see rat_poly_method.h). The
// kinds are tested in the order 0, 4, 1, 2, 3, 5, 6. One whose error is below the tolerance is finished for good; the first
// that isn't picks the frequency. The newest sample is taken to be the one nearest to the frequency proposed last.
//
// Stated, however surprising:
// - The sample at index 0, the first that was added, can't be the newest one, nor the one nearest to an end of the band:
//   where it should be, kSweepBadCall. So a sweep whose samples are added again in ascending order often can't propose
//   its next frequency.
// - A frequency beyond the basis isn't stored but counted: from then on NextFrequency gives kSweepIsFull.
// - A kind that lacks a sample at some frequency can be evaluated, over the frequencies at which it has one, but not
//   tested: kSweepBadCall.
// - Fits are made at the first evaluation of a kind; samples that come later don't change them.
//
// Frequencies go in and out in hertz and are kept divided by the middle of the band. A sample that is added again at a
// frequency takes the earlier one's place. Memory grows with the samples, not with the declared size of the basis. One
// thread at a time; two sweeps may be at work on two threads.
#pragma once

#include <matrix/cmat.h>
#include <sparamlib/rat_poly_method.h>

#include <cstddef>
#include <memory>
#include <vector>

class RatPolyTable;

constexpr int kSweepKinds = 7;

// The samples.
class InterpInterface {
public:
    virtual ~InterpInterface() = default;

    // kSweepDone; kSweepIsFull for a frequency beyond the basis; kSweepBadCall for a kind that there isn't and for a
    // number of elements other than that of the kind's first sample.
    int AddSample(int kind, double freq, const ComplexVector& values);
    int AddSample(int kind, double freq, const ComplexMatrix& values);

    int GetNumFreqs() const { return m_NumFreqs; }
    int GetNumSamples(int kind) const { return IsKind(kind) ? m_NumSamples[kind] : 0; }
    double GetFreqScale() const { return m_FreqScale; }
    // The interpolant's class. 0 is the only one; with another the kind is neither tested nor evaluated.
    void SetMethod(int kind, int method);

protected:
    InterpInterface(int matSize, double tolerance, int maxBasis);

    static bool IsKind(int kind) { return kind >= 0 && kind < kSweepKinds; }
    static bool IsSquared(int kind) { return kind >= 1 && kind <= 4; }
    std::size_t ElementsOf(int kind) const;

    int m_NumFreqs = 0;
    int m_NumSamples[kSweepKinds] = {};
    double m_Tolerance[kSweepKinds];
    bool m_Converged[kSweepKinds] = {};
    double m_FreqScale = 1.0;
    Complex m_ValueScale[kSweepKinds] = {1.0, 50.0, 50.0, 50.0, 1.0, 1.0, 1.0};
    int m_Method[kSweepKinds] = {};
    double m_RefFreq[kSweepKinds] = {}; // in the units of m_Freqs
    std::vector<bool> m_Branch[kSweepKinds];
    int m_MaxBasis;
    RealVector m_Freqs;                            // in the order in which they came, then zeros
    reflectExplor::Samples m_Samples[kSweepKinds]; // by the index of the frequency, zero where there is none
    std::vector<bool> m_HasSample[kSweepKinds];    // likewise
    int m_MatSize;

private:
    int AddSample(int kind, double freq, const Complex* values, int count);
    // The index of the frequency, a new one if it isn't stored.
    int SlotOf(double frequency);
};

// The fits.
class InterpManager : public InterpInterface {
public:
    ~InterpManager() override;

    // The elements at a frequency, which stay the manager's and are overwritten by the next evaluation of the kind. Null
    // without samples of the kind, and if they haven't the number of elements that the kind has.
    const Complex* Evaluate(int kind, double freq);

protected:
    InterpManager(int matSize, double tolerance, int maxBasis);

private:
    bool MakeFits(int kind);

    std::unique_ptr<RatPolyTable> m_Fits[kSweepKinds];
    ComplexVector m_Result[kSweepKinds];
};

// The choice of frequencies.
class AdaptiveInterp : public InterpManager {
public:
    // The ends of the band may be in either order.
    AdaptiveInterp(double low, double high, int matSize, double tolerance, int maxBasis);

    // kSweepWantsSample, kSweepConverged, or a failure. Of these two the frequency is the explorer's proposal.
    int NextFrequency(double& freq);
    // Brings the errors up to date after the samples of a sweep were added again. Kind 0 isn't looked at. The last
    // proposal stays; the first code that isn't kSweepDone.
    int Rebuild();

    // The frequency proposed last, and the error that came with it.
    double GetLastFreq() const { return m_LastFreq * m_FreqScale; }
    void SetLastFreq(double freq) { m_LastFreq = freq / m_FreqScale; }
    double GetLastError() const { return m_LastError; }
    // Takes back that kinds are finished.
    void Reopen();

private:
    // The next frequency in stored units, for all samples or for the first `n` of m_Order.
    int Choose(double& f, int n, bool refresh);
    int UpdateOrder(int n);
    // m_Order as the sweep ran that added these samples.
    int ReplayOrder(int n);
    // The index nearest to f of the first `n` that isn't among m_Order's first `used`; 0 if there is none.
    int Nearest(double f, int n, int used) const;
    int Explore(int kind, int n, const IndexVector* subset);

    IndexVector m_Order; // in which samples are fed to the second fit
    int m_OrderCount = 0;
    double m_LastFreq = 0.0;
    double m_LastError = 0.0;
    double m_Low;
    double m_High;
};
