#include "blas_threads.h"

#include <matrix/linear_algebra.h>

#include <algorithm>
#include <memory>

// LAPACK's calling convention: everything by address, and the length of each text behind the arguments.
extern "C" {
void zgebal_(const char* job, const int* n, Complex* a, const int* lda, int* ilo, int* ihi, double* scale,
             int* info, std::size_t);
void zgehrd_(const int* n, const int* ilo, const int* ihi, Complex* a, const int* lda, Complex* tau,
             Complex* work, const int* lwork, int* info);
void zunghr_(const int* n, const int* ilo, const int* ihi, Complex* a, const int* lda, const Complex* tau,
             Complex* work, const int* lwork, int* info);
void zhseqr_(const char* job, const char* compz, const int* n, const int* ilo, const int* ihi, Complex* h,
             const int* ldh, Complex* w, Complex* z, const int* ldz, Complex* work, const int* lwork,
             int* info, std::size_t, std::size_t);
void ztrevc_(const char* side, const char* howmny, const int* select, const int* n, Complex* t,
             const int* ldt, Complex* vl, const int* ldvl, Complex* vr, const int* ldvr, const int* mm,
             int* m, Complex* work, double* rwork, int* info, std::size_t, std::size_t);
void zgebak_(const char* job, const char* side, const int* n, const int* ilo, const int* ihi,
             const double* scale, const int* m, Complex* v, const int* ldv, int* info, std::size_t,
             std::size_t);
}

namespace {

bool IsFinite(const ComplexMatrix& a) {
    return std::all_of(a.Data(), a.Data() + a.Size(),
                       [](const Complex& x) { return std::isfinite(x.re) && std::isfinite(x.im); });
}

// Takes the columns, one after the other in `v`, to the columns of a matrix of rows, each with length 1.
void StoreUnitColumns(const Complex* v, int n, ComplexMatrix& vectors) {
    for (int j = 0; j < n; ++j, v += n) {
        double sum = 0.0;
        for (int i = 0; i < n; ++i)
            sum += norm(v[i]);
        const double length = std::sqrt(sum);
        for (int i = 0; i < n; ++i) {
            vectors[i][j] = length != 0.0 ? Complex(v[i].re / length, v[i].im / length)
                                          : Complex(Complex::kDividedByZero, Complex::kDividedByZero);
        }
    }
}

template <class Function>
bool MatrixFunction(const ComplexMatrix& a, ComplexMatrix& x, Function function) {
    ComplexVector values;
    ComplexMatrix vectors;
    if (!a.IsSquare() || !EigenDecompose(a, values, vectors))
        return false;
    ComplexMatrix d(a.Rows(), a.Rows());
    for (int i = 0; i < a.Rows(); ++i)
        d[i][i] = function(values[i]);
    MultiplyInto(x, vectors * d, MatrixInverse(vectors));
    return true;
}

} // namespace

bool EigenDecompose(const ComplexMatrix& a, ComplexVector& values, ComplexMatrix& vectors) {
    if (!a.IsSquare() || !IsFinite(a))
        return false;
    const int n = a.Rows();
    if (n == 0) {
        values = ComplexVector();
        vectors = ComplexMatrix();
        return true;
    }
    const OneBlasThread oneThread;
    int ilo = 0;
    int ihi = 0;
    int info = 0;
    const int lwork = 32 * n;
    const ComplexMatrix columns = Transpose(a);
    ComplexMatrix unitary = columns;
    RealVector scale(n);
    zgebal_("B", &n, unitary.Data(), &n, &ilo, &ihi, scale.Data(), &info, 1);
    if (info != 0)
        return false;

    ComplexVector work(lwork);
    ComplexVector tau(std::max(n - 1, 1));
    zgehrd_(&n, &ilo, &ihi, unitary.Data(), &n, tau.Data(), work.Data(), &lwork, &info);
    if (info != 0)
        return false;

    ComplexMatrix schur = unitary;
    zunghr_(&n, &ilo, &ihi, unitary.Data(), &n, tau.Data(), work.Data(), &lwork, &info);
    if (info != 0)
        return false;

    ComplexVector found(n);
    zhseqr_("S", "V", &n, &ilo, &ihi, schur.Data(), &n, found.Data(), unitary.Data(), &n, work.Data(), &lwork,
            &info, 1, 1);
    if (info != 0)
        return false;

    const IndexVector select(n, 0);
    RealVector realWork(n);
    int used = 0;
    ztrevc_("R", "B", select.Data(), &n, schur.Data(), &n, nullptr, &n, unitary.Data(), &n, &n, &used,
            work.Data(), realWork.Data(), &info, 1, 1);
    if (info != 0)
        return false;

    zgebak_("B", "R", &n, &ilo, &ihi, scale.Data(), &n, unitary.Data(), &n, &info, 1, 1);
    if (info != 0)
        return false;

    values = std::move(found);
    vectors.Reshape(n, n);
    StoreUnitColumns(unitary.Data(), n, vectors);
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
