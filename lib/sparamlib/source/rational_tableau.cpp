#include "rational_tableau.h"

#include "lanes.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSampleTolerance = 1e-06; // hertz
constexpr double kShift = 1e-12;           // keeps equal neighbours from being a pole
constexpr double kFarthest = 1e+32;

// Elements go side by side: the frequencies, by which alone the tableau's steps differ, are the same for all of them.
struct Task {
    int samples;
    int nearest;           // the sample nearest to x
    const double* offsets; // each sample's frequency less x
    const ComplexMatrix* const* matrices;
    int elements;
    double* work; // samples * kWorkOfSample
    Complex* result;
    Complex* error;
};
constexpr int kWorkOfSample = 4 * V4::kLanes;

// (re, im) * right, as complex.h has it; `sum` is right's real part and imaginary part together. Real left factors have a
// formula of their own; without `kWithReal` the product of one is wrong, and is marked in `wrong`.
template <class V, bool kWithReal>
TARVOK_INLINE void Multiply(double* toRe, double* toIm, const typename V::Numbers& re,
                            const typename V::Numbers& im, const typename V::Numbers& rightRe,
                            const typename V::Numbers& rightIm, const typename V::Numbers& sum,
                            typename V::Mask& wrong) {
    const typename V::Numbers t = sum * re;
    const typename V::Numbers productRe = t - (re + im) * rightIm;
    const typename V::Numbers productIm = t + (im - re) * rightRe;
    const typename V::Mask isReal = im == 0.0;
    if constexpr (kWithReal) {
        Store<V>(toRe, isReal ? re * rightRe : productRe);
        Store<V>(toIm, isReal ? re * rightIm : productIm);
    } else {
        Store<V>(toRe, productRe);
        Store<V>(toIm, productIm);
        wrong |= isReal;
    }
}

enum class Outcome { Filled, Pole, Wrong };

// The elements from `first` on.
template <class V, bool kWithReal>
TARVOK_INLINE Outcome FillElements(const Task& task, int first) {
    using Numbers = typename V::Numbers;
    using Mask = typename V::Mask;
    constexpr int kLanes = V::kLanes;
    const int count = std::min(kLanes, task.elements - first);
    // A sample's row: c's real and imaginary parts, then those of d.
    const auto row = [work = task.work](int i) { return work + 4 * kLanes * i; };
    for (int i = 0; i < task.samples; ++i) {
        const Complex* elements = task.matrices[i]->Data() + first;
        double* numbers = row(i);
        for (int lane = 0; lane < kLanes; ++lane) {
            const Complex& y = elements[std::min(lane, count - 1)];
            numbers[lane] = y.re;
            numbers[kLanes + lane] = y.im;
            numbers[2 * kLanes + lane] = y.re + kShift;
            numbers[3 * kLanes + lane] = y.im;
        }
    }
    int ns = task.nearest;
    Numbers yRe, yIm;
    Load<V>(yRe, row(ns));
    Load<V>(yIm, row(ns) + kLanes);
    Numbers dyRe = {}, dyIm = {};
    for (int k = 1; k < task.samples; ++k) {
        Mask poles = {};
        Mask wrong = {};
        for (int i = 0; i < task.samples - k; ++i) {
            double* numbers = row(i);
            Numbers cRe, cIm, dRe, dIm;
            Load<V>(cRe, numbers + 4 * kLanes);
            Load<V>(cIm, numbers + 5 * kLanes);
            Load<V>(dRe, numbers + 2 * kLanes);
            Load<V>(dIm, numbers + 3 * kLanes);
            const double h = task.offsets[i + k];
            const Numbers wRe = cRe - dRe;
            const Numbers wIm = cIm - dIm;
            const Numbers tRe = task.offsets[i] * dRe / h;
            const Numbers tIm = task.offsets[i] * dIm / h;
            const Numbers ddRe = tRe - cRe;
            const Numbers ddIm = tIm - cIm;
            const Numbers q = ddRe * ddRe + ddIm * ddIm;
            poles |= q == 0.0;
            const Numbers quotientRe = (ddRe * wRe + ddIm * wIm) / q;
            const Numbers quotientIm = (ddRe * wIm - wRe * ddIm) / q;
            const Numbers sum = quotientRe + quotientIm;
            Multiply<V, kWithReal>(numbers + 2 * kLanes, numbers + 3 * kLanes, cRe, cIm, quotientRe,
                                   quotientIm, sum, wrong);
            Multiply<V, kWithReal>(numbers, numbers + kLanes, tRe, tIm, quotientRe, quotientIm, sum, wrong);
        }
        if (IsAny(poles))
            return Outcome::Pole;
        if (IsAny(wrong))
            return Outcome::Wrong;
        const bool isLower = 2 * ns < task.samples - k;
        ns -= isLower ? 0 : 1;
        const double* correction = row(ns) + (isLower ? 0 : 2 * kLanes);
        Load<V>(dyRe, correction);
        Load<V>(dyIm, correction + kLanes);
        yRe += dyRe;
        yIm += dyIm;
    }
    for (int lane = 0; lane < count; ++lane) {
        task.result[first + lane] = {yRe[lane], yIm[lane]};
        task.error[first + lane] = {dyRe[lane], dyIm[lane]};
    }
    return Outcome::Filled;
}

