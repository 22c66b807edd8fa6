// The algebra once more, as it is written down and nothing else: one element after the other, by formulas of its own
// for every operation on complex numbers. What the library gives must have the same bits.
#pragma once

#include <matrix/linear_algebra.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

namespace plain {

inline Complex Product(Complex left, Complex right) {
    const double a = left.re, b = left.im, c = right.re, d = right.im;
    if (b == 0)
        return Complex(a * c, a * d);
    const double t = (c + d) * a;
    return Complex(t - (a + b) * d, t + (b - a) * c);
}
inline Complex Guarded(Complex left, Complex right) {
    const double a = left.re, b = left.im, c = right.re, d = right.im;
    const double q = c * c + d * d;
    const double most = std::numeric_limits<double>::max();
    return q != 0 ? Complex((c * a + b * d) / q, (b * c - a * d) / q) : Complex(most, most);
}
inline Complex Unguarded(Complex left, Complex right) {
    const double a = left.re, b = left.im, c = right.re, d = right.im;
    const double r = 1 / (c * c + d * d);
    return Complex((a * c + b * d) * r, (c * b - d * a) * r);
}
inline double Magnitude(Complex x) {
    return std::sqrt(x.re * x.re + x.im * x.im);
}
inline Complex Root(Complex x) {
    const double a = x.re, b = x.im;
    if (a == 0 && b == 0)
        return Complex(0, 0);
    const double s = std::sqrt((std::sqrt(a * a + b * b) + std::fabs(a)) * 0.5);
    const double t = b / s * 0.5;
    if (a > 0)
        return Complex(s, t);
    return b >= 0 ? Complex(t, s) : Complex(-t, -s);
}
inline void Subtract(Complex& from, Complex x) {
    from.re = from.re - x.re;
    from.im = from.im - x.im;
}

inline int Factor(ComplexMatrix& a, std::vector<int>& pivots) {
    const int m = a.Rows(), n = a.Columns(), k = std::min(m, n);
    pivots.assign(m + 1, 0);
    for (int j = 1; j <= k; ++j) {
        int p = j;
        double t = Magnitude(a(j, j));
        for (int i = j + 1; i <= m; ++i) {
            if (Magnitude(a(i, j)) > t) {
                p = i;
                t = Magnitude(a(i, j));
            }
        }
        pivots[j] = p;
        if (Magnitude(a(p, j)) == 0)
            return 1;
        if (p != j) {
            for (int c = 1; c <= n; ++c)
                std::swap(a(j, c), a(p, c));
        }
        if (j < m) {
            const double c = a(j, j).re, d = a(j, j).im, q = c * c + d * d;
            const double most = std::numeric_limits<double>::max();
            const Complex r = q != 0 ? Complex(1.0 * c / q, -(1.0 * d / q)) : Complex(most, most);
            for (int i = j + 1; i <= m; ++i)
                a(i, j) = Product(a(i, j), r);
        }
        if (j < k) {
            for (int i = j + 1; i <= m; ++i)
                for (int c = j + 1; c <= n; ++c)
                    Subtract(a(i, c), Product(a(i, j), a(j, c)));
        }
    }
    return 0;
}

inline void SolveColumn(const ComplexMatrix& a, const std::vector<int>& pivots, std::vector<Complex>& b) {
    const int n = int(b.size()) - 1; // b[0] isn't used
    int first = 0;
    for (int i = 1; i <= n; ++i) {
        const int p = pivots[i];
        Complex sum = b[p];
        b[p] = b[i];
        if (first != 0) {
            for (int j = first; j <= i - 1; ++j)
                Subtract(sum, Product(a(i, j), b[j]));
        } else if (sum.re != 0 || sum.im != 0) {
            first = i;
        }
        b[i] = sum;
    }
    for (int i = n; i >= 1; --i) {
        Complex sum = b[i];
        for (int j = i + 1; j <= n; ++j)
            Subtract(sum, Product(a(i, j), b[j]));
        b[i] = Unguarded(sum, a(i, i));
    }
}

inline int Solve(const ComplexMatrix& a, const ComplexMatrix& b, ComplexMatrix& x) {
    x = ComplexMatrix(a.Columns(), b.Columns());
    if (a.Rows() == 0 || a.Columns() == 0 || a.Rows() != a.Columns())
        return 2;
    ComplexMatrix lu = a;
    std::vector<int> pivots;
    if (Factor(lu, pivots) != 0)
        return 1;
    for (int j = 1; j <= b.Columns(); ++j) {
        std::vector<Complex> column(a.Rows() + 1);
        for (int i = 1; i <= a.Rows(); ++i)
            column[i] = b(i, j);
        SolveColumn(lu, pivots, column);
        for (int i = 1; i <= a.Rows(); ++i)
            x(i, j) = column[i];
    }
    return 0;
}

inline ComplexMatrix Multiply(const ComplexMatrix& a, const ComplexMatrix& b) {
    ComplexMatrix c(a.Rows(), b.Columns());
    for (int i = 1; i <= a.Rows(); ++i) {
        for (int j = 1; j <= b.Columns(); ++j) {
            Complex sum(0, 0);
            for (int k = 1; k <= a.Columns(); ++k) {
                const Complex product = Product(a(i, k), b(k, j));
                sum = Complex(sum.re + product.re, sum.im + product.im);
            }
            c(i, j) = sum;
        }
    }
    return c;
}

inline ComplexMatrix Identity(int n) {
    ComplexMatrix one(n, n);
    for (int i = 1; i <= n; ++i)
        one(i, i) = Complex(1, 0);
    return one;
}

} // namespace plain

