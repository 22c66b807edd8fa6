#include <sparamlib/rat_poly_interpolator.h>

#include "rat_poly_stage.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace {

constexpr double kLeastScale = 1e-30;
constexpr double kNothing = 1e-14; // of the largest sample
constexpr double kPole = 1e30;

double Largest(const std::vector<Complex>& values, std::size_t first) {
    double largest = 0.0;
    for (std::size_t i = first; i < values.size(); ++i) {
        const double square = norm(values[i]);
        if (square > largest)
            largest = square;
    }
    return std::sqrt(largest);
}

Complex Divided(const Complex& value, double divisor) {
    if (divisor == 0.0)
        return {Complex::kDividedByZero, Complex::kDividedByZero};
    return {value.re / divisor, value.im / divisor};
}

} // namespace

void CRatPolyFit::Fit(int n, const RealVector& xa, const ComplexVector& samples, const IndexVector* subset) {
    m_A.resize(n);
    m_B.resize(n);
    m_C.resize(n);
    m_Order = 0;
    m_ZeroAtDC = false;
    m_IsFinite = true;
    std::vector<double> x;
    std::vector<Complex> y;
    for (int i = 0; i < n; ++i) {
        const int index = subset ? (*subset)[i] : i;
        x.push_back(xa[index]);
        y.push_back(samples[index]);
    }
    m_Scale = Largest(y, 0);
    if (m_Scale < kLeastScale) {
        m_Scale = 0.0;
        return;
    }
    for (Complex& value : y)
        value = Divided(value, m_Scale);
    for (std::size_t i = 0; i < x.size(); ++i) {
        if (x[i] != 0.0 || !(abs(y[i]) <= kNothing))
            continue;
        m_ZeroAtDC = true;
        x.erase(x.begin() + static_cast<std::ptrdiff_t>(i));
        y.erase(y.begin() + static_cast<std::ptrdiff_t>(i));
        for (std::size_t k = 0; k < x.size(); ++k)
            y[k] /= Complex(0.0, x[k]);
        break;
    }

    for (std::size_t k = 0; k < y.size(); ++k) {
        const double big = Largest(y, k);
        if (big <= kNothing)
            return;
        const double least = kNothing * big;
        if (abs(y[k]) <= least)
            continue;
        const Complex w = 1.0 / y[k];
        const double b = w.re;
        const double c = x[k];
        const double a = c != 0.0 ? w.im / c : 0.0;
        m_A[m_Order] = a;
        m_B[m_Order] = b;
        m_C[m_Order] = c;
        ++m_Order;
        m_IsFinite = m_IsFinite && std::isfinite(a) && std::isfinite(b) && std::isfinite(c);
        for (std::size_t i = k + 1; i < y.size(); ++i) {
            if (abs(y[i]) <= least) {
                y[i] = Complex();
                continue;
            }
            const Complex u = 1.0 / y[i];
            y[i] = c != 0.0 ? Divided({u.re - b, u.im - a * x[i]}, c * c - x[i] * x[i])
                            : Quotient(u - b, Complex(0.0, x[i]));
        }
    }
}

Complex CRatPolyFit::Evaluate(const Complex& s) const {
    Complex t;
    bool isInfinite = false;
    for (int k = m_Order - 1; k >= 0; --k) {
        const double c = C()[k];
        if (s.re == 0.0 && s.im == c) {
            t = Complex();
            isInfinite = false;
        } else if (isInfinite) {
            t = Complex();
            isInfinite = false;
            continue;
        }
        if (c != 0.0)
            t = t * (s * s + c * c) + A()[k] * s;
        else
            t = t * s;
        t += B()[k];
        if (abs(t) != 0.0)
            t = 1.0 / t;
        else
            isInfinite = true;
    }
    if (isInfinite)
        t = kPole;
    if (m_ZeroAtDC)
        t = t * s;
    return m_Scale * t;
}