// The same, true if filled. Numbers that are real are rare, or there from the start.
template <class V>
TARVOK_INLINE bool Fill(const Task& task, int first) {
    Outcome outcome = FillElements<V, false>(task, first);
    if (outcome == Outcome::Wrong)
        outcome = FillElements<V, true>(task, first);
    return outcome == Outcome::Filled;
}

template <class V>
TARVOK_INLINE bool FillMatrix(const Task& task) {
    int first = 0;
    for (; task.elements - first > V2::kLanes; first += V::kLanes) {
        if (!Fill<V>(task, first))
            return false;
    }
    return first >= task.elements || Fill<V2>(task, first);
}

bool FillPlain(const Task& task) {
    return FillMatrix<V2>(task);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] bool FillAvx2(const Task& task) {
    return FillMatrix<V4>(task);
}

bool FillBest(const Task& task) {
    return HasAvx2() ? FillAvx2(task) : FillPlain(task);
}
#else
bool FillBest(const Task& task) {
    return FillPlain(task);
}
#endif

bool HasShape(const ComplexMatrix& a, const ComplexMatrix& b) {
    return a.Rows() == b.Rows() && a.Columns() == b.Columns();
}
bool HasShape(const ComplexVector& a, const ComplexVector& b) {
    return a.Size() == b.Size();
}

template <class T>
bool AreAll(const std::vector<const T*>& samples, const T& result) {
    return std::all_of(samples.begin(), samples.end(),
                       [&](const T* sample) { return sample && HasShape(*sample, result); });
}

template <class T>
bool Parabola(double x, T& result, const std::vector<const T*>& samples, const RealVector& frequencies) {
    const int m = frequencies.Size();
    if (static_cast<int>(samples.size()) != m || m < 3 || !AreAll(samples, result))
        return false;
    int nearest = 0;
    double least = kFarthest;
    for (int i = 0; i < m; ++i) {
        const double distance = std::fabs(x - frequencies[i]);
        if (distance < least) {
            least = distance;
            nearest = i;
        }
    }
    const int k = std::clamp(nearest, 1, m - 2);
    const double a = frequencies[k - 1];
    const double b = frequencies[k];
    const double c = frequencies[k + 1];
    const double weightA = (x - b) * (x - c) / ((a - b) * (a - c));
    const double weightB = (x - a) * (x - c) / ((b - a) * (b - c));
    const double weightC = (x - a) * (x - b) / ((c - a) * (c - b));
    const auto at = [&](int i) { return samples[static_cast<std::size_t>(i)]->Data(); };
    for (int e = 0; e < result.Size(); ++e)
        result.Data()[e] = weightA * at(k - 1)[e] + weightB * at(k)[e] + weightC * at(k + 1)[e];
    return true;
}

} // namespace

bool RationalInterpolate(double x, ComplexMatrix& result, const std::vector<const ComplexMatrix*>& samples,
                         const RealVector& frequencies, ComplexMatrix& error) {
    const int m = frequencies.Size();
    if (m < 1 || static_cast<int>(samples.size()) != m || !HasShape(error, result) ||
        !AreAll(samples, result))
        return false;
    int nearest = 0;
    double least = std::fabs(x - frequencies[0]);
    std::vector<double> offsets(samples.size());
    for (int i = 0; i < m; ++i) {
        const double distance = std::fabs(x - frequencies[i]);
        if (distance <= kSampleTolerance) {
            result = *samples[static_cast<std::size_t>(i)];
            error.fill(Complex());
            return true;
        }
        if (distance < least) {
            least = distance;
            nearest = i;
        }
        offsets[static_cast<std::size_t>(i)] = frequencies[i] - x;
    }
    std::vector<double> work(samples.size() * kWorkOfSample);
    return FillBest({m, nearest, offsets.data(), samples.data(), result.Size(), work.data(), result.Data(),
                     error.Data()});
}

bool QuadraticInterpolate(double x, ComplexVector& result, const std::vector<const ComplexVector*>& samples,
                          const RealVector& frequencies) {
    return Parabola(x, result, samples, frequencies);
}
bool QuadraticInterpolate(double x, ComplexMatrix& result, const std::vector<const ComplexMatrix*>& samples,
                          const RealVector& frequencies) {
    return Parabola(x, result, samples, frequencies);
}