// Whether two numbers have the same bits; NaNs count as one.
inline bool SameBits(double a, double b) {
    return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof(a)) == 0;
}
inline bool SameBits(const Complex& a, const Complex& b) {
    return SameBits(a.re, b.re) && SameBits(a.im, b.im);
}
inline bool SameBits(const ComplexMatrix& a, const ComplexMatrix& b) {
    if (a.Rows() != b.Rows() || a.Columns() != b.Columns())
        return false;
    for (int k = 0; k < a.Size(); ++k) {
        if (!SameBits(a.Data()[k], b.Data()[k]))
            return false;
    }
    return true;
}

// Matrices of a kind, the same ones in every run.
class RandomMatrices {
public:
    enum class Kind {
        Full,      // what measured data looks like
        Real,      // no imaginary parts: products of two multiplications
        Mixed,     // real, imaginary and full elements
        Sparse,    // most elements zero, of either sign
        Ties,      // small whole numbers: pivots of equal magnitude, and singular ones often
        Wide,      // magnitudes over the whole range of doubles: overflow and underflow
        NotFinite, // some infinities and NaNs
    };
    static constexpr Kind kAll[] = {Kind::Full, Kind::Real, Kind::Mixed,    Kind::Sparse,
                                    Kind::Ties, Kind::Wide, Kind::NotFinite};

    ComplexMatrix Make(int m, int n, Kind kind) {
        ComplexMatrix a(m, n);
        for (int k = 0; k < a.Size(); ++k)
            a.Data()[k] = Element(kind);
        return a;
    }

    // In braces, so that the numbers are drawn in one order.
    Complex Element(Kind kind) {
        switch (kind) {
        case Kind::Real:
            return Complex{Number(), 0.0};
        case Kind::Mixed:
            return Choose(3) == 0 ? Complex{Number(), Zero()} : Complex{Choose(2) ? Number() : 0.0, Number()};
        case Kind::Sparse:
            return Complex{Choose(4) ? Zero() : Number(), Choose(4) ? Zero() : Number()};
        case Kind::Ties:
            return Complex{Choose(5) - 2.0, Choose(3) - 1.0};
        case Kind::Wide:
            return Complex{WideNumber(), WideNumber()};
        case Kind::NotFinite:
            return Choose(20)
                       ? Complex{Number(), Number()}
                       : Complex{Choose(2) ? std::numeric_limits<double>::infinity() : std::nan(""), Zero()};
        default:
            return Complex{Number(), Number()};
        }
    }

    int Choose(int count) { return int(m_Bits() % unsigned(count)); }

private:
    // From -1 to 1 in 2^53 steps, by the generator's bits alone: distributions differ between libraries.
    double Number() { return double(std::int64_t(m_Bits() >> 10)) * 0x1p-53 - 1.0; }
    double WideNumber() {
        const double number = Number();
        return std::ldexp(number, Choose(2000) - 1000);
    }
    double Zero() { return Choose(2) ? 0.0 : -0.0; }

    std::mt19937_64 m_Bits{20240229};
};
