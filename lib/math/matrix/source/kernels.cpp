#include "kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

// Vectors are wider than the registers that the build assumes, and go by reference within inlined functions only.
#define TARVOK_INLINE [[gnu::always_inline]] static inline

namespace kernels {

namespace {

template <int kWidth>
struct VectorOf {
    typedef double Numbers __attribute__((vector_size(kWidth * sizeof(double))));
    typedef double Unaligned __attribute__((vector_size(kWidth * sizeof(double)), aligned(8), may_alias));
    typedef std::int64_t Mask __attribute__((vector_size(kWidth * sizeof(double))));
};
using V2 = VectorOf<2>;
using V4 = VectorOf<4>;

template <class V>
constexpr int kLanes = sizeof(typename V::Numbers) / sizeof(double);

constexpr int kMaxLanes = 4;
constexpr int kPanel = 8; // columns that are eliminated before the rest of their rows is brought up to date
constexpr int kRowsAtOnce = 4;
constexpr int kVectorsAtOnce = 4; // of a row in the back substitution
constexpr int kFactor = 4;        // numbers kept of a left factor

constexpr int RoundUp(int n, int step) {
    return (n + step - 1) / step * step;
}

template <class V>
TARVOK_INLINE void Load(typename V::Numbers& to, const double* from) {
    to = *reinterpret_cast<const typename V::Unaligned*>(from);
}
template <class V>
TARVOK_INLINE void Store(double* to, const typename V::Numbers& from) {
    *reinterpret_cast<typename V::Unaligned*>(to) = from;
}

template <class V>
TARVOK_INLINE void LoadComplex(typename V::Numbers& re, typename V::Numbers& im, const Complex* from) {
    const double* numbers = reinterpret_cast<const double*>(from);
    typename V::Numbers low, high;
    Load<V>(low, numbers);
    Load<V>(high, numbers + kLanes<V>);
    if constexpr (kLanes<V> == 4) {
        re = __builtin_shufflevector(low, high, 0, 2, 4, 6);
        im = __builtin_shufflevector(low, high, 1, 3, 5, 7);
    } else {
        re = __builtin_shufflevector(low, high, 0, 2);
        im = __builtin_shufflevector(low, high, 1, 3);
    }
}

// The first `count` elements.
template <class V>
TARVOK_INLINE void LoadSome(typename V::Numbers& re, typename V::Numbers& im, const Complex* from,
                            int count) {
    if (count >= kLanes<V>)
        return LoadComplex<V>(re, im, from);
    Complex padded[kLanes<V>];
    for (int k = 0; k < count; ++k)
        padded[k] = from[k];
    LoadComplex<V>(re, im, padded);
}

template <class V>
TARVOK_INLINE void StoreComplex(Complex* to, const typename V::Numbers& re, const typename V::Numbers& im) {
    double* numbers = reinterpret_cast<double*>(to);
    typename V::Numbers low, high;
    if constexpr (kLanes<V> == 4) {
        low = __builtin_shufflevector(re, im, 0, 4, 1, 5);
        high = __builtin_shufflevector(re, im, 2, 6, 3, 7);
    } else {
        low = __builtin_shufflevector(re, im, 0, 2);
        high = __builtin_shufflevector(re, im, 1, 3);
    }
    Store<V>(numbers, low);
    Store<V>(numbers + kLanes<V>, high);
}

template <class V>
TARVOK_INLINE void StoreSome(Complex* to, const typename V::Numbers& re, const typename V::Numbers& im,
                             int count) {
    if (count >= kLanes<V>)
        return StoreComplex<V>(to, re, im);
    Complex padded[kLanes<V>];
    StoreComplex<V>(padded, re, im);
    for (int k = 0; k < count; ++k)
        to[k] = padded[k];
}

TARVOK_INLINE void SetFactor(double* factor, double re, double im) {
    factor[0] = re;
    factor[1] = re + im;
    factor[2] = im - re;
    factor[3] = im;
}

enum class Sum { Add, Subtract };

// Adds to or subtracts from a sum the product of a left factor and the elements (c, d), whose parts have the sum s.
template <class V, Sum kSum>
TARVOK_INLINE void Accumulate(typename V::Numbers& re, typename V::Numbers& im, const double* factor,
                              const typename V::Numbers& c, const typename V::Numbers& d,
                              const typename V::Numbers& s) {
    typename V::Numbers productRe, productIm;
    if (factor[3] != 0.0) [[likely]] {
        const typename V::Numbers t = s * factor[0];
        productRe = t - factor[1] * d;
        productIm = t + factor[2] * c;
    } else {
        productRe = factor[0] * c;
        productIm = factor[0] * d;
    }
    if constexpr (kSum == Sum::Add) {
        re += productRe;
        im += productIm;
    } else {
        re -= productRe;
        im -= productIm;
    }
}

// Work rows. Each holds `width` real parts, `width` imaginary parts and `factors` left factors: those by which it
// was eliminated and, later on, its part of the upper triangle. Rows change places by their pointers.
struct Rows {
    double** row;
    int width; // a multiple of the lanes
    int factors;

