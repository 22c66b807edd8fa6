// A rational function with real coefficients through complex samples of one quantity over real frequencies.
//
//   RatPolyInterpolator quantity;
//   quantity.Fit(n, &frequencies, &samples, nullptr);
//   Complex between = quantity.Evaluate(1.5e9);
//
// A sample at frequency x is the value at s = j x; as the coefficients are real, it fixes the value at -j x, too. The
// function is a continued fraction of as many stages as there are samples, in their order, each
//
//   1 / (b + a s + (s^2 + c^2) rest)        c the sample's frequency; at 0 Hz the factor is s
//
// Frequencies near 1 keep the numbers in range: a caller divides by the middle of the band. What the fit does with
// degenerate data is fixed, and some of it isn't what one may expect:
// - Samples that are all below 1e-30 give the function 0.
// - A first sample at 0 Hz that is at most 1e-14 of the largest gives the whole function a factor s.
// - Any other sample that has come to nothing when its turn comes (an exact zero, or a value that the stages before it
//   already have) is passed over and gets no stage. So a constant takes one stage, and a zero is not interpolated.
// - Of two samples at one frequency the later one becomes the largest finite number, and with it the samples between the
//   first's turn and its own are passed over.
//
// Nothing throws for what the data is. A fit that is made may be evaluated by any number of threads.
#pragma once

#include <matrix/vec.h>

class CRatPolyFit {
public:
    // Samples i = subset[0 .. n-1], or 0 .. n-1 without a subset, of `samples` at xa[i]. All of them must be there.
    void Fit(int n, const RealVector& xa, const ComplexVector& samples, const IndexVector* subset);

    // 1e30 at a pole that is met exactly.
    Complex Evaluate(const Complex& s) const;
    // At s = j x[i], to the same bits but for the sign of zeros; real and imaginary parts apart.
    void Evaluate(const double* x, int count, double* re, double* im) const;

    // Stage k: `order` of them.
    const double* A() const { return m_A.Data(); }
    const double* B() const { return m_B.Data(); }
    const double* C() const { return m_C.Data(); }
    int Order() const { return m_Order; }
    bool IsZeroAtDC() const { return m_ZeroAtDC; }
    double Scale() const { return m_Scale; }
    // All coefficients are finite numbers.
    bool IsFinite() const { return m_IsFinite; }

private:
    RealVector m_A;
    RealVector m_B;
    RealVector m_C;
    int m_Order = 0;
    bool m_ZeroAtDC = false;
    double m_Scale = 0.0;
    bool m_IsFinite = true;
};

// One fitted quantity.
class Interpolator {
public:
    // As CRatPolyFit::Fit. 0.
    virtual int Fit(int n, const RealVector* xa, const ComplexVector* samples, const IndexVector* subset) = 0;
    // One value for each element of `x`; `out` grows if it is shorter. The number of values.
    virtual int Evaluate(const RealVector& x, ComplexVector& out) const = 0;
    virtual Complex Evaluate(double x) const = 0;
    virtual ~Interpolator() = default;
};

class RatPolyInterpolator : public Interpolator {
public:
    int Fit(int n, const RealVector* xa, const ComplexVector* samples, const IndexVector* subset) override;
    // 0 before the first fit.
    int Evaluate(const RealVector& x, ComplexVector& out) const override;
    Complex Evaluate(double x) const override;

private:
    CRatPolyFit m_Fit;
};