namespace {

// As many vectors as hide how long a division takes.
constexpr int kVectors = 4;

// kVectors * kLanes frequencies.
template <class V>
TARVOK_INLINE void EvaluateSome(const CRatPolyFit& fit, const double* frequencies, double* re, double* im) {
    using Numbers = typename V::Numbers;
    Numbers x[kVectors], square[kVectors];
    StageValue<V> t[kVectors] = {};
    for (int v = 0; v < kVectors; ++v) {
        Load<V>(x[v], frequencies + v * V::kLanes);
        square[v] = x[v] * x[v];
    }
    for (int k = fit.Order() - 1; k >= 0; --k) {
        const double a = fit.A()[k];
        const double b = fit.B()[k];
        const double c = fit.C()[k];
        for (int v = 0; v < kVectors; ++v) {
            if (c != 0.0)
                Extend<V>(t[v], x[v], c * c - square[v], a, b);
            else
                ExtendAtDC<V>(t[v], x[v], b);
            Invert<V>(t[v]);
        }
    }
    for (int v = 0; v < kVectors; ++v) {
        if (fit.IsZeroAtDC())
            ExtendAtDC<V>(t[v], x[v], 0.0);
        t[v].re = fit.Scale() * t[v].re;
        t[v].im = fit.Scale() * t[v].im;
        Store<V>(re + v * V::kLanes, t[v].re);
        Store<V>(im + v * V::kLanes, t[v].im);
        typename V::Mask isInfinite;
        FindInfinite<V>(t[v], isInfinite);
        if (!IsAny(isInfinite)) [[likely]]
            continue;
        for (int lane = 0; lane < V::kLanes; ++lane) {
            if (!isInfinite[lane])
                continue;
            const int i = v * V::kLanes + lane;
            const Complex value = fit.Evaluate(Complex(0.0, frequencies[i]));
            re[i] = value.re;
            im[i] = value.im;
        }
    }
}

template <class V>
TARVOK_INLINE void EvaluateAll(const CRatPolyFit& fit, const double* x, int count, double* re, double* im) {
    constexpr int kStep = kVectors * V::kLanes;
    int i = 0;
    for (; i + kStep <= count; i += kStep)
        EvaluateSome<V>(fit, x + i, re + i, im + i);
    if (i == count)
        return;
    double someX[kStep], someRe[kStep], someIm[kStep];
    std::fill(std::copy(x + i, x + count, someX), someX + kStep, x[i]);
    EvaluateSome<V>(fit, someX, someRe, someIm);
    std::copy(someRe, someRe + (count - i), re + i);
    std::copy(someIm, someIm + (count - i), im + i);
}

void EvaluatePlain(const CRatPolyFit& fit, const double* x, int count, double* re, double* im) {
    EvaluateAll<V2>(fit, x, count, re, im);
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] void EvaluateAvx2(const CRatPolyFit& fit, const double* x, int count, double* re,
                                          double* im) {
    EvaluateAll<V4>(fit, x, count, re, im);
}
#endif

} // namespace

void CRatPolyFit::Evaluate(const double* x, int count, double* re, double* im) const {
    if (!m_IsFinite) {
        for (int i = 0; i < count; ++i) {
            const Complex value = Evaluate(Complex(0.0, x[i]));
            re[i] = value.re;
            im[i] = value.im;
        }
        return;
    }
#if defined(__x86_64__)
    if (HasAvx2())
        return EvaluateAvx2(*this, x, count, re, im);
#endif
    EvaluatePlain(*this, x, count, re, im);
}

int RatPolyInterpolator::Fit(int n, const RealVector* xa, const ComplexVector* samples,
                             const IndexVector* subset) {
    m_Fit.Fit(n, *xa, *samples, subset);
    return 0;
}

int RatPolyInterpolator::Evaluate(const RealVector& x, ComplexVector& out) const {
    const int count = x.Size();
    if (out.Size() < count)
        out.resize(count);
    std::vector<double> parts(2 * static_cast<std::size_t>(count));
    double* re = parts.data();
    double* im = re + count;
    m_Fit.Evaluate(x.Data(), count, re, im);
    for (int i = 0; i < count; ++i)
        out[i] = {re[i], im[i]};
    return count;
}

Complex RatPolyInterpolator::Evaluate(double x) const {
    return m_Fit.Evaluate(Complex(0.0, x));
}
