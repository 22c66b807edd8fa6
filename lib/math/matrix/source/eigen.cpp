#include "blas_threads.h"
#include "dense_solve.h"
#include "lapack.h"
#include "work_area.h"

#include <matrix/linear_algebra.h>

#include <algorithm>
#include <cstddef>

namespace {

// Numbers for the storage of n complex ones.
std::size_t Doubles(std::size_t n) {
    return 2 * n;
}

std::size_t DecomposeWork(int n) {
    const std::size_t size = std::size_t(n);
    return Doubles(2 * size * size + 32 * size + size + size) + 2 * size + size;
}

// The decomposition of a matrix of at least one row: `values` and, row after row, `vectors`, which may be `a`.
bool Decompose(int n, const Complex* a, Complex* values, Complex* vectors) {
    const std::size_t size = std::size_t(n) * n;
    const WorkArea area(DecomposeWork(n));
    auto* unitary = reinterpret_cast<Complex*>(area.Get()); // column after column, as LAPACK has it
    Complex* schur = unitary + size;
    Complex* work = schur + size;
    Complex* tau = work + 32 * n;
    Complex* found = tau + n;
    auto* scale = reinterpret_cast<double*>(found + n);
    double* realWork = scale + n;
    auto* select = reinterpret_cast<int*>(realWork + n);
    for (std::size_t i = 0, k = 0; i < std::size_t(n); ++i) {
        for (std::size_t j = 0; j < std::size_t(n); ++j, ++k) {
            if (!std::isfinite(a[k].re) || !std::isfinite(a[k].im))
                return false;
            unitary[j * n + i] = a[k];
        }
    }
    std::fill_n(select, n, 0);

    const Lapack* lapack = LoadedLapack();
    if (!lapack)
        return false;
    const OneBlasThread oneThread(*lapack);
    int ilo = 0;
    int ihi = 0;
    int used = 0;
    int info = 0;
    const int lwork = 32 * n;
    lapack->zgebal("B", &n, unitary, &n, &ilo, &ihi, scale, &info, 1);
    if (info != 0)
        return false;
    lapack->zgehrd(&n, &ilo, &ihi, unitary, &n, tau, work, &lwork, &info);
    if (info != 0)
        return false;
    std::copy_n(unitary, size, schur);
    lapack->zunghr(&n, &ilo, &ihi, unitary, &n, tau, work, &lwork, &info);
    if (info != 0)
        return false;
    lapack->zhseqr("S", "V", &n, &ilo, &ihi, schur, &n, found, unitary, &n, work, &lwork, &info, 1, 1);
    if (info != 0)
        return false;
    lapack->ztrevc("R", "B", select, &n, schur, &n, nullptr, &n, unitary, &n, &n, &used, work, realWork,
                   &info, 1, 1);
    if (info != 0)
        return false;
    lapack->zgebak("B", "R", &n, &ilo, &ihi, scale, &n, unitary, &n, &info, 1, 1);
    if (info != 0)
        return false;

    std::copy_n(found, n, values);
    const Complex* column = unitary;
    for (int j = 0; j < n; ++j, column += n) {
        double sum = 0.0;
        for (int i = 0; i < n; ++i)
            sum += norm(column[i]);
        const double length = std::sqrt(sum);
        for (int i = 0; i < n; ++i) {
            vectors[std::size_t(i) * n + j] = length != 0.0
                                                  ? Complex(column[i].re / length, column[i].im / length)
                                                  : Complex(Complex::kDividedByZero, Complex::kDividedByZero);
        }
    }
    return true;
}

// (V D) V^-1 with the function of the eigenvalues in D.
template <class Function>
bool MatrixFunction(const ComplexMatrix& a, ComplexMatrix& x, Function function) {
    if (!a.IsSquare())
        return false;
    const int n = a.Rows();
    if (n == 0) {
        x = ComplexMatrix();
        return true;
    }
    const std::size_t size = std::size_t(n) * n;
    const WorkArea area(Doubles(4 * size + std::size_t(n)) + kernels::MultiplyWork(n, n));
    auto* vectors = reinterpret_cast<Complex*>(area.Get());
    Complex* d = vectors + size;
    Complex* scaled = d + size;
    Complex* inverse = scaled + size;
    Complex* values = inverse + size;
    auto* work = reinterpret_cast<double*>(values + n);
    if (!Decompose(n, a.Data(), values, vectors))
        return false;
    std::fill_n(d, size, Complex());
    for (int i = 0; i < n; ++i)
        d[std::size_t(i) * n + i] = function(values[i]);
    kernels::Best(n).multiply({n, n, n, vectors, d, scaled, work});
    SolveDense({n, n, vectors}, inverse);
    x.Reshape(n, n);
    kernels::Best(n).multiply({n, n, n, scaled, inverse, x.Data(), work});
    return true;
}

} // namespace

bool EigenDecompose(const ComplexMatrix& a, ComplexVector& values, ComplexMatrix& vectors) {
    if (!a.IsSquare())
        return false;
    const int n = a.Rows();
    const WorkArea area(Doubles(std::size_t(n) * n + std::size_t(n)));
    auto* foundValues = reinterpret_cast<Complex*>(area.Get());
    Complex* foundVectors = foundValues + n;
    if (n > 0 && !Decompose(n, a.Data(), foundValues, foundVectors))
        return false;
    values.resize(n);
    std::copy_n(foundValues, n, values.Data());
    vectors.Reshape(n, n);
    std::copy_n(foundVectors, vectors.Size(), vectors.Data());
    return true;
}

Complex Power(const Complex& value, double p) {
    if (value.re == 0.0 && value.im == 0.0)
        return {};
    if (p == 0.0)
        return {1.0};
    const double large = std::max(std::fabs(value.re), std::fabs(value.im));
    const double ratio =
        std::fabs(value.re) < std::fabs(value.im) ? value.re / value.im : value.im / value.re;
    const double r = large * std::sqrt(ratio * ratio + 1.0);
    const double theta = std::atan2(value.im, value.re);
    const double m = std::exp(p * std::log(r));
    return {m * std::cos(p * theta), m * std::sin(p * theta)};
}

bool MatrixSqrt(const ComplexMatrix& a, ComplexMatrix& x) {
    return MatrixFunction(a, x, [](const Complex& value) { return sqrt(value); });
}

bool MatrixPower(const ComplexMatrix& a, double p, ComplexMatrix& x) {
    return MatrixFunction(a, x, [p](const Complex& value) { return Power(value, p); });
}