    double* Re(int i) const { return row[i]; }
    double* Im(int i) const { return row[i] + width; }
    double* Factor(int i, int j) const { return row[i] + 2 * width + kFactor * j; }

    // Odd in cache lines, so that a column isn't all in one set of the cache.
    static std::size_t Stride(int width, int factors) {
        return (std::size_t(2 * width + kFactor * factors + 7) / 8 | 1) * 8;
    }
    static std::size_t Numbers(int m, int width, int factors) {
        return std::size_t(m) * Stride(width, factors) + std::size_t(RoundUp(m, 8));
    }

    static Rows Place(double* work, int m, int width, int factors) {
        const std::size_t stride = Stride(width, factors);
        Rows rows{reinterpret_cast<double**>(work + m * stride), width, factors};
        for (int i = 0; i < m; ++i)
            rows.row[i] = work + i * stride;
        return rows;
    }
};

template <class V>
TARVOK_INLINE void TakeElements(typename V::Numbers& x, Take take) {
    if (take == Take::OnePlus)
        x = 0.0 + x;
    else if (take == Take::OneMinus)
        x = 0.0 - x;
}

TARVOK_INLINE double TakeDiagonal(double x, Take take) {
    switch (take) {
    case Take::OnePlus:
        return 1.0 + x;
    case Take::OneMinus:
        return 1.0 - x;
    case Take::MinusOne:
        return x - 1.0;
    default:
        return x;
    }
}

// Puts a row of a matrix behind `column`. True if a negative zero is among it.
template <class V>
TARVOK_INLINE bool TakeRow(const Rows& rows, int i, int column, const Complex* from, int n, Take take) {
    constexpr std::int64_t kNegativeZero = INT64_MIN;
    typename V::Mask found = {};
    double* re = rows.Re(i) + column;
    double* im = rows.Im(i) + column;
    for (int j = 0; j < n; j += kLanes<V>) {
        typename V::Numbers x, y;
        LoadSome<V>(x, y, from + j, n - j);
        TakeElements<V>(x, take);
        TakeElements<V>(y, take);
        found |= (reinterpret_cast<typename V::Mask>(x) == kNegativeZero) |
                 (reinterpret_cast<typename V::Mask>(y) == kNegativeZero);
        Store<V>(re + j, x);
        Store<V>(im + j, y);
    }
    if (i < n)
        re[i] = TakeDiagonal(from[i].re, take);
    std::int64_t any = 0;
    for (int k = 0; k < kLanes<V>; ++k)
        any |= found[k];
    return any != 0;
}

TARVOK_INLINE void TakeUnitRow(const Rows& rows, int i, int column, int padded) {
    std::fill_n(rows.Re(i) + column, padded, 0.0);
    std::fill_n(rows.Im(i) + column, padded, 0.0);
    rows.Re(i)[column + i] = 1.0;
}

// Brings the columns from `begin` to `end` of kCount rows from `i` on up to date with the `count` rows from `j0` on, by
// the factors kept in them.
template <class V, int kCount>
TARVOK_INLINE void UpdateRows(const Rows& rows, int i, int j0, int count, int begin, int end) {
    for (int column = begin; column < end; column += kLanes<V>) {
        typename V::Numbers re[kCount], im[kCount];
        for (int r = 0; r < kCount; ++r) {
            Load<V>(re[r], rows.Re(i + r) + column);
            Load<V>(im[r], rows.Im(i + r) + column);
        }
        for (int j = j0; j < j0 + count; ++j) {
            typename V::Numbers c, d;
            Load<V>(c, rows.Re(j) + column);
            Load<V>(d, rows.Im(j) + column);
            const typename V::Numbers s = c + d;
            for (int r = 0; r < kCount; ++r)
                Accumulate<V, Sum::Subtract>(re[r], im[r], rows.Factor(i + r, j), c, d, s);
        }
        for (int r = 0; r < kCount; ++r) {
            Store<V>(rows.Re(i + r) + column, re[r]);
            Store<V>(rows.Im(i + r) + column, im[r]);
        }
    }
}

// The row, from `j` on, with the largest magnitude in column `j`, the first of equal ones; -1 if all are zero.
TARVOK_INLINE int FindPivot(const Rows& rows, int m, int j, int* pivots) {
    int p = j;
    double square = norm({rows.Re(j)[j], rows.Im(j)[j]});
    double largest = std::sqrt(square);
    for (int i = j + 1; i < m; ++i) {
        const double other = norm({rows.Re(i)[j], rows.Im(i)[j]});
        // The root of a larger square may be the same number.
        if (other > square && std::sqrt(other) > largest) {
            p = i;
            square = other;
            largest = std::sqrt(other);
        }
    }
    if (pivots)
        pivots[j] = p + 1;
    return largest == 0.0 ? -1 : p;
}

// Eliminates the first `k` columns of `m` rows. Gives the column without a pivot, or k.
template <class V>
TARVOK_INLINE int Eliminate(const Rows& rows, int m, int k, int* pivots) {
    for (int j0 = 0; j0 < k; j0 += kPanel) {
        const int last = std::min(j0 + kPanel, k);
        const int end = std::min(RoundUp(last, kLanes<V>), rows.width);
        int j = j0;
        for (; j < last; ++j) {
            const int p = FindPivot(rows, m, j, pivots);
            if (p < 0)
                break;
            std::swap(rows.row[j], rows.row[p]);
            const Complex r = 1.0 / Complex(rows.Re(j)[j], rows.Im(j)[j]);
            // Columns up to j of the rows below aren't needed any more and may be overwritten.
            const int begin = (j + 1) / kLanes<V> * kLanes<V>;
            for (int i = j + 1; i < m; ++i) {
                const Complex factor = Complex(rows.Re(i)[j], rows.Im(i)[j]) * r;
                SetFactor(rows.Factor(i, j), factor.re, factor.im);
                UpdateRows<V, 1>(rows, i, j, 1, begin, end);
            }
        }
        for (int i = j0 + 1; i < j; ++i)
            UpdateRows<V, 1>(rows, i, j0, i - j0, end, rows.width);
        int i = j;
        for (; i + kRowsAtOnce <= m; i += kRowsAtOnce)
            UpdateRows<V, kRowsAtOnce>(rows, i, j0, j - j0, end, rows.width);
        for (; i < m; ++i)
            UpdateRows<V, 1>(rows, i, j0, j - j0, end, rows.width);
        if (j < last)
            return j;
    }
    return k;
}

// Solves the upper triangle for kCount vectors of right sides from `column` on. In `solved` the rows of the solution
// stand as real parts, imaginary parts and their sums.
template <class V, int kCount>
TARVOK_INLINE void BackSubstitute(const Rows& rows, int n, int column, double* solved, Complex* x,
                                  int columns, int stride) {
    constexpr int kWidth = kCount * kLanes<V>;
    for (int i = n - 1; i >= 0; --i) {
        typename V::Numbers re[kCount], im[kCount];
        for (int v = 0; v < kCount; ++v) {
            Load<V>(re[v], rows.Re(i) + column + v * kLanes<V>);
            Load<V>(im[v], rows.Im(i) + column + v * kLanes<V>);
        }
        const double* row = solved + (i + 1) * 3 * kWidth;
        for (int j = i + 1; j < n; ++j, row += 3 * kWidth) {
            const double* factor = rows.Factor(i, j);
            for (int v = 0; v < kCount; ++v) {
                typename V::Numbers c, d, s;
                Load<V>(c, row + v * kLanes<V>);
                Load<V>(d, row + kWidth + v * kLanes<V>);
                Load<V>(s, row + 2 * kWidth + v * kLanes<V>);
                Accumulate<V, Sum::Subtract>(re[v], im[v], factor, c, d, s);
            }
        }
        const double c = rows.Re(i)[i];
        const double d = rows.Im(i)[i];
        const double r = 1.0 / (c * c + d * d);
        double* to = solved + i * 3 * kWidth;
        for (int v = 0; v < kCount; ++v) {
            const typename V::Numbers a = (re[v] * c + im[v] * d) * r;
            const typename V::Numbers b = (c * im[v] - d * re[v]) * r;
            Store<V>(to + v * kLanes<V>, a);
            Store<V>(to + kWidth + v * kLanes<V>, b);
            Store<V>(to + 2 * kWidth + v * kLanes<V>, a + b);
            const int at = v * kLanes<V>;
            StoreSome<V>(x + std::size_t(i) * stride + at, a, b, columns - at);
        }
    }
}

template <class V>
TARVOK_INLINE Outcome Solve(const SolveTask& task) {
    const int n = task.n;
    const int first = RoundUp(n, kLanes<V>); // column of the right sides
    const int padded = RoundUp(task.columns, kLanes<V>);
    const Rows rows = Rows::Place(task.work, n, first + padded, n);
    bool negativeZero = false;
    for (int i = 0; i < n; ++i) {
        TakeRow<V>(rows, i, 0, task.a + std::size_t(i) * n, n, task.takeA);
        if (task.b)
            negativeZero |=
                TakeRow<V>(rows, i, first, task.b + std::size_t(i) * task.columns, task.columns, task.takeB);
        else
            TakeUnitRow(rows, i, first, padded);
    }
    if (Eliminate<V>(rows, n, n, nullptr) != n)
        return Outcome::Singular;

    // Column by column the leading zeros of a right side take no part. Here they do, which changes nothing but the
    // sign of a negative zero, unless a factor isn't finite; and then a pivot isn't finite either.
    bool finite = true;
    for (int i = 0; i < n; ++i)
        finite &= std::isfinite(rows.Re(i)[i]) && std::isfinite(rows.Im(i)[i]);
    if (negativeZero || !finite)
        return Outcome::Special;

    for (int i = 0; i < n; ++i) {
        for (int j = i + 1; j < n; ++j)
            SetFactor(rows.Factor(i, j), rows.Re(i)[j], rows.Im(i)[j]);
    }
    double* solved = task.work + Rows::Numbers(n, rows.width, n);
    int column = 0;
    for (; column + kVectorsAtOnce * kLanes<V> <= padded; column += kVectorsAtOnce * kLanes<V>)
        BackSubstitute<V, kVectorsAtOnce>(rows, n, first + column, solved, task.x + column,
                                          task.columns - column, task.columns);
    if (column + 2 * kLanes<V> <= padded) {
        BackSubstitute<V, 2>(rows, n, first + column, solved, task.x + column, task.columns - column,
                             task.columns);
        column += 2 * kLanes<V>;
    }
    if (column < padded)
        BackSubstitute<V, 1>(rows, n, first + column, solved, task.x + column, task.columns - column,
                             task.columns);
    return Outcome::Solved;
}

template <class V>
TARVOK_INLINE bool Factor(const FactorTask& task) {
    const int k = std::min(task.m, task.n);
    const Rows rows = Rows::Place(task.work, task.m, RoundUp(task.n, kLanes<V>), k);
    for (int i = 0; i < task.m; ++i)
        TakeRow<V>(rows, i, 0, task.a + std::size_t(i) * task.n, task.n, Take::Plain);
    const int done = Eliminate<V>(rows, task.m, k, task.pivots);
    for (int i = 0; i < task.m; ++i) {
        Complex* to = task.a + std::size_t(i) * task.n;
        const int below = std::min(i, done);
        for (int j = 0; j < below; ++j)
            to[j] = {rows.Factor(i, j)[0], rows.Factor(i, j)[3]};
        for (int j = below; j < task.n; ++j)
            to[j] = {rows.Re(i)[j], rows.Im(i)[j]};
    }
    return done == k;
}

// kCount rows of a product, one vector wide. `b` holds real and imaginary parts, vector by vector.
template <class V, int kCount>
TARVOK_INLINE void MultiplyRows(const MultiplyTask& task, int i, int column, const double* factors,
                                const double* b) {
    typename V::Numbers re[kCount] = {}, im[kCount] = {};
    const std::size_t stride = std::size_t(task.inner) * kFactor;
    for (int k = 0; k < task.inner; ++k) {
        typename V::Numbers c, d;
        Load<V>(c, b + 2 * k * kLanes<V>);
        Load<V>(d, b + (2 * k + 1) * kLanes<V>);
        const typename V::Numbers s = c + d;
        for (int r = 0; r < kCount; ++r)
            Accumulate<V, Sum::Add>(re[r], im[r], factors + r * stride + kFactor * k, c, d, s);
    }
    for (int r = 0; r < kCount; ++r)
        StoreSome<V>(task.c + std::size_t(i + r) * task.n + column, re[r], im[r], task.n - column);
}

template <class V>
TARVOK_INLINE void Multiply(const MultiplyTask& task) {
    const std::size_t stride = std::size_t(task.inner) * kFactor;
    double* factors = task.work;
    double* b = task.work + task.m * stride;
    for (std::size_t k = 0; k < std::size_t(task.m) * task.inner; ++k)
        SetFactor(factors + kFactor * k, task.a[k].re, task.a[k].im);
    for (int column = 0; column < task.n; column += kLanes<V>) {
        for (int k = 0; k < task.inner; ++k) {
            typename V::Numbers c, d;
            LoadSome<V>(c, d, task.b + std::size_t(k) * task.n + column, task.n - column);
            Store<V>(b + 2 * k * kLanes<V>, c);
            Store<V>(b + (2 * k + 1) * kLanes<V>, d);
        }
        int i = 0;
        for (; i + kRowsAtOnce <= task.m; i += kRowsAtOnce)
            MultiplyRows<V, kRowsAtOnce>(task, i, column, factors + i * stride, b);
        for (; i < task.m; ++i)
            MultiplyRows<V, 1>(task, i, column, factors + i * stride, b);
    }
}

template <class V>
TARVOK_INLINE void SquareRoot(typename V::Numbers& x) {
    for (int k = 0; k < kLanes<V>; ++k)
        x[k] = std::sqrt(x[k]);
}

// The complex root of (a, b), into (a, b).
template <class V>
TARVOK_INLINE void Root(typename V::Numbers& a, typename V::Numbers& b) {
    typename V::Numbers length = a * a + b * b;
    SquareRoot<V>(length);
    const typename V::Numbers magnitude = a < 0.0 ? -a : a;
    typename V::Numbers s = (length + magnitude) * 0.5;
    SquareRoot<V>(s);
    const typename V::Numbers t = b / s * 0.5;
    const typename V::Mask zero = (a == 0.0) & (b == 0.0);
    const typename V::Numbers none = {};
    const typename V::Numbers re = a > 0.0 ? s : (b >= 0.0 ? t : -t);
    const typename V::Numbers im = a > 0.0 ? t : (b >= 0.0 ? s : -s);
    a = zero ? none : re;
    b = zero ? none : im;
}

enum class Scale { Multiply, Divide };

// (a, b) times or over (c, d).
template <class V, Scale kScale>
TARVOK_INLINE void ScaleElements(typename V::Numbers& a, typename V::Numbers& b, const typename V::Numbers& c,
                                 const typename V::Numbers& d) {
    typename V::Numbers re, im;
    if constexpr (kScale == Scale::Multiply) {
        const typename V::Mask real = b == 0.0;
        const typename V::Numbers t = (c + d) * a;
        re = real ? a * c : t - (a + b) * d;
        im = real ? a * d : t + (b - a) * c;
    } else {
        const typename V::Numbers q = c * c + d * d;
        const typename V::Mask guarded = q == 0.0;
        const typename V::Numbers most = Complex::kDividedByZero - typename V::Numbers{};
        re = guarded ? most : (c * a + b * d) / q;
        im = guarded ? most : (b * c - a * d) / q;
    }
    a = re;
    b = im;
}

template <class V, Scale kScale>
TARVOK_INLINE void ScaleByRoots(const RootTask& task) {
    const int n = task.n;
    double* roots = task.work; // of one row: real and imaginary parts, vector by vector
    for (int i = 0; i < n; ++i) {
        const Complex& z = task.z[i];
        // Most often the ports of a network have one impedance.
        const bool same = i > 0 && std::memcmp(&z, &task.z[i - 1], sizeof(Complex)) == 0;
        for (int j = 0; j < n; j += kLanes<V>) {
            double* root = roots + 2 * j;
            typename V::Numbers a, b, c, d;
            if (!same) {
                LoadSome<V>(a, b, task.z + j, n - j);
                c = a + b;
                if (z.im != 0.0) {
                    const typename V::Numbers t = c * z.re;
                    c = t - (z.re + z.im) * b;
                    d = t + (z.im - z.re) * a;
                } else {
                    c = z.re * a;
                    d = z.re * b;
                }
                Root<V>(c, d);
                Store<V>(root, c);
                Store<V>(root + kLanes<V>, d);
            } else {
                Load<V>(c, root);
                Load<V>(d, root + kLanes<V>);
            }
            Complex* row = task.m + std::size_t(i) * n + j;
            LoadSome<V>(a, b, row, n - j);
            ScaleElements<V, kScale>(a, b, c, d);
            StoreSome<V>(row, a, b, n - j);
        }
    }
}

} // namespace

std::size_t SolveWork(int n, int columns) {
    const int width = RoundUp(n, kMaxLanes) + RoundUp(columns, kMaxLanes);
    return Rows::Numbers(n, width, n) + std::size_t(n) * 3 * kVectorsAtOnce * kMaxLanes;
}
std::size_t FactorWork(int m, int n) {
    return Rows::Numbers(m, RoundUp(n, kMaxLanes), std::min(m, n));
}
std::size_t MultiplyWork(int m, int inner) {
    return std::size_t(inner) * (std::size_t(m) * kFactor + 2 * kMaxLanes);
}
std::size_t RootWork(int n) {
    return 2 * std::size_t(RoundUp(n, kMaxLanes));
}

#define TARVOK_KERNELS(name, V, target)                                                                      \
    namespace {                                                                                              \
    target Outcome Solve##name(const SolveTask& task) {                                                      \
        return Solve<V>(task);                                                                               \
    }                                                                                                        \
    target bool Factor##name(const FactorTask& task) {                                                       \
        return Factor<V>(task);                                                                              \
    }                                                                                                        \
    target void Multiply##name(const MultiplyTask& task) {                                                   \
        Multiply<V>(task);                                                                                   \
    }                                                                                                        \
    target void MultiplyByRoots##name(const RootTask& task) {                                                \
        ScaleByRoots<V, Scale::Multiply>(task);                                                              \
    }                                                                                                        \
    target void DivideByRoots##name(const RootTask& task) {                                                  \
        ScaleByRoots<V, Scale::Divide>(task);                                                                \
    }                                                                                                        \
    }                                                                                                        \
    const Set k##name{Solve##name, Factor##name, Multiply##name, MultiplyByRoots##name, DivideByRoots##name};

TARVOK_KERNELS(Plain, V2, )
#if defined(__x86_64__)
TARVOK_KERNELS(Avx2, V4, [[gnu::target("avx2")]])

const Set& Best(int n) {
    static const bool avx2 = __builtin_cpu_supports("avx2");
    return avx2 && n > kLanes<V2> ? kAvx2 : kPlain;
}
#else
const Set& Best(int) {
    return kPlain;
}
#endif

} // namespace kernels
